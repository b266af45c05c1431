// Path splitting and wide-path file opening.
#include "Path.h"

#include "Strings.h"

namespace shr {
namespace {
size_t LastSeparator(const std::wstring& p) { return p.find_last_of(L"/\\"); }
} // namespace

std::wstring CPath::GetFileName() const {
    const size_t sep = LastSeparator(path_);
    return sep == std::wstring::npos ? path_ : path_.substr(sep + 1);
}

std::wstring CPath::GetExtension() const {
    const std::wstring name = GetFileName();
    const size_t dot = name.find_last_of(L'.');
    return dot == std::wstring::npos || dot == 0 ? std::wstring() : name.substr(dot);
}

std::wstring CPath::GetDirectory() const {
    const size_t sep = LastSeparator(path_);
    return sep == std::wstring::npos ? std::wstring() : path_.substr(0, sep);
}

std::string CPath::NativeNarrow() const { return WtoA(path_); }

FILE* OpenFile(const std::wstring& path, const wchar_t* mode) {
#ifdef _WIN32
    FILE* file = nullptr;
    return _wfopen_s(&file, path.c_str(), mode) == 0 ? file : nullptr;
#else
    return std::fopen(WtoA(path).c_str(), WtoA(mode).c_str());
#endif
}

int SeekFile64(FILE* file, int64_t offset, int origin) {
#ifdef _WIN32
    return _fseeki64(file, offset, origin);
#else
    return fseeko(file, static_cast<off_t>(offset), origin);
#endif
}

int64_t TellFile64(FILE* file) {
#ifdef _WIN32
    return _ftelli64(file);
#else
    return static_cast<int64_t>(ftello(file));
#endif
}

} // namespace shr
