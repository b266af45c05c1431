// IoManager: the option-string look-ups every host shares.
#include "plio/IoManager.h"

#include "plio/OptionString.h"

namespace plio {

bool IoManager::GetStringOption(const std::wstring &optionString, const std::wstring &name,
                                unsigned int &value) const {
    const auto text = FindOptionText(optionString, name);
    return text && ParseUnsignedOption(*text, value);
}

bool IoManager::GetStringOption(const std::wstring &optionString, const std::wstring &name,
                                bool &value) const {
    const auto text = FindOptionText(optionString, name);
    return text && ParseBoolOption(*text, value);
}

} // namespace plio
