// Log sink and exception description.
#include "Log.h"

#include "Format.h"
#include "Strings.h"

#include <cstdio>
#include <exception>
#include <mutex>

namespace shr {
namespace {

std::mutex& SinkMutex() {
    static std::mutex m;
    return m;
}

LogSink& Sink() {
    static LogSink sink;
    return sink;
}

std::wstring DescribeCurrentException() {
    try {
        throw;
    } catch (const std::exception& e) {
        return AtoW(e.what());
    } catch (...) {
        return L"unknown exception";
    }
}

} // namespace

void SetLogSink(LogSink sink) {
    std::lock_guard<std::mutex> lock(SinkMutex());
    Sink() = std::move(sink);
}

void LogMessage(const std::wstring& line) {
    std::lock_guard<std::mutex> lock(SinkMutex());
    if (Sink()) {
        Sink()(line);
        return;
    }
    std::fprintf(stderr, "%s\n", WtoA(line).c_str());
}

void LogExceptionInfo(const wchar_t* module, const wchar_t* sourceFile, int line) {
    if (!std::current_exception())
        return;
    LogMessage(FormatString(L"%ls: exception in %ls line %d: %ls", module, sourceFile, line,
                            DescribeCurrentException().c_str()));
}

void LogExceptionInfoAndRethrowIfUnknown(const wchar_t* module, const wchar_t* sourceFile,
                                         int line) {
    LogExceptionInfo(module, sourceFile, line);
    try {
        throw;
    } catch (const std::exception&) {
    }
}

ScopedLogMessage::ScopedLogMessage(std::wstring text) : text_(std::move(text)) {
    LogMessage(text_ + L" begin");
}

ScopedLogMessage::~ScopedLogMessage() {
    try {
        LogMessage(text_ + L" end");
    } catch (...) {
    }
}

} // namespace shr
