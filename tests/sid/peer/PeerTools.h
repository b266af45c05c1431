// Helpers for the GDAL peer tests: running the GDAL tools, writing synthetic sources, and
// reading images through SidInterface and through gdal_translate for comparison.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace sidpeer {

// Runs a shell command; its exit status (0 on success).
int RunQuiet(const std::string &command);
// Runs a shell command and returns what it printed on stdout.
std::string Capture(const std::string &command);

std::string BuildPath(const std::string &name);

// Writes an ENVI source (band-sequential raw plus header) with a deterministic, textured
// pattern; `type` is "Byte" or "UInt16". Returns the raw file's path.
std::string MakeSource(const std::string &name, uint32_t width, uint32_t height, int bands,
                       const std::string &type);

// gdal_translate `source` into a GeoTIFF with creation options `options` (such as
// "-co TILED=YES"), georeferenced, then gdaladdo with `overviews` (such as "2 4 8") when not
// empty. Returns the GeoTIFF's path, or "" on failure.
std::string MakeGeoTiff(const std::string &name, const std::string &source,
                        const std::string &options, const std::string &overviews);

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

// Largest absolute difference between two images of the same shape; -1 when shapes differ.
int MaxDifference(const Image &a, const Image &b);

} // namespace sidpeer
