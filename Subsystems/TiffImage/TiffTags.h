// Numbers of the TIFF tags the system reads (TIFF 6.0 and its supplements, GeoTIFF 1.0): the
// one list of them.
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
constexpr uint16_t kTagInkSet = 332;
constexpr uint16_t kTagSMinSampleValue = 340;
constexpr uint16_t kTagSMaxSampleValue = 341;
constexpr uint16_t kTagJpegTables = 347;
constexpr uint16_t kTagYCbCrSubsampling = 530;

// GeoTIFF 1.0 sections 2.4 and 2.6: the key directory with its value stores, and the
// raster-to-model tags (33920 is the older Intergraph form of the transformation matrix).
constexpr uint16_t kTagModelPixelScale = 33550;
constexpr uint16_t kTagIntergraphMatrix = 33920;
constexpr uint16_t kTagModelTiepoint = 33922;
constexpr uint16_t kTagModelTransformation = 34264;
constexpr uint16_t kTagGeoKeyDirectory = 34735;
constexpr uint16_t kTagGeoDoubleParams = 34736;
constexpr uint16_t kTagGeoAsciiParams = 34737;

// GDAL's private tags: its metadata XML (band statistics among it) and its nodata value, both
// ASCII.
constexpr uint16_t kTagGdalMetadata = 42112;
constexpr uint16_t kTagGdalNoData = 42113;

} // namespace tiff
