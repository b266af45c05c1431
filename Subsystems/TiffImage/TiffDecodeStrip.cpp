// Strip and tile decoding: compressions none, LZW, Deflate and PackBits, then the predictor.
#include "TiffDecodeStrip.h"

#include "TiffInflate.h"
#include "TiffLzw.h"
#include "TiffPackBits.h"
#include "TiffPredictor.h"
#include "TiffTags.h"

#include <memory>
#include <new>

namespace tiff {
namespace {

const wchar_t kSourceFile[] = L"Subsystems/TiffImage/TiffDecodeStrip";

bool Fail(CTiffReader &reader, int line, int32_t code) {
    reader.SetError(kSourceFile, line, code);
    return false;
}

// Reads the strip's compressed bytes into a buffer of their own; nullptr with the error set.
std::unique_ptr<uint8_t[]> ReadCompressed(CTiffReader &reader, uint32_t offset, uint32_t size) {
    // A byte count past the end of the file cannot be read: say so before allocating for it.
    if (uint64_t{offset} + size > reader.FileLength()) {
        Fail(reader, __LINE__, kTiffReadFailed);
        return nullptr;
    }
    std::unique_ptr<uint8_t[]> bytes(new (std::nothrow) uint8_t[size]);
    if (!bytes) {
        Fail(reader, __LINE__, kTiffNoMemory);
        return nullptr;
    }
    if (!reader.ReadBytes(offset, bytes.get(), size, kSourceFile, __LINE__)) {
        if (!reader.Error().IsSet())
            Fail(reader, __LINE__, kTiffReadFailed);
        return nullptr;
    }
    return bytes;
}

// Decompresses into `out`; false when the data does not decode to exactly `decodedSize` bytes.
bool Decompress(uint64_t compression, const uint8_t *in, uint32_t compressedSize,
                unsigned char *out, uint32_t decodedSize) {
    switch (compression) {
    case kCompressionLzw:
        return LZWDecodeStrip(out, in, decodedSize, compressedSize) == kLzwOk;
    case kCompressionPackBits:
        return PackBitsDecode({in, compressedSize}, {out, decodedSize});
    default: // Deflate, new and old code
        return Inflate({in, compressedSize}, {out, decodedSize});
    }
}

} // namespace

bool IsDecodableCompression(uint64_t compression) {
    switch (compression) {
    case kCompressionNone:
    case kCompressionLzw:
    case kCompressionDeflate:
    case kCompressionPackBits:
    case kCompressionDeflateOld:
        return true;
    default:
        return false;
    }
}

StripCoding ReadStripCoding(const TiffDirectory &dir) {
    StripCoding coding;
    coding.compression = dir.GetUInt(kTagCompression, kCompressionNone);
    coding.predictor = static_cast<uint32_t>(dir.GetUInt(kTagPredictor, 1) & 0xFF);
    coding.bitsPerSample = static_cast<uint32_t>(dir.GetUInt(kTagBitsPerSample, 1));
    coding.samplesPerPixel = static_cast<uint32_t>(dir.GetUInt(kTagSamplesPerPixel, 1));
    return coding;
}

bool ImageDecodeStrip(CTiffReader &reader, const TiffDirectory &dir, uint32_t stripOffset,
                      uint32_t rowsInStrip, uint32_t compressedSize, uint32_t decodedSize,
                      unsigned char *out) {
    return ImageDecodeStrip(reader, ReadStripCoding(dir), stripOffset, rowsInStrip, compressedSize,
                            decodedSize, out);
}

bool ImageDecodeStrip(CTiffReader &reader, const StripCoding &coding, uint32_t stripOffset,
                      uint32_t rowsInStrip, uint32_t compressedSize, uint32_t decodedSize,
                      unsigned char *out) {
    if (rowsInStrip == 0 || compressedSize == 0 || decodedSize == 0)
        return true;
    const uint64_t compression = coding.compression;
    if (!IsDecodableCompression(compression))
        return Fail(reader, __LINE__, kTiffUnsupported);
    const uint32_t predictor = coding.predictor;

    PredictorRows rows;
    rows.bitsPerSample = coding.bitsPerSample;
    rows.samplesPerPixel = coding.samplesPerPixel;
    const uint64_t bitsPerPixel = uint64_t{rows.bitsPerSample} * rows.samplesPerPixel;
    if (bitsPerPixel == 0)
        return Fail(reader, __LINE__, kTiffBadFormat);
    const uint64_t pixelsPerRow = uint64_t{decodedSize} * 8 / bitsPerPixel / rowsInStrip;
    if (pixelsPerRow == 0)
        return true;
    rows.pixelsPerRow = static_cast<size_t>(pixelsPerRow);
    rows.bytesPerRow = static_cast<size_t>(bitsPerPixel * pixelsPerRow / 8);
    rows.rows = rowsInStrip;
    rows.bigEndian = reader.IsBigEndian();
    rows.data = out;

    if (compression == kCompressionNone) {
        if (compressedSize != decodedSize)
            return Fail(reader, __LINE__, kTiffBadFormat);
        if (!reader.ReadBytes(stripOffset, out, decodedSize, kSourceFile, __LINE__))
            return reader.Error().IsSet() ? false : Fail(reader, __LINE__, kTiffReadFailed);
        return true;
    }
    // A source that holds the file in memory lends the bytes; others read them into a buffer.
    const uint8_t *compressed = reader.ViewBytes(stripOffset, compressedSize);
    std::unique_ptr<uint8_t[]> buffer;
    if (compressed == nullptr) {
        buffer = ReadCompressed(reader, stripOffset, compressedSize);
        if (!buffer)
            return false;
        compressed = buffer.get();
    }
    if (!Decompress(compression, compressed, compressedSize, out, decodedSize))
        return Fail(reader, __LINE__, kTiffBadFormat);
    if (compression != kCompressionPackBits && !UndoPredictor(predictor, rows))
        return Fail(reader, __LINE__, kTiffBadFormat);
    return true;
}

} // namespace tiff
