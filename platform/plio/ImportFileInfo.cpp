// ImportFileInfo rows.
#include "plio/ImportFileInfo.h"

namespace plio {

void ImportFileInfo::Add(const std::wstring &name, const wchar_t *value) {
    rows_.insert({name, boost::any(std::wstring(value ? value : L""))});
}

std::pair<ImportFileInfo::Rows::iterator, bool>
ImportFileInfo::insert(const std::pair<std::wstring, boost::any> &row) {
    return rows_.insert(row);
}

const boost::any *ImportFileInfo::Find(const std::wstring &name) const {
    const auto it = rows_.find(name);
    return it == rows_.end() ? nullptr : &it->second;
}

std::wstring FileInfoValueText(const boost::any &value) {
    if (const auto *text = boost::any_cast<std::wstring>(&value))
        return *text;
    if (const auto *number = boost::any_cast<int>(&value))
        return std::to_wstring(*number);
    if (const auto *number = boost::any_cast<unsigned int>(&value))
        return std::to_wstring(*number);
    return L"?";
}

} // namespace plio
