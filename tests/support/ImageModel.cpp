// The synthetic image: values, chunking, encoding and the expected loader output.
#include "ImageModel.h"

#include "Encoders.h"

#include <algorithm>

namespace testsupport {
namespace {

// Writes `bits` bits of v at bit position `bit`, most significant first.
void PutBits(Bytes &out, uint64_t bit, uint64_t v, unsigned bits) {
    for (unsigned i = 0; i < bits; ++i, ++bit) {
        if ((v >> (bits - 1 - i)) & 1)
            out[bit / 8] |= static_cast<unsigned char>(0x80 >> (bit % 8));
    }
}

void PutSample(Bytes &out, uint64_t bit, uint64_t v, unsigned bits, bool bigEndian) {
    if (bits % 8 != 0) {
        PutBits(out, bit, v, bits);
        return;
    }
    const unsigned bytes = bits / 8;
    for (unsigned i = 0; i < bytes; ++i)
        out[bit / 8 + i] = static_cast<unsigned char>(v >> (8 * (bigEndian ? bytes - 1 - i : i)));
}

} // namespace

uint64_t ImageModel::Value(uint32_t x, uint32_t y, uint32_t s, uint16_t bps) {
    const uint64_t v = x * 7u + y * 13u + s * 3u + uint64_t{x} * y + (uint64_t{y} << 33);
    return bps == 64 ? v : v & ((uint64_t{1} << bps) - 1);
}

uint64_t ImageModel::ChunkRowBytes() const {
    return (uint64_t{StoredWidth()} * SamplesInChunk() * bps + 7) / 8;
}

Bytes ImageModel::RawChunk(uint32_t x0, uint32_t y0, uint32_t plane) const {
    const uint32_t rows = tiled ? chunkHeight : std::min(chunkHeight, height - y0);
    Bytes chunk(static_cast<size_t>(ChunkRowBytes() * rows), 0);
    for (uint32_t r = 0; r < rows && y0 + r < height; ++r)
        for (uint32_t c = 0; c < StoredWidth() && x0 + c < width; ++c)
            for (uint32_t s = 0; s < SamplesInChunk(); ++s) {
                const uint64_t v = Value(x0 + c, y0 + r, planar == 2 ? plane : s, bps);
                PutSample(chunk,
                          r * ChunkRowBytes() * 8 + (uint64_t{c} * SamplesInChunk() + s) * bps, v,
                          bps, bigEndian);
            }
    return chunk;
}

Bytes ImageModel::Encode(Bytes raw) const {
    if (predictor == 2 && bps % 8 == 0 && (compression == 5 || compression == 8)) {
        const size_t rowBytes = static_cast<size_t>(ChunkRowBytes());
        for (size_t row = 0; row + rowBytes <= raw.size(); row += rowBytes)
            DifferenceRow(raw.data() + row, StoredWidth(), SamplesInChunk(), bps / 8, bigEndian);
    }
    switch (compression) {
    case 5:
        return LzwEncode(raw);
    case 8:
        return DeflateEncode(raw);
    case 32773:
        return PackBitsEncode(raw);
    default:
        return raw;
    }
}

std::vector<Bytes> ImageModel::Chunks() const {
    std::vector<Bytes> chunks;
    const uint32_t planes = planar == 2 ? spp : 1;
    for (uint32_t plane = 0; plane < planes; ++plane)
        for (uint32_t y = 0; y < height; y += chunkHeight)
            for (uint32_t x = 0; x < width; x += StoredWidth())
                chunks.push_back(Encode(RawChunk(x, y, plane)));
    if (editChunks)
        editChunks(chunks);
    return chunks;
}

void ImageModel::AddTo(TiffWriter &b, Directory &d) const {
    b.AddUInts(d, 256, kLong, {width});
    b.AddUInts(d, 257, kLong, {height});
    b.AddUInts(d, 258, kShort, std::vector<uint64_t>(spp, bps));
    b.AddUInts(d, 259, kShort, {compression});
    b.AddUInts(d, 262, kShort, {photometric});
    b.AddUInts(d, 277, kShort, {spp});
    if (!tiled)
        b.AddUInts(d, 278, kLong, {chunkHeight});
    b.AddUInts(d, 284, kShort, {planar});
    if (predictor != 1)
        b.AddUInts(d, 317, kShort, {predictor});
    if (tiled) {
        b.AddUInts(d, 322, kLong, {chunkWidth});
        b.AddUInts(d, 323, kLong, {chunkHeight});
    }
    b.AddChunks(d, Chunks(), tiled);
    std::stable_sort(d.entries.begin(), d.entries.end(),
                     [](const Entry &a, const Entry &b) { return a.tag < b.tag; });
    if (edit)
        edit(b, d);
}

Bytes ImageModel::Build() const {
    TiffWriter b(bigEndian, bigTiff);
    AddTo(b, b.AddDirectory());
    Bytes file = b.Build();
    file.resize(std::max<size_t>(file.size(), 28), 0);
    return file;
}

Bytes ImageModel::Expected(uint32_t x, uint32_t y, uint32_t w, uint32_t h) const {
    Bytes out(static_cast<size_t>(OutputRowBytes(w) * h), 0);
    for (uint32_t r = 0; r < h; ++r)
        for (uint32_t c = 0; c < w; ++c)
            for (uint32_t s = 0; s < spp; ++s)
                PutSample(out, r * OutputRowBytes(w) * 8 + (uint64_t{c} * spp + s) * bps,
                          Value(x + c, y + r, s, bps), bps, false);
    return out;
}

} // namespace testsupport
