// Peer comparison helpers: images decoded by libtiff and by our loader, in one layout.
#pragma once
#include "shr/ErrorRecord.h"

#include <cstdint>
#include <string>
#include <vector>

namespace peer {

// The loader's output layout: rows of RowBytes(), samples interleaved, machine byte order,
// bit-packed samples most significant bit first, pad bits zero.
struct Raster {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t spp = 1;
    uint16_t bps = 1;
    std::vector<unsigned char> bytes;

    uint64_t RowBytes() const { return (uint64_t{width} * spp * bps + 7) / 8; }
    void Allocate(uint32_t w, uint32_t h) {
        width = w;
        height = h;
        bytes.assign(static_cast<size_t>(RowBytes() * h), 0);
    }
    // Bit position of sample s of pixel (x, y).
    uint64_t SampleBit(uint32_t x, uint32_t y, uint32_t s) const {
        return uint64_t{y} * RowBytes() * 8 + (uint64_t{x} * spp + s) * bps;
    }
};

// Copies one sample of `bits` bits (whole bytes when a multiple of 8 and aligned).
void CopySample(const unsigned char *src, uint64_t srcBit, unsigned char *dst, uint64_t dstBit,
                unsigned bits);

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
// Values of a tag libtiff does not know (read as an anonymous array).
std::vector<double> LibtiffDoubles(const std::string &path, unsigned dir, uint32_t tag);
std::vector<uint16_t> LibtiffShorts(const std::string &path, unsigned dir, uint32_t tag);

// Decodes directory `dir` with libtiff (TIFFReadEncodedStrip / TIFFReadEncodedTile) into the
// layout above; false with libtiff's last message.
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
// Writes each raster as one directory with libtiff, which is opened with `mode` ("wl", "wb",
// "w8l", "w8b"); false with libtiff's last message.
bool LibtiffWrite(const std::string &path, const char *mode, const WriteLayout &layout,
                  const std::vector<Raster> &images, std::string &error);

// Decodes the whole image with our reader and loader; false with the reader's error record.
bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error);

// The window (x, y, w, h) of a raster, cut sample by sample.
Raster Crop(const Raster &r, uint32_t x, uint32_t y, uint32_t w, uint32_t h);

// Compares our windows (as whole and row by row) with crops of `expected`; returns a
// description of the first difference, or empty.
std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected);

std::wstring Wide(const std::string &text);
// A scratch folder under the test's build directory.
std::string ScratchDir();

} // namespace peer
