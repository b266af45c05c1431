// The framework's exceptions: a user message with the source file and line that raised it.
// An abort (the user cancelled) and an unknown format are kinds of their own.
#pragma once
#include <stdexcept>
#include <string>

namespace plio {

class Exception : public std::runtime_error {
public:
    Exception(std::wstring message, std::wstring sourceFile, int line);
    const std::wstring &GetMessage() const { return message_; }
    const std::wstring &GetSourceFile() const { return sourceFile_; }
    int GetLine() const { return line_; }

private:
    std::wstring message_;
    std::wstring sourceFile_;
    int line_;
};

// The user cancelled; not a failure to report.
class AbortException : public Exception {
public:
    AbortException(std::wstring sourceFile, int line);
};

// The file is not in a format the filter can produce.
class UnknownFormatException : public Exception {
public:
    UnknownFormatException(const std::wstring &path, std::wstring sourceFile, int line);
    const std::wstring &GetPath() const { return path_; }

private:
    std::wstring path_;
};

} // namespace plio
