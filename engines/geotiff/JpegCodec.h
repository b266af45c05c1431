// What the JPEG block decoder asks of the codec the build carries: libjpeg-turbo natively
// (JpegBlockDecoderTurbo.cpp), the Windows Imaging Component on Windows (JpegBlockDecoderWic.cpp).
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace engines::geotiff {

struct JpegBlock {
    const unsigned char *stored;
    size_t storedSize;
    uint32_t width, rows;
    unsigned char *out; // width × rows × the codec's components
};

class JpegCodec {
public:
    virtual ~JpegCodec() = default;
    // Decodes one block; false with `why` set (without the "JPEG block: " prefix).
    virtual bool Decode(const JpegBlock &block, std::string &why) = 0;
};

// A codec for the blocks of one image whose layout JpegLayoutProblem accepted: `tables` are its
// JPEGTables (may be empty), `components` its samples per pixel, `ycbcr` whether the samples
// are YCbCr, to be delivered as RGB. Every other layout's samples are delivered as stored.
std::unique_ptr<JpegCodec> MakeJpegCodec(std::vector<unsigned char> tables, int components,
                                         bool ycbcr);

// The message for a stream whose frame is not the block's shape.
std::string JpegShapeMismatch(uint32_t width, uint32_t height, int components,
                              const JpegBlock &block, int blockComponents);

} // namespace engines::geotiff
