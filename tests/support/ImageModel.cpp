// The synthetic image: values, chunking, encoding and the expected loader output.
#include "ImageModel.h"

#include "Encoders.h"

#include <algorithm>

namespace testsupport {
namespace {

uint64_t Value(uint32_t x, uint32_t y, uint32_t s, uint16_t bps) {
    const uint64_t v = x * 7u + y * 13u + s * 3u + uint64_t{x} * y + (uint64_t{y} << 33);
    return bps == 64 ? v : v & ((uint64_t{1} << bps) - 1);
}

// Writes a sample at bit position `bit`: bit-packed most significant first, whole bytes
// little-endian, as the file and the loader's output both hold them.
void PutSample(Bytes &out, uint64_t bit, uint64_t v, unsigned bits) {
    if (bits % 8 == 0) {
        for (unsigned i = 0; i < bits / 8; ++i)
            out[bit / 8 + i] = static_cast<unsigned char>(v >> (8 * i));
        return;
    }
    for (unsigned i = 0; i < bits; ++i, ++bit)
        if ((v >> (bits - 1 - i)) & 1)
            out[bit / 8] |= static_cast<unsigned char>(0x80 >> (bit % 8));
}

} // namespace

Bytes ImageModel::Build() const {
    const uint32_t storedWidth = tiled ? chunkWidth : width;
    std::vector<Bytes> chunks;
    for (uint32_t y0 = 0; y0 < height; y0 += chunkHeight)
        for (uint32_t x0 = 0; x0 < width; x0 += storedWidth) {
            // Tiles past the image's edges carry values too; the loader must ignore them.
            const Bytes raw = Expected(x0, y0, storedWidth,
                                       tiled ? chunkHeight : std::min(chunkHeight, height - y0));
            chunks.push_back(compression == 8       ? DeflateEncode(raw)
                             : compression == 32773 ? PackBitsEncode(raw)
                                                    : raw);
        }
    if (editChunks)
        editChunks(chunks);
    TiffWriter b;
    Directory &d = b.AddDirectory();
    b.AddUInts(d, 256, kLong, {width});
    b.AddUInts(d, 257, kLong, {height});
    b.AddUInts(d, 258, kShort, std::vector<uint64_t>(spp, bps));
    b.AddUInts(d, 259, kShort, {compression});
    b.AddUInts(d, 262, kShort, {1});
    b.AddUInts(d, 277, kShort, {spp});
    if (!tiled)
        b.AddUInts(d, 278, kLong, {chunkHeight});
    b.AddUInts(d, 284, kShort, {1});
    if (tiled) {
        b.AddUInts(d, 322, kLong, {chunkWidth});
        b.AddUInts(d, 323, kLong, {chunkHeight});
    }
    b.AddChunks(d, chunks, tiled);
    std::stable_sort(d.entries.begin(), d.entries.end(),
                     [](const Entry &x, const Entry &y) { return x.tag < y.tag; });
    if (edit)
        edit(b, d);
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
                          Value(x + c, y + r, s, bps), bps);
    return out;
}

} // namespace testsupport
