// Warning lines of the TIFF library and where they go.
#include "TiffLog.h"

#include <cstdio>
#include <mutex>

namespace tiff {
namespace {

std::mutex &SinkMutex() {
    static std::mutex m;
    return m;
}

TiffWarningSink &Sink() {
    static TiffWarningSink sink;
    return sink;
}

} // namespace

void SetTiffWarningSink(TiffWarningSink sink) {
    std::lock_guard<std::mutex> lock(SinkMutex());
    Sink() = std::move(sink);
}

void TiffWarning(const char *module, const char *text) {
    const std::string line =
        std::string("TIFFWarning(") + (module ? module : "") + "):  " + (text ? text : "");
    std::lock_guard<std::mutex> lock(SinkMutex());
    if (Sink()) {
        Sink()(line);
        return;
    }
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

} // namespace tiff
