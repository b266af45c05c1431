// UTF-8 <-> wide conversion; wchar_t is UTF-16 on Windows and UTF-32 elsewhere.
#include "Strings.h"

#include <cstdint>

namespace shr {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence at text[i], advancing i; malformed input yields U+FFFD.
char32_t DecodeUtf8(const std::string& text, size_t& i) {
    const auto lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80)
        return lead;
    int extra = 0;
    char32_t cp = 0;
    if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        cp = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        cp = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        cp = lead & 0x07;
    } else {
        return kReplacement;
    }
    for (int k = 0; k < extra; ++k) {
        if (i >= text.size())
            return kReplacement;
        const auto c = static_cast<unsigned char>(text[i]);
        if ((c & 0xC0) != 0x80)
            return kReplacement;
        cp = (cp << 6) | (c & 0x3F);
        ++i;
    }
    static constexpr char32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMinimum[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return kReplacement;
    return cp;
}

void AppendWide(std::wstring& out, char32_t cp) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<wchar_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
            return;
        }
    }
    out.push_back(static_cast<wchar_t>(cp));
}

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

} // namespace

std::wstring AtoW(const std::string& text, unsigned /*codePage*/) {
    std::wstring out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();)
        AppendWide(out, DecodeUtf8(text, i));
    return out;
}

std::string WtoA(const std::wstring& text, unsigned /*codePage*/) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t cp = static_cast<char32_t>(text[i]) & (sizeof(wchar_t) == 2 ? 0xFFFF : 0xFFFFFFFF);
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size()) {
            const char32_t low = static_cast<char32_t>(text[i + 1]);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
                ++i;
            }
        }
        if ((cp >= 0xD800 && cp <= 0xDFFF) || cp > 0x10FFFF)
            cp = '?';
        AppendUtf8(out, cp);
    }
    return out;
}

} // namespace shr
