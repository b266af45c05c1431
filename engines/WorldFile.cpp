#include "WorldFile.h"

#include <cmath>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace engines {
namespace {

// A world file is a few hundred bytes; anything far larger is not one.
constexpr std::streamsize kMaxWorldFileBytes = 4096;

std::wstring Upper(std::wstring s) {
    for (wchar_t &c : s)
        c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
    return s;
}

} // namespace

std::vector<std::wstring> WorldFileCandidates(const std::wstring &imagePath) {
    const size_t slash = imagePath.find_last_of(L"/\\");
    const size_t dot = imagePath.rfind(L'.');
    const bool hasExtension = dot != std::wstring::npos &&
                              (slash == std::wstring::npos || dot > slash) &&
                              dot + 1 < imagePath.size();
    const std::wstring stem = hasExtension ? imagePath.substr(0, dot) : imagePath;
    std::vector<std::wstring> extensions;
    if (hasExtension) {
        const std::wstring ext = imagePath.substr(dot + 1);
        extensions.push_back(std::wstring{ext.front(), ext.back(), L'w'});
        extensions.push_back(ext + L'w');
    }
    extensions.push_back(L"wld");
    std::vector<std::wstring> names;
    for (const std::wstring &ext : extensions) {
        std::wstring lower = ext;
        for (wchar_t &c : lower)
            c = static_cast<wchar_t>(std::towlower(static_cast<wint_t>(c)));
        names.push_back(stem + L'.' + lower);
        names.push_back(stem + L'.' + Upper(lower));
    }
    return names;
}

bool ParseWorldFile(const std::string &text, LizardTech::LTIGeoCoord &geo) {
    std::istringstream in(text);
    double v[6];
    for (double &value : v)
        if (!(in >> value) || !std::isfinite(value))
            return false;
    std::string rest;
    if (in >> rest)
        return false;
    if (v[0] * v[3] - v[1] * v[2] == 0.0)
        return false;
    geo = LizardTech::LTIGeoCoord(v[4], v[5], v[0], v[3], v[2], v[1]);
    return true;
}

bool ReadWorldFile(const std::wstring &imagePath, LizardTech::LTIGeoCoord &geo) {
    for (const std::wstring &name : WorldFileCandidates(imagePath)) {
        std::ifstream file(std::filesystem::path(name), std::ios::binary);
        if (!file)
            continue;
        std::string text(kMaxWorldFileBytes, '\0');
        file.read(text.data(), kMaxWorldFileBytes);
        text.resize(static_cast<size_t>(file.gcount()));
        return ParseWorldFile(text, geo);
    }
    return false;
}

} // namespace engines
