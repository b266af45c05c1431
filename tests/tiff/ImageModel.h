// A synthetic image model for the loader tests: every sample's value is a function of its
// position, written into strips or tiles (uncompressed, PackBits or Deflate) of a TIFF file
// built in memory, and expected back in the loader's output layout.
#pragma once
#include "TiffFileBuilder.h"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

namespace tifftest {

using Bytes = std::vector<unsigned char>;

struct ImageModel {
    bool bigEndian = false;
    bool bigTiff = false;
    uint32_t width = 37;
    uint32_t height = 21;
    uint16_t spp = 1;
    uint16_t bps = 8;
    uint16_t planar = 1;
    uint16_t compression = 1; // 1, 8 or 32773 are encoded here
    uint16_t predictor = 1;   // 2 is applied before Deflate for 8 and 16-bit samples
    bool tiled = false;
    uint32_t chunkWidth = 16; // tiles only
    uint32_t chunkHeight = 3; // tile length or rows per strip
    // Changes to the directory after the standard tags (replace or add entries).
    std::function<void(TiffFileBuilder &, BuiltDirectory &)> edit;
    // Changes to the stored chunks before they are placed in the file.
    std::function<void(std::vector<Bytes> &)> editChunks;

    static uint64_t Value(uint32_t x, uint32_t y, uint32_t s, uint16_t bps) {
        const uint64_t v = x * 7u + y * 13u + s * 3u + uint64_t{x} * y + (uint64_t{y} << 33);
        return bps == 64 ? v : v & ((uint64_t{1} << bps) - 1);
    }

    uint32_t Planes() const { return planar == 2 ? spp : 1; }
    uint32_t SamplesInChunk() const { return planar == 2 ? 1 : spp; }
    uint32_t StoredWidth() const { return tiled ? chunkWidth : width; }
    uint64_t ChunkRowBytes() const {
        return (uint64_t{StoredWidth()} * SamplesInChunk() * bps + 7) / 8;
    }

    // Writes `bits` bits of v at bit position `bit`, most significant first.
    static void PutBits(Bytes &out, uint64_t bit, uint64_t v, unsigned bits) {
        for (unsigned i = 0; i < bits; ++i, ++bit) {
            if ((v >> (bits - 1 - i)) & 1)
                out[bit / 8] |= static_cast<unsigned char>(0x80 >> (bit % 8));
        }
    }
    // A whole-byte sample in the given byte order.
    static void PutBytes(Bytes &out, size_t pos, uint64_t v, unsigned bytes, bool bigEndian) {
        for (unsigned i = 0; i < bytes; ++i)
            out[pos + i] = static_cast<unsigned char>(v >> (8 * (bigEndian ? bytes - 1 - i : i)));
    }

    Bytes RawChunk(uint32_t x0, uint32_t y0, uint32_t plane) const {
        const uint32_t rows = tiled ? chunkHeight : std::min(chunkHeight, height - y0);
        Bytes chunk(static_cast<size_t>(ChunkRowBytes() * rows), 0);
        for (uint32_t r = 0; r < rows && y0 + r < height; ++r)
            for (uint32_t c = 0; c < StoredWidth() && x0 + c < width; ++c)
                for (uint32_t s = 0; s < SamplesInChunk(); ++s) {
                    const uint64_t v = Value(x0 + c, y0 + r, planar == 2 ? plane : s, bps);
                    const uint64_t bit =
                        r * ChunkRowBytes() * 8 + (uint64_t{c} * SamplesInChunk() + s) * bps;
                    if (bps % 8 == 0)
                        PutBytes(chunk, bit / 8, v, bps / 8, bigEndian);
                    else
                        PutBits(chunk, bit, v, bps);
                }
        return chunk;
    }

    // Horizontal differencing of whole-byte samples, in the file's byte order.
    void Difference(Bytes &chunk) const {
        const unsigned bytes = bps / 8;
        const size_t rowBytes = static_cast<size_t>(ChunkRowBytes());
        const size_t stride = SamplesInChunk() * bytes;
        auto get = [&](size_t pos) {
            uint64_t v = 0;
            for (unsigned i = 0; i < bytes; ++i)
                v |= uint64_t{chunk[pos + i]} << (8 * (bigEndian ? bytes - 1 - i : i));
            return v;
        };
        for (size_t row = 0; row + rowBytes <= chunk.size(); row += rowBytes)
            for (size_t pos = row + rowBytes - bytes; pos >= row + stride; pos -= bytes)
                PutBytes(chunk, pos, get(pos) - get(pos - stride), bytes, bigEndian);
    }

