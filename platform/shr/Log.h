// Diagnostic log: exception reports from release paths and scoped entry/exit messages.
#pragma once
#include <functional>
#include <string>

namespace shr {

// Where log lines go; stderr unless a host installs its own sink.
using LogSink = std::function<void(const std::wstring& line)>;
void SetLogSink(LogSink sink);
void LogMessage(const std::wstring& line);

// Logs the exception being handled (call only inside a catch block) with its origin.
void LogExceptionInfo(const wchar_t* module, const wchar_t* sourceFile, int line);

// Logs the exception being handled like LogExceptionInfo; one that is not a std::exception is
// not understood here and is rethrown after logging.
void LogExceptionInfoAndRethrowIfUnknown(const wchar_t* module, const wchar_t* sourceFile,
                                         int line);

// Logs "<text> begin" on construction and "<text> end" on destruction.
class ScopedLogMessage {
public:
    explicit ScopedLogMessage(std::wstring text);
    ~ScopedLogMessage();
    ScopedLogMessage(const ScopedLogMessage&) = delete;
    ScopedLogMessage& operator=(const ScopedLogMessage&) = delete;

private:
    std::wstring text_;
};

} // namespace shr
