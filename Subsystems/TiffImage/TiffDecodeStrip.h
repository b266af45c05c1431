// Decoding one strip or tile: read its compressed bytes, decompress (none, LZW, Deflate,
// PackBits) and undo the predictor.
#pragma once
#include "TiffRead.h"

#include <cstdint>

namespace tiff {

enum TiffCompression : uint32_t {
    kCompressionNone = 1,
    kCompressionLzw = 5,
    kCompressionDeflate = 8,
    kCompressionPackBits = 32773,
    kCompressionDeflateOld = 32946,
};

// True for the compressions the strip decoder handles.
bool IsDecodableCompression(uint64_t compression);

// The tags the strip decoder reads, taken from a directory once for all of its strips.
struct StripCoding {
    uint64_t compression = kCompressionNone;
    uint32_t predictor = 1; // low 8 bits of the tag
    uint32_t bitsPerSample = 1;
    uint32_t samplesPerPixel = 1;
};
StripCoding ReadStripCoding(const TiffDirectory &dir);

// Decodes the strip of `rowsInStrip` rows at `stripOffset` (`compressedSize` bytes in the
// file) into `out`, which holds `decodedSize` bytes. Multi-byte samples are left in the file's
// byte order, except after the floating point predictor, which leaves little-endian values.
// False with the reader's error record set (source Subsystems/TiffImage/TiffDecodeStrip):
// -3 the bytes could not be read, -4 no memory for them, -5 bad data or predictor, -6 an
// unsupported compression.
bool ImageDecodeStrip(CTiffReader &reader, const TiffDirectory &dir, uint32_t stripOffset,
                      uint32_t rowsInStrip, uint32_t compressedSize, uint32_t decodedSize,
                      unsigned char *out);
// The same with the tags read beforehand, as a loader of many strips does.
bool ImageDecodeStrip(CTiffReader &reader, const StripCoding &coding, uint32_t stripOffset,
                      uint32_t rowsInStrip, uint32_t compressedSize, uint32_t decodedSize,
                      unsigned char *out);

} // namespace tiff
