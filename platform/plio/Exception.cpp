// The framework's exceptions.
#include "plio/Exception.h"

#include "shr/Strings.h"

namespace plio {

Exception::Exception(std::wstring message, std::wstring sourceFile, int line)
    : std::runtime_error(shr::WtoA(message)), message_(std::move(message)),
      sourceFile_(std::move(sourceFile)), line_(line) {}

AbortException::AbortException(std::wstring sourceFile, int line)
    : Exception(L"The operation was cancelled.", std::move(sourceFile), line) {}

UnknownFormatException::UnknownFormatException(const std::wstring &path, std::wstring sourceFile,
                                               int line)
    : Exception(L"The file '" + path + L"' is not in a format this filter can import.",
                std::move(sourceFile), line),
      path_(path) {}

} // namespace plio
