// Our side of the peer comparisons: decoding with the loader and window comparisons.
#include "OurLoader.h"

#include "Subsystems/TiffImage/TiffImageLoad.h"

#include <array>
#include <cstring>

namespace peer {

bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error) {
    tiff::CTiffReader reader;
    tiff::TiffImageLoader loader(reader);
    bool ok = reader.Open(Wide(path)) && loader.Open(dir);
    if (ok) {
        out.spp = loader.Info().samplesPerPixel;
        out.bps = loader.Info().bitsPerSample;
        out.Allocate(loader.Info().width, loader.Info().height);
        // A pattern, so that bytes the loader leaves unwritten show up.
        std::memset(out.bytes.data(), 0xA5, out.bytes.size());
        ok = loader.ReadImage(out.bytes.data());
    }
    error = reader.Error();
    return ok;
}

std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected) {
    tiff::CTiffReader reader;
    tiff::TiffImageLoader loader(reader);
    if (!reader.Open(Wide(path)) || !loader.Open(dir))
        return "cannot open";
    loader.SetCacheLimit(0); // only the band a window needs is kept
    const uint32_t w = expected.width, h = expected.height;
    std::vector<std::array<uint32_t, 4>> boxes = {{0, 0, w, h}, {w - 1, h - 1, 1, 1}};
    if (w > 3 && h > 3)
        boxes.push_back({1, 2, w - 3, h - 3});
    if (w > 20 && h > 20)
        boxes.push_back({w / 3 + 1, h / 4, w / 2, h / 3});
    boxes.push_back({0, h / 2, w, (h + 1) / 2});
    for (const auto &[x, y, bw, bh] : boxes) {
        const std::string where = "window " + std::to_string(x) + "," + std::to_string(y) + " " +
                                  std::to_string(bw) + "x" + std::to_string(bh);
        Raster want{0, 0, expected.spp, expected.bps, {}, {}};
        want.Allocate(bw, bh);
        for (uint32_t r = 0; r < bh; ++r)
            for (uint32_t c = 0; c < bw; ++c)
                for (uint32_t s = 0; s < want.spp; ++s)
                    CopySample(expected.bytes.data(), expected.SampleBit(x + c, y + r, s),
                               want.bytes.data(), want.SampleBit(c, r, s), want.bps);
        std::vector<unsigned char> got(want.bytes.size(), 0x5A);
        if (!loader.ReadWindow(x, y, bw, bh, got.data()) || got != want.bytes)
            return "whole " + where;
        // Row by row, each into a fresh buffer.
        const auto rowBytes = static_cast<size_t>(want.RowBytes());
        for (uint32_t r = 0; r < bh; ++r) {
            std::vector<unsigned char> row(rowBytes + 3, 0x5A);
            if (!loader.ReadWindow(x, y + r, bw, 1, row.data()) ||
                std::memcmp(row.data(), want.bytes.data() + r * rowBytes, rowBytes) != 0)
                return "row-by-row " + where;
        }
    }
    return {};
}

std::string CompareChunkTables(const LibtiffLayout &lt, const tiff::TiffDirectory &dir) {
    const tiff::TiffEntry *offsets = dir.Find(lt.tiled ? 324 : 273);
    const tiff::TiffEntry *counts = dir.Find(lt.tiled ? 325 : 279);
    if (offsets == nullptr || counts == nullptr)
        return {};
    if (offsets->count != lt.offsets.size())
        return "chunk count " + std::to_string(offsets->count);
    for (size_t i = 0; i < lt.offsets.size(); ++i)
        if (offsets->GetUInt(i) != lt.offsets[i] || counts->GetUInt(i) != lt.byteCounts[i])
            return "chunk " + std::to_string(i);
    return {};
}

} // namespace peer
