// Test-side encoders for strip data: PackBits, Deflate, the predictors, and a reader over a small
// in-memory TIFF whose strips follow its directory.
#pragma once
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"

#include <zlib.h>

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace tiff::test {

using Bytes = std::vector<uint8_t>;

inline Bytes PackBitsEncode(std::span<const uint8_t> data) {
    Bytes out;
    size_t i = 0;
    while (i < data.size()) {
        size_t run = 1;
        while (i + run < data.size() && run < 128 && data[i + run] == data[i])
            ++run;
        if (run >= 3) {
            out.push_back(static_cast<uint8_t>(1 - static_cast<int>(run)));
            out.push_back(data[i]);
            i += run;
            continue;
        }
        size_t literal = 0;
        while (i + literal < data.size() && literal < 128 &&
               !(i + literal + 2 < data.size() && data[i + literal] == data[i + literal + 1] &&
                 data[i + literal] == data[i + literal + 2]))
            ++literal;
        literal = literal == 0 ? 1 : literal;
        out.push_back(static_cast<uint8_t>(literal - 1));
        out.insert(out.end(), data.begin() + i, data.begin() + i + literal);
        i += literal;
    }
    return out;
}

inline Bytes DeflateEncode(std::span<const uint8_t> data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    Bytes out(size);
    compress(out.data(), &size, data.data(), static_cast<uLong>(data.size()));
    out.resize(size);
    return out;
}

// Horizontal differencing of one row of `bytesPerSample`-byte samples in the given byte order.
inline void DifferenceRow(uint8_t *row, size_t pixels, size_t samples, size_t bytesPerSample,
                          bool bigEndian) {
    const auto load = [&](size_t i) {
        uint64_t v = 0;
        for (size_t b = 0; b < bytesPerSample; ++b)
            v |= uint64_t{row[i * bytesPerSample + b]}
                 << 8 * (bigEndian ? bytesPerSample - 1 - b : b);
        return v;
    };
    const auto store = [&](size_t i, uint64_t v) {
        for (size_t b = 0; b < bytesPerSample; ++b)
            row[i * bytesPerSample + b] =
                static_cast<uint8_t>(v >> 8 * (bigEndian ? bytesPerSample - 1 - b : b));
    };
    for (size_t i = pixels * samples; i-- > samples;)
        store(i, load(i) - load(i - samples));
}

// The floating point predictor's encoding of one row of little-endian values: byte planes
// (most significant first), then byte differences with a stride of `samples`.
inline Bytes FloatPredictRow(std::span<const uint8_t> row, size_t samples, size_t bytes) {
    const size_t values = row.size() / bytes;
    Bytes planes(row.size());
    for (size_t i = 0; i < values; ++i)
        for (size_t b = 0; b < bytes; ++b)
            planes[(bytes - 1 - b) * values + i] = row[i * bytes + b];
    for (size_t i = planes.size(); i-- > samples;)
        planes[i] = static_cast<uint8_t>(planes[i] - planes[i - samples]);
    return planes;
}

// A classic TIFF holding one small directory followed by `payload` at offset kPayloadOffset.
constexpr uint32_t kPayloadOffset = 32;

inline Bytes TinyTiff(bool bigEndian, const Bytes &payload) {
    Bytes f(kPayloadOffset, 0);
    const auto put16 = [&](size_t at, uint16_t v) {
        f[at + (bigEndian ? 1 : 0)] = static_cast<uint8_t>(v);
        f[at + (bigEndian ? 0 : 1)] = static_cast<uint8_t>(v >> 8);
    };
    const auto put32 = [&](size_t at, uint32_t v) {
        for (size_t b = 0; b < 4; ++b)
            f[at + (bigEndian ? 3 - b : b)] = static_cast<uint8_t>(v >> 8 * b);
    };
    f[0] = f[1] = bigEndian ? 'M' : 'I';
    put16(2, 42);
    put32(4, 8);
    put16(8, 1); // one entry: ImageWidth SHORT 1
    put16(10, 256);
    put16(12, 3);
    put32(14, 1);
    put16(18, 1);
    put32(22, 0); // no next directory
    f.insert(f.end(), payload.begin(), payload.end());
    return f;
}

inline bool OpenTinyTiff(CTiffReader &reader, bool bigEndian, const Bytes &payload) {
    return reader.Open(MakeMemorySource(TinyTiff(bigEndian, payload)), L"memory.tif");
}

// A directory holding only the tags the strip decoder reads.
inline TiffDirectory StripDirectory(uint32_t compression, uint32_t predictor,
                                    uint32_t bitsPerSample, uint32_t samplesPerPixel) {
    TiffDirectory dir;
    const auto add = [&](uint16_t tag, uint32_t value) {
        TiffEntry e;
        e.tag = tag;
        e.type = kTypeLong;
        e.count = 1;
        std::memcpy(e.value, &value, 4);
        dir.entries.push_back(e);
    };
    add(258, bitsPerSample);
    add(259, compression);
    add(277, samplesPerPixel);
    add(317, predictor);
    return dir;
}

} // namespace tiff::test
