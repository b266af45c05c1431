// IoFilter: type tag, option-string defaults, errors and help.
#include "plio/IoFilter.h"

#include "plio/Exception.h"
#include "plio/OptionString.h"

namespace plio {

IoFilter::~IoFilter() = default;

const char *IoFilter::GetTypeTag() const { return "$PLIO_FILT$"; }

std::vector<std::wstring> IoFilter::GetPropertyPages() const { return {}; }

std::wstring IoFilter::GetOptionsInStringForm() const { return {}; }

wchar_t IoFilter::GetOptionStringDelimiter() const { return kOptionStringDelimiter; }

std::wstring IoFilter::FormatWithoutArguments(const wchar_t *format) {
    std::wstring text;
    for (const wchar_t *p = format; p && *p; ++p) {
        text.push_back(*p);
        if (p[0] == L'%' && p[1] == L'%')
            ++p;
    }
    return text;
}

void IoFilter::RaiseError(const wchar_t *sourceFile, int line, std::wstring message) {
    throw Exception(std::move(message), sourceFile, line);
}

void IoFilter::Throw_ABORT(const wchar_t *sourceFile, int line) const {
    throw AbortException(sourceFile, line);
}

void IoFilter::Throw_ERR_UNKNOWN_FORMAT(const wchar_t *sourceFile, int line,
                                        const std::wstring &path) const {
    throw UnknownFormatException(path, sourceFile, line);
}

bool IoFilter::ShowHelp(const std::wstring &topic) const { return manager_.ShowHelp(topic); }

} // namespace plio
