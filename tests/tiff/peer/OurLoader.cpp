// Our side of the peer comparisons: decoding with the loader, crops and window comparisons.
#include "OurLoader.h"

#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffRead.h"

#include <cstdio>
#include <cstring>

namespace peer {

bool OurRead(const std::string &path, unsigned dir, Raster &out, shr::ErrorRecord &error) {
    tiff::CTiffReader reader;
    tiff::TiffImageLoader loader(reader);
    if (!reader.Open(Wide(path)) || !loader.Open(dir)) {
        error = reader.Error();
        return false;
    }
    const auto &info = loader.Info();
    out.spp = info.samplesPerPixel;
    out.bps = info.bitsPerSample;
    out.Allocate(info.width, info.height);
    // Start from a pattern so that bytes the loader leaves unwritten show up.
    std::memset(out.bytes.data(), 0xA5, out.bytes.size());
    if (!loader.ReadImage(out.bytes.data())) {
        error = reader.Error();
        return false;
    }
    return true;
}

namespace {

struct Box {
    uint32_t x, y, w, h;
};

std::vector<Box> WindowsOf(uint32_t width, uint32_t height) {
    std::vector<Box> boxes = {{0, 0, width, height}, {width - 1, height - 1, 1, 1}};
    if (width > 3 && height > 3)
        boxes.push_back({1, 2, width - 3, height - 3});
    if (width > 20 && height > 20)
        boxes.push_back({width / 3 + 1, height / 4, width / 2, height / 3});
    boxes.push_back({0, height / 2, width, (height + 1) / 2});
    return boxes;
}

std::string Describe(const char *what, const Box &b) {
    char buf[128];
    std::snprintf(buf, sizeof buf, "%s window %u,%u %ux%u", what, b.x, b.y, b.w, b.h);
    return buf;
}

} // namespace

std::string CompareWindows(const std::string &path, unsigned dir, const Raster &expected) {
    tiff::CTiffReader reader;
    tiff::TiffImageLoader loader(reader);
    if (!reader.Open(Wide(path)) || !loader.Open(dir)) {
        const std::wstring text = reader.Error().Describe();
        return "cannot open: " + std::string(text.begin(), text.end());
    }
    loader.SetCacheLimit(0); // only the band a window needs is kept
    for (const Box &b : WindowsOf(expected.width, expected.height)) {
        const Raster want = Crop(expected, b.x, b.y, b.w, b.h);
        std::vector<unsigned char> got(want.bytes.size(), 0x5A);
        if (!loader.ReadWindow(b.x, b.y, b.w, b.h, got.data()) || got != want.bytes)
            return Describe("whole", b);
        // Row by row into a buffer with a wider stride.
        const size_t stride = static_cast<size_t>(want.RowBytes()) + 3;
        std::vector<unsigned char> rows(stride * b.h, 0x5A);
        for (uint32_t r = 0; r < b.h; ++r) {
            if (!loader.ReadWindow(b.x, b.y + r, b.w, 1, rows.data() + r * stride, stride))
                return Describe("row-by-row (failed)", b);
        }
        for (uint32_t r = 0; r < b.h; ++r) {
            if (std::memcmp(rows.data() + r * stride, want.bytes.data() + r * want.RowBytes(),
                            static_cast<size_t>(want.RowBytes())) != 0)
                return Describe("row-by-row", b);
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
