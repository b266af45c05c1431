// Numbers of the TIFF tags the image loader reads (TIFF 6.0 and its supplements).
#pragma once
#include <cstdint>

namespace tiff {

constexpr uint16_t kTagNewSubfileType = 254;
constexpr uint16_t kTagSubfileType = 255;
constexpr uint16_t kTagImageWidth = 256;
constexpr uint16_t kTagImageLength = 257;
constexpr uint16_t kTagBitsPerSample = 258;
constexpr uint16_t kTagCompression = 259;
constexpr uint16_t kTagPhotometric = 262;
constexpr uint16_t kTagFillOrder = 266;
constexpr uint16_t kTagStripOffsets = 273;
constexpr uint16_t kTagSamplesPerPixel = 277;
constexpr uint16_t kTagRowsPerStrip = 278;
constexpr uint16_t kTagStripByteCounts = 279;
constexpr uint16_t kTagPlanarConfiguration = 284;
constexpr uint16_t kTagPredictor = 317;
constexpr uint16_t kTagColorMap = 320;
constexpr uint16_t kTagTileWidth = 322;
constexpr uint16_t kTagTileLength = 323;
constexpr uint16_t kTagTileOffsets = 324;
constexpr uint16_t kTagTileByteCounts = 325;
constexpr uint16_t kTagSubIfds = 330;
constexpr uint16_t kTagExtraSamples = 338;
constexpr uint16_t kTagSampleFormat = 339;
constexpr uint16_t kTagYCbCrSubsampling = 530;

} // namespace tiff
