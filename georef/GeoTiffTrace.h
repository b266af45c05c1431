// The georeferencing module's diagnostic trace: silent unless a sink is installed.
#pragma once
#include <functional>
#include <string>

namespace georef {

using GeoTiffTraceSink = std::function<void(const std::string &line)>;

// Installs the sink (an empty one silences the trace again).
void SetGeoTiffTraceSink(GeoTiffTraceSink sink);

// printf-style; the line is handed to the sink as formatted, newline included.
void GeoTiffTrace(const char *format, ...);

} // namespace georef
