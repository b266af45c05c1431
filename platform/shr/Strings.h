// Wide/narrow string conversion: wide strings for paths and messages, UTF-8 at narrow boundaries.
#pragma once
#include <string>

namespace shr {

// Narrow text to wide. Code page 0 means UTF-8 (the only one supported here); invalid
// sequences become U+FFFD rather than failing, so a message is never lost.
std::wstring AtoW(const std::string& text, unsigned codePage = 0);

// Wide text to narrow UTF-8. Unpaired surrogates become '?'.
std::string WtoA(const std::wstring& text, unsigned codePage = 0);

} // namespace shr
