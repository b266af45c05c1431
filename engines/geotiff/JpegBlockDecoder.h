// JPEG-compressed (Compression 7) strips and tiles, decoded for the TIFF library's loader.
#pragma once
#include "Subsystems/TiffImage/TiffImageLoad.h"

#include <memory>
#include <string>
#include <vector>

namespace engines::geotiff {

constexpr uint16_t kCompressionJpeg = 7;

// Why an image's layout cannot be decoded from JPEG blocks; empty when it can: 8-bit chunky
// samples, YCbCr (any subsampling, delivered as RGB), or grey or RGB with up to four samples.
std::string JpegLayoutProblem(const tiff::TiffImageInfo &info);

// A decoder for the blocks of one image: `tables` are its JPEGTables (empty when the blocks
// carry their own). nullptr with `why` set when the layout is not read. The codec is
// libjpeg-turbo natively, the Windows Imaging Component in the Windows build.
std::unique_ptr<tiff::TiffBlockDecoder> MakeJpegBlockDecoder(std::vector<unsigned char> tables,
                                                             const tiff::TiffImageInfo &info,
                                                             std::string &why);

} // namespace engines::geotiff
