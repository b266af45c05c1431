// Option-string parsing.
#include "plio/OptionString.h"

#include <cwctype>

namespace plio {
namespace {

std::wstring Trim(const std::wstring &text) {
    const size_t first = text.find_first_not_of(L" \t");
    if (first == std::wstring::npos)
        return {};
    const size_t last = text.find_last_not_of(L" \t");
    return text.substr(first, last - first + 1);
}

bool SameName(const std::wstring &a, const std::wstring &b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (std::towlower(a[i]) != std::towlower(b[i]))
            return false;
    return true;
}

} // namespace

std::optional<std::wstring> FindOptionText(const std::wstring &optionString,
                                           const std::wstring &name) {
    std::optional<std::wstring> found;
    size_t start = 0;
    while (start <= optionString.size()) {
        size_t end = optionString.find(kOptionStringDelimiter, start);
        if (end == std::wstring::npos)
            end = optionString.size();
        const std::wstring pair = optionString.substr(start, end - start);
        const size_t equals = pair.find(L'=');
        if (equals != std::wstring::npos && SameName(Trim(pair.substr(0, equals)), name))
            found = Trim(pair.substr(equals + 1));
        start = end + 1;
    }
    return found;
}

bool ParseUnsignedOption(const std::wstring &text, unsigned int &value) {
    if (text.empty() || text.size() > 10)
        return false;
    unsigned long long v = 0;
    for (wchar_t c : text) {
        if (c < L'0' || c > L'9')
            return false;
        v = v * 10 + static_cast<unsigned>(c - L'0');
    }
    if (v > 0xFFFFFFFFull)
        return false;
    value = static_cast<unsigned int>(v);
    return true;
}

bool ParseBoolOption(const std::wstring &text, bool &value) {
    static const struct {
        const wchar_t *text;
        bool value;
    } kWords[] = {{L"1", true},   {L"0", false},  {L"true", true}, {L"false", false},
                  {L"yes", true}, {L"no", false}, {L"on", true},   {L"off", false}};
    for (const auto &word : kWords)
        if (SameName(text, word.text)) {
            value = word.value;
            return true;
        }
    return false;
}

} // namespace plio
