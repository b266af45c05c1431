// The libtiff half of the benchmark, behind plain types: libtiff's `struct tiff` cannot share a
// translation unit with our `tiff` namespace.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

struct ImageLayout {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t samples = 1;
    uint16_t bitsPerSample = 8;
    uint16_t compression = 1;
    uint16_t predictor = 1;
    uint32_t rowsPerStrip = 0; // 0: libtiff's default strip size
    bool bigEndian = false;
    uint32_t noiseMask = 7; // of the generated content: 0 gives smooth images
};

// Writes `pixels` (rows top to bottom, samples interleaved, machine byte order) as a striped
// TIFF in the layout's byte order; false with a message on failure.
bool WriteWithLibtiff(const std::string &path, const ImageLayout &layout,
                      const std::vector<uint8_t> &pixels, std::string &message);

// Decodes every strip of the first directory with TIFFReadEncodedStrip into `image` (strips one
// after another). `zlibDeflate` makes libtiff inflate with zlib instead of libdeflate.
bool DecodeWithLibtiff(const std::string &path, std::vector<uint8_t> &image, bool zlibDeflate,
                       std::string &message);

} // namespace bench
