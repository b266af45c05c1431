// The georeferencing module's diagnostic trace.
#include "georef/GeoTiffTrace.h"

#include <cstdarg>
#include <cstdio>

namespace georef {
namespace {

GeoTiffTraceSink &Sink() {
    static GeoTiffTraceSink sink;
    return sink;
}

} // namespace

void SetGeoTiffTraceSink(GeoTiffTraceSink sink) { Sink() = std::move(sink); }

void GeoTiffTrace(const char *format, ...) {
    if (!Sink())
        return;
    char buffer[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    Sink()(buffer);
}

} // namespace georef
