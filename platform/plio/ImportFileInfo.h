// ImportFileInfo: named properties of a file, kept in name order; a row added under a name
// already present does not replace it.
#pragma once
#include <boost/any.hpp>

#include <map>
#include <string>
#include <utility>

namespace plio {

class ImportFileInfo {
public:
    using Rows = std::map<std::wstring, boost::any>;

    void Add(const std::wstring &name, const wchar_t *value);
    std::pair<Rows::iterator, bool> insert(const std::pair<std::wstring, boost::any> &row);

    Rows::const_iterator begin() const { return rows_.begin(); }
    Rows::const_iterator end() const { return rows_.end(); }
    size_t size() const { return rows_.size(); }
    bool empty() const { return rows_.empty(); }
    // The row's value, or null when there is none.
    const boost::any *Find(const std::wstring &name) const;

private:
    Rows rows_;
};

// A value as text: wide strings as they are, integers in decimal, other types as "?".
std::wstring FileInfoValueText(const boost::any &value);

} // namespace plio
