// Fuzzes the JPEG block decoder: the first bytes choose the layout (grey, YCbCr or RGBA), the
// block's width and rows and how many of the following bytes are the shared JPEGTables; the
// rest is the block's stream.
#include "engines/geotiff/JpegBlockDecoder.h"

#include <cstddef>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 6)
        return 0;
    static const uint16_t kLayouts[][2] = {{1, 1}, {6, 3}, {2, 3}, {2, 4}, {0, 1}};
    const auto *layout = kLayouts[data[0] % 5];
    // Blocks up to 512 × 512, as tiles are.
    const uint32_t width = 1 + ((data[1] | (data[2] << 8)) & 511);
    const uint32_t rows = 1 + ((data[3] | (data[4] << 8)) & 511);
    data += 5;
    size -= 5;
    const size_t tablesSize = size > 1 ? data[0] * size / 256 : 0;
    tiff::TiffImageInfo info;
    info.photometric = layout[0];
    info.samplesPerPixel = layout[1];
    info.bitsPerSample = 8;
    std::string why;
    auto decoder = engines::geotiff::MakeJpegBlockDecoder(
        std::vector<unsigned char>(data + 1, data + 1 + tablesSize), info, why);
    if (!decoder)
        __builtin_trap(); // every layout above is one the decoder reads
    std::vector<unsigned char> out(size_t{width} * rows * layout[1]);
    const unsigned char *stream = data + 1 + tablesSize;
    const size_t streamSize = size - 1 - tablesSize;
    if (!decoder->Decode(stream, streamSize, width, rows, out.data(), out.size()) &&
        decoder->Reason().empty())
        __builtin_trap(); // a refusal always says why
    return 0;
}
