// IoFilter: the base of every filter. It holds the host's manager and serves options, errors
// and help. The order of the virtual operations is the framework's binary interface: hosts and
// filters built apart agree on it, so never reorder them.
#pragma once
#include "plio/IoManager.h"
#include "shr/Format.h"
#include "shr/TypeInfo.h"

#include <string>
#include <vector>

namespace plio {

class IoFilter {
public:
    explicit IoFilter(IoManager &manager) : manager_(manager) {}
    virtual ~IoFilter();
    IoFilter(const IoFilter &) = delete;
    IoFilter &operator=(const IoFilter &) = delete;

    // "$PLIO_FILT$" for every filter of the framework.
    virtual const char *GetTypeTag() const;
    // Titles of the filter's option pages; none by default.
    virtual std::vector<std::wstring> GetPropertyPages() const;
    virtual void SetOptions(const std::wstring &optionString) = 0;
    // The filter's current options as an option string; empty for a filter that keeps its
    // options to itself.
    virtual std::wstring GetOptionsInStringForm() const;
    virtual wchar_t GetOptionStringDelimiter() const;
    virtual bool CanProduce(const shr::CTypeInfo *type) const = 0;

    IoManager &GetManager() const { return manager_; }

    // Raise a plio::Exception (or its abort and unknown-format kinds) naming the source file and
    // line. Without arguments the format is taken as text ("%%" still means '%'), so a message
    // already composed from a path cannot be misread as conversions.
    template <class... Args>
    [[noreturn]] void ThrowError(const wchar_t *sourceFile, int line, const wchar_t *format,
                                 Args... args) const {
        if constexpr (sizeof...(Args) == 0)
            RaiseError(sourceFile, line, FormatWithoutArguments(format));
        else
            RaiseError(sourceFile, line, shr::FormatString(format, args...));
    }
    [[noreturn]] void Throw_ABORT(const wchar_t *sourceFile, int line) const;
    [[noreturn]] void Throw_ERR_UNKNOWN_FORMAT(const wchar_t *sourceFile, int line,
                                               const std::wstring &path) const;
    bool ShowHelp(const std::wstring &topic) const;

    static std::wstring FormatWithoutArguments(const wchar_t *format);

private:
    [[noreturn]] static void RaiseError(const wchar_t *sourceFile, int line, std::wstring message);

    IoManager &manager_;
};

} // namespace plio
