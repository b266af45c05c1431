// printf-style formatting into wide and narrow strings.
#pragma once
#include <string>

namespace shr {

std::wstring FormatString(const wchar_t* format, ...);
void AppendFormatString(std::wstring& target, const wchar_t* format, ...);
std::string FormatStringA(const char* format, ...);

} // namespace shr
