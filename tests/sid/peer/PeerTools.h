// Helpers for the GDAL peer tests: running the GDAL tools, writing synthetic sources, and
// reading images through SidInterface and through gdal_translate for comparison.
#pragma once
#include "support/peer/Peer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace sidpeer {

// The shared harness under this folder's names: commands, scratch files and GDAL fixtures.
inline int RunQuiet(const std::string &command) { return peer::RunQuiet(command); }
inline std::string Capture(const std::string &command) { return peer::RunCommand(command); }
inline std::string BuildPath(const std::string &name) { return peer::ScratchPath(name); }
inline std::string MakeSource(const std::string &name, uint32_t width, uint32_t height, int bands,
                              const std::string &type, std::optional<double> hole = {}) {
    return peer::MakeEnviSource(name, width, height, bands, type, hole);
}
// A UTM zone 11 GeoTIFF of `source` with creation options `options`, and overviews when given.
inline std::string MakeGeoTiff(const std::string &name, const std::string &source,
                               const std::string &options, const std::string &overviews) {
    return peer::MakeGeoTiff(name, source, "EPSG:32611",
                             "-a_ullr 500000 4100000 530000 4080000 " + options, overviews);
}

// gdal_translate `source` into JPEG 2000 with the JP2OpenJPEG driver and `args` (creation
// options, georeferencing); `extension` is "jp2" or "j2k". Returns the path, or "" on failure.
std::string MakeJpeg2000(const std::string &name, const std::string &source,
                         const std::string &args, const std::string &extension = "jp2");

struct Image {
    uint32_t width = 0, height = 0;
    uint32_t channels = 0;     // bytes per pixel
    std::vector<uint8_t> data; // rows of width × channels bytes
    std::string error;
};

// Reads through SidInterface: format 4 gives red, green, blue (converted from blue first), 5
// red, green, blue, alpha; 3 grey.
Image ReadOurs(const std::string &path, uint32_t scale, const uint32_t *region, int format);

// Reads through the engine alone (no colour or range conversion): pixel-interleaved samples
// of the image's own type and bands; channels holds the bytes per pixel. `region` as for
// ReadOurs.
Image ReadEngine(const std::string &path, uint32_t scale, const uint32_t *region);

// gdal_translate `args` (source window, size, overview...) to pixel-interleaved bytes.
Image ReadGdal(const std::string &path, const std::string &args, uint32_t channels);

struct BandRange {
    double lo, hi;
};
// Per band: the STATISTICS_MINIMUM and _MAXIMUM of the band's metadata, else the extent GDAL
// computes (nodata and NaN left out) in overview `overview`, or the full image when negative.
std::vector<BandRange> GdalRanges(const std::string &path, int overview = -1);
// gdal_translate arguments stretching each band's range onto 0..255 bytes.
std::string StretchArgs(const std::vector<BandRange> &ranges);

// Largest absolute difference between two images of the same shape; -1 when shapes differ.
int MaxDifference(const Image &a, const Image &b);

} // namespace sidpeer