    static Bytes PackBits(const Bytes &raw) {
        Bytes out;
        for (size_t i = 0; i < raw.size();) {
            // A run of three or more equal bytes is repeated; anything else is copied.
            size_t run = 1;
            while (i + run < raw.size() && run < 128 && raw[i + run] == raw[i])
                ++run;
            if (run >= 3) {
                out.push_back(static_cast<unsigned char>(1 - static_cast<int>(run)));
                out.push_back(raw[i]);
                i += run;
                continue;
            }
            const size_t n = std::min<size_t>(128, raw.size() - i);
            out.push_back(static_cast<unsigned char>(n - 1));
            out.insert(out.end(), raw.begin() + i, raw.begin() + i + n);
            i += n;
        }
        return out;
    }

    static Bytes Deflate(const Bytes &raw) {
        uLongf size = compressBound(static_cast<uLong>(raw.size()));
        Bytes out(size);
        compress2(out.data(), &size, raw.data(), static_cast<uLong>(raw.size()), 6);
        out.resize(size);
        return out;
    }

    Bytes Encode(Bytes raw) const {
        if (compression == 32773)
            return PackBits(raw);
        if (compression == 8) {
            if (predictor == 2)
                Difference(raw);
            return Deflate(raw);
        }
        return raw;
    }

    std::vector<Bytes> Chunks() const {
        std::vector<Bytes> chunks;
        for (uint32_t plane = 0; plane < Planes(); ++plane)
            for (uint32_t y = 0; y < height; y += chunkHeight)
                for (uint32_t x = 0; x < width; x += StoredWidth())
                    chunks.push_back(Encode(RawChunk(x, y, plane)));
        return chunks;
    }

    Bytes Build() const {
        TiffFileBuilder b(bigEndian, bigTiff);
        std::vector<Bytes> chunks = Chunks();
        if (editChunks)
            editChunks(chunks);
        std::vector<uint64_t> offsets, counts;
        for (const Bytes &chunk : chunks) {
            offsets.push_back(chunk.empty() ? 0 : b.AddBlob(chunk));
            counts.push_back(chunk.size());
        }
        auto &d = b.AddDirectory();
        b.AddUInts(d, 256, 4, {width});
        b.AddUInts(d, 257, 4, {height});
        b.AddUInts(d, 258, 3, std::vector<uint64_t>(spp, bps));
        b.AddUInts(d, 259, 3, {compression});
        b.AddUInts(d, 262, 3, {1});
        b.AddUInts(d, tiled ? 324 : 273, 4, offsets);
        b.AddUInts(d, 277, 3, {spp});
        if (!tiled)
            b.AddUInts(d, 278, 4, {chunkHeight});
        b.AddUInts(d, tiled ? 325 : 279, 4, counts);
        b.AddUInts(d, 284, 3, {planar});
        if (predictor != 1)
            b.AddUInts(d, 317, 3, {predictor});
        if (tiled) {
            b.AddUInts(d, 322, 4, {chunkWidth});
            b.AddUInts(d, 323, 4, {chunkHeight});
        }
        if (edit)
            edit(b, d);
        Bytes file = b.Build();
        file.resize(std::max<size_t>(file.size(), 28), 0);
        return file;
    }

    uint64_t OutputRowBytes(uint32_t w) const { return (uint64_t{w} * spp * bps + 7) / 8; }

    // The window (x, y, w, h) in the loader's layout: machine (little-endian) order samples.
    Bytes Expected(uint32_t x, uint32_t y, uint32_t w, uint32_t h) const {
        Bytes out(static_cast<size_t>(OutputRowBytes(w) * h), 0);
        for (uint32_t r = 0; r < h; ++r)
            for (uint32_t c = 0; c < w; ++c)
                for (uint32_t s = 0; s < spp; ++s) {
                    const uint64_t v = Value(x + c, y + r, s, bps);
                    const uint64_t bit = r * OutputRowBytes(w) * 8 + (uint64_t{c} * spp + s) * bps;
                    if (bps % 8 == 0)
                        PutBytes(out, bit / 8, v, bps / 8, false);
                    else
                        PutBits(out, bit, v, bps);
                }
        return out;
    }
};

// Replaces the values of an entry already in the directory (or adds it).
inline void SetUInts(TiffFileBuilder &b, BuiltDirectory &d, uint16_t tag, uint16_t type,
                     const std::vector<uint64_t> &values) {
    d.entries.erase(std::remove_if(d.entries.begin(), d.entries.end(),
                                   [&](const BuiltEntry &e) { return e.tag == tag; }),
                    d.entries.end());
    b.AddUInts(d, tag, type, values);
}

} // namespace tifftest
