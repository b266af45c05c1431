// Option strings: "Name=value" pairs separated by ';' (for example "Scale=4;Format=24;ULX=0").
// Names match without regard to ASCII case; spaces around names and values are ignored; the
// last pair of a name wins; pairs without '=' and unknown names are ignored.
#pragma once
#include <optional>
#include <string>

namespace plio {

constexpr wchar_t kOptionStringDelimiter = L';';

// The text value of `name`, or nothing when the string does not hold it.
std::optional<std::wstring> FindOptionText(const std::wstring &optionString,
                                           const std::wstring &name);

// Decimal 0 to 4294967295; anything else counts as absent.
bool ParseUnsignedOption(const std::wstring &text, unsigned int &value);
// 1/0, true/false, yes/no, on/off; anything else counts as absent.
bool ParseBoolOption(const std::wstring &text, bool &value);

} // namespace plio
