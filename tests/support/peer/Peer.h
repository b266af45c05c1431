// The peer harness shared by every component's peer tests: run the peer tools, make fixtures
// with GDAL, compare rasters in one layout, and read libtiff's view of a file. PROJ access is
// in PeerProj.h.
#pragma once
#include "support/TiffWriter.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace peer {

// stdout of a shell command; `ok` false when it could not run or exited nonzero.
std::string RunCommand(const std::string &command, bool *ok = nullptr);
// A command's exit status (-1 when it did not exit), stdout and stderr.
struct CommandResult {
    int status = -1;
    std::string out;
    std::string err;
};
CommandResult Run(const std::string &command);
std::string ReadFile(const std::string &path);
// Exit status of a shell command run with its output discarded (0 on success).
int RunQuiet(const std::string &command);
std::string ShellQuote(const std::string &text);
using testsupport::ScratchPath;
using testsupport::Wide;

// GDAL-made fixtures. An ENVI source (band-sequential raw plus header) with a textured pattern;
// `type` is "Byte", "UInt16", "Int16", "UInt32", "Float32" or "Float64". With `hole`, about one
// pixel in 16 (the same in every band) holds that value. Returns the raw file's path.
std::string MakeEnviSource(const std::string &name, uint32_t width, uint32_t height, int bands,
                           const std::string &type, std::optional<double> hole = {});
// gdal_translate `source` into a GeoTIFF (`srs`, and `options` such as "-co TILED=YES"), then
// gdaladdo with `overviews` (such as "2 4 8") when not empty. Returns the path, "" on failure.
std::string MakeGeoTiff(const std::string &name, const std::string &source, const std::string &srs,
                        const std::string &options, const std::string &overviews = "");

// The loader's output layout: rows of RowBytes(), samples interleaved, machine byte order,
// bit-packed samples most significant bit first, pad bits zero.
struct Raster {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t spp = 1;
    uint16_t bps = 8;
    std::vector<unsigned char> bytes;

    uint64_t RowBytes() const { return (uint64_t{width} * spp * bps + 7) / 8; }
    void Allocate(uint32_t w, uint32_t h);
    // Bit position of sample s of pixel (x, y).
    uint64_t SampleBit(uint32_t x, uint32_t y, uint32_t s) const {
        return uint64_t{y} * RowBytes() * 8 + (uint64_t{x} * spp + s) * bps;
    }
};

// Copies one sample of `bits` bits (whole bytes when a multiple of 8 and aligned).
void CopySample(const unsigned char *src, uint64_t srcBit, unsigned char *dst, uint64_t dstBit,
                unsigned bits);
// The window (x, y, w, h) of a raster, cut sample by sample.
Raster Crop(const Raster &r, uint32_t x, uint32_t y, uint32_t w, uint32_t h);
// Largest absolute difference between 8-bit samples of two rasters; -1 when shapes differ.
int MaxDifference(const Raster &a, const Raster &b);
// gdal_translate `args` (source window, size, bands, overview...) of `path` to 8-bit
// pixel-interleaved samples; `error` says why when it fails.
bool GdalRead(const std::string &path, const std::string &args, Raster &out, std::string &error);

// What libtiff reports about one directory.
struct LibtiffLayout {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bps = 0;
    uint16_t spp = 0;
    uint16_t compression = 0;
    uint16_t planar = 0;
    uint16_t photometric = 0;
    uint16_t predictor = 0;
    bool tiled = false;
    uint32_t chunkWidth = 0;
    uint32_t chunkHeight = 0; // tile length or rows per strip
    std::vector<uint64_t> offsets;
    std::vector<uint64_t> byteCounts;
};
bool LibtiffDescribe(const std::string &path, unsigned dir, LibtiffLayout &layout);
// Decodes directory `dir` with libtiff into the layout above; false with libtiff's message.
bool LibtiffRead(const std::string &path, unsigned dir, Raster &out, std::string &error);
unsigned LibtiffDirectoryCount(const std::string &path);

// One image for libtiff to write.
struct WriteLayout {
    uint16_t compression = 1;
    uint16_t predictor = 1;
    uint16_t planar = 1;
    uint16_t sampleFormat = 1;
    bool tiled = false;
    uint32_t chunkWidth = 0;  // tile width (tiles only)
    uint32_t chunkHeight = 0; // tile length, or rows per strip
};
// Writes each raster as one directory with libtiff opened with `mode` ("wl", "wb", "w8l",
// "w8b"); false with libtiff's last message.
bool LibtiffWrite(const std::string &path, const char *mode, const WriteLayout &layout,
                  const std::vector<Raster> &images, std::string &error);

} // namespace peer
