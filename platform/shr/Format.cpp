// printf-style formatting; grows the buffer until the text fits.
#include "Format.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <vector>

namespace shr {
namespace {

std::wstring FormatWide(const wchar_t* format, va_list args) {
    // vswprintf reports truncation only as -1, so retry with a larger buffer.
    std::vector<wchar_t> buffer(256);
    for (;;) {
        va_list copy;
        va_copy(copy, args);
        const int n = std::vswprintf(buffer.data(), buffer.size(), format, copy);
        va_end(copy);
        if (n >= 0 && static_cast<size_t>(n) < buffer.size())
            return std::wstring(buffer.data(), static_cast<size_t>(n));
        if (buffer.size() > (1u << 24))
            return std::wstring(format); // a format that never fits: keep the text itself
        buffer.resize(buffer.size() * 4);
    }
}

} // namespace

std::wstring FormatString(const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    std::wstring result = FormatWide(format, args);
    va_end(args);
    return result;
}

void AppendFormatString(std::wstring& target, const wchar_t* format, ...) {
    va_list args;
    va_start(args, format);
    target += FormatWide(format, args);
    va_end(args);
}

std::string FormatStringA(const char* format, ...) {
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int n = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string result;
    if (n > 0) {
        result.resize(static_cast<size_t>(n) + 1);
        std::vsnprintf(result.data(), result.size(), format, args);
        result.resize(static_cast<size_t>(n));
    }
    va_end(args);
    return result;
}

} // namespace shr
