// Fuzz target: the TIFF container reader (SubIFDs too), tag lookup and the image loader over
// arbitrary bytes.
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffUtil.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr unsigned kMaxImages = 8;
// Images and blocks beyond these sizes are legal but would only slow the search down.
constexpr uint64_t kMaxWindowBytes = uint64_t{4} << 20;
constexpr uint64_t kMaxBlockBytes = uint64_t{64} << 20;

uint64_t BlockBytes(const tiff::TiffImageInfo &info) {
    const uint64_t samples = info.IsPlanar() ? 1 : info.samplesPerPixel;
    return (uint64_t{info.chunkWidth} * samples * info.bitsPerSample + 7) / 8 * info.chunkHeight;
}

void ReadWindow(tiff::TiffImageLoader &loader, uint32_t x, uint32_t y, uint32_t w, uint32_t h) {
    const uint64_t bytes = loader.Info().RowBytes(w) * h;
    if (w == 0 || h == 0 || bytes > kMaxWindowBytes)
        return;
    std::vector<unsigned char> out(static_cast<size_t>(bytes));
    loader.ReadWindow(x, y, w, h, out.data());
}

void LoadImage(tiff::CTiffReader &reader, unsigned image) {
    tiff::TiffImageLoader loader(reader);
    if (!loader.Open(image))
        return;
    const tiff::TiffImageInfo &info = loader.Info();
    if (BlockBytes(info) > kMaxBlockBytes)
        return;
    const uint32_t w = std::min<uint32_t>(info.width, 300);
    const uint32_t h = std::min<uint32_t>(info.height, 40);
    ReadWindow(loader, 0, 0, info.width, info.height);
    ReadWindow(loader, info.width - w, info.height - h, w, h);
    // Row by row from an unaligned column, through the block cache.
    const uint32_t x = info.width / 3;
    const uint32_t y = (info.height - h) / 2;
    for (uint32_t row = 0; row < h; ++row)
        ReadWindow(loader, x, y + row, info.width - x, 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    tiff::TiffImageRead file;
    if (!file.OpenSource(tiff::MakeMemorySource(data, size), L"fuzz"))
        return 0;
    const unsigned images = file.GetImageCount();
    for (unsigned i = 0; i < images; ++i) {
        if (const tiff::TiffEntry *e = file.FindTag(i, 270))
            (void)e->GetAscii();
        for (const auto &entry : file.Reader().Directories()[i].entries) {
            (void)tiff::TiffTagName(entry.tag);
            (void)entry.GetDouble(entry.count ? entry.count - 1 : 0);
        }
    }
    for (unsigned i = 0; i < std::min(images, kMaxImages); ++i)
        LoadImage(file.Reader(), i);
    // The SubIFDs of the first images, and the images they hold.
    tiff::CTiffReader &reader = file.Reader();
    for (unsigned i = 0; i < std::min(images, kMaxImages); ++i)
        reader.ReadSubDirectories(i);
    const auto all = static_cast<unsigned>(reader.Directories().size());
    for (unsigned i = images; i < std::min(all, images + kMaxImages); ++i)
        LoadImage(reader, i);
    return 0;
}
