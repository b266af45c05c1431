// libtiff's side of the peer comparisons: decoding into the loader's layout, tag values, and
// writing test images. (libtiff's `struct tiff` and our namespace `tiff` cannot meet in one file.)
#include "Peer.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>

namespace peer {
namespace {

std::string g_lastMessage;

void RememberMessage(const char *module, const char *fmt, va_list ap) {
    char buf[512];
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    g_lastMessage = std::string(module ? module : "") + ": " + buf;
}

const bool g_handlersSet =
    (TIFFSetErrorHandler(RememberMessage), TIFFSetWarningHandler(nullptr), true);

using TiffPtr = std::unique_ptr<TIFF, void (*)(TIFF *)>;

// Mode "rc" keeps single uncompressed strips whole (no virtual strips) for the tag tables.
TiffPtr OpenTiff(const std::string &path, const char *mode = "r") {
    return TiffPtr(TIFFOpen(path.c_str(), mode), TIFFClose);
}

TiffPtr OpenDirectory(const std::string &path, unsigned dir, const char *mode = "r") {
    TiffPtr tif = OpenTiff(path, mode);
    if (tif && !TIFFSetDirectory(tif.get(), static_cast<tdir_t>(dir)))
        tif.reset();
    return tif;
}

// Strips (as wide as the image) or tiles, one set per plane when samples are planar.
struct Grid {
    uint32_t chunkWidth, chunkHeight;
    uint16_t planes;
    bool tiled;
};

// Copies the samples of the chunk at (x0, y0) of `plane` between libtiff's chunk layout (native
// byte order) and the raster, into the chunk when `toChunk`.
void CopyChunk(const Grid &g, Raster &image, uint32_t x0, uint32_t y0, uint16_t plane,
               unsigned char *chunk, bool toChunk) {
    const uint32_t samples = g.planes > 1 ? 1 : image.spp;
    const uint64_t rowBits = (uint64_t{g.chunkWidth} * samples * image.bps + 7) / 8 * 8;
    for (uint32_t r = 0; r < g.chunkHeight && y0 + r < image.height; ++r)
        for (uint32_t c = 0; c < g.chunkWidth && x0 + c < image.width; ++c)
            for (uint32_t s = 0; s < samples; ++s) {
                const uint64_t chunkBit = r * rowBits + (uint64_t{c} * samples + s) * image.bps;
                const uint64_t imageBit = image.SampleBit(x0 + c, y0 + r, g.planes > 1 ? plane : s);
                if (toChunk)
                    CopySample(image.bytes.data(), imageBit, chunk, chunkBit, image.bps);
                else
                    CopySample(chunk, chunkBit, image.bytes.data(), imageBit, image.bps);
            }
}

// Calls `each(x, y, plane)` for every chunk in libtiff's order; false at the first failure.
template <class Each> bool EachChunk(const Grid &g, const Raster &image, Each each) {
    for (uint16_t plane = 0; plane < g.planes; ++plane)
        for (uint32_t y = 0; y < image.height; y += g.chunkHeight)
            for (uint32_t x = 0; x < image.width; x += g.chunkWidth)
                if (!each(x, y, plane))
                    return false;
    return true;
}

void Describe(TIFF *t, LibtiffLayout &layout) {
    TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &layout.width);
    TIFFGetField(t, TIFFTAG_IMAGELENGTH, &layout.height);
    TIFFGetFieldDefaulted(t, TIFFTAG_BITSPERSAMPLE, &layout.bps);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLESPERPIXEL, &layout.spp);
    TIFFGetFieldDefaulted(t, TIFFTAG_COMPRESSION, &layout.compression);
    TIFFGetFieldDefaulted(t, TIFFTAG_PLANARCONFIG, &layout.planar);
    TIFFGetField(t, TIFFTAG_PHOTOMETRIC, &layout.photometric);
    uint16_t extras = 0, *extra = nullptr;
    if (TIFFGetField(t, TIFFTAG_EXTRASAMPLES, &extras, &extra) && extras == 1)
        layout.extraSample = extra[0];
    layout.tiled = TIFFIsTiled(t);
    if (layout.tiled) {
        TIFFGetField(t, TIFFTAG_TILEWIDTH, &layout.chunkWidth);
        TIFFGetField(t, TIFFTAG_TILELENGTH, &layout.chunkHeight);
    } else {
        layout.chunkWidth = layout.width;
        TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &layout.chunkHeight);
    }
}

Grid GridOf(const LibtiffLayout &l) {
    const bool planar = l.planar == PLANARCONFIG_SEPARATE && l.spp > 1;
    return {l.chunkWidth, l.tiled ? l.chunkHeight : std::min(l.chunkHeight, l.height),
            static_cast<uint16_t>(planar ? l.spp : 1), l.tiled};
}

bool SetFields(TIFF *t, const WriteLayout &layout, const Raster &image) {
    bool ok = TIFFSetField(t, TIFFTAG_IMAGEWIDTH, image.width) &&
              TIFFSetField(t, TIFFTAG_IMAGELENGTH, image.height) &&
              TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, image.spp) &&
              TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, image.bps) &&
              TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, layout.sampleFormat) &&
              TIFFSetField(t, TIFFTAG_PLANARCONFIG, layout.planar) &&
              TIFFSetField(t, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK) &&
              TIFFSetField(t, TIFFTAG_COMPRESSION, layout.compression);
    if (image.spp > 1) {
        const std::vector<uint16_t> extra(image.spp - 1, EXTRASAMPLE_UNSPECIFIED);
        ok = ok && TIFFSetField(t, TIFFTAG_EXTRASAMPLES, image.spp - 1, extra.data());
    }
    if (layout.reduced)
        ok = ok && TIFFSetField(t, TIFFTAG_SUBFILETYPE, FILETYPE_REDUCEDIMAGE);
    if (layout.subIfds) {
        // Placeholders: libtiff fills in the offsets as it writes the following directories.
        const std::vector<toff_t> offsets(layout.subIfds, 0);
        ok = ok && TIFFSetField(t, TIFFTAG_SUBIFD, layout.subIfds, offsets.data());
    }
    if (layout.predictor != 1)
        ok = ok && TIFFSetField(t, TIFFTAG_PREDICTOR, layout.predictor);
    if (layout.tiled)
        return ok && TIFFSetField(t, TIFFTAG_TILEWIDTH, layout.chunkWidth) &&
               TIFFSetField(t, TIFFTAG_TILELENGTH, layout.chunkHeight);
    return ok && TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, layout.chunkHeight);
}

} // namespace

bool LibtiffRead(const std::string &path, unsigned dir, Raster &out, std::string &error) {
    g_lastMessage.clear();
    TiffPtr tif = OpenDirectory(path, dir);
    if (!tif) {
        error = "libtiff cannot open: " + g_lastMessage;
        return false;
    }
    TIFF *t = tif.get();
    LibtiffLayout layout;
    Describe(t, layout);
    const Grid g = GridOf(layout);
    out.spp = layout.spp;
    out.bps = layout.bps;
    out.Allocate(layout.width, layout.height);
    std::vector<unsigned char> chunk(g.tiled ? TIFFTileSize(t) : TIFFStripSize(t));
    const bool ok = EachChunk(g, out, [&](uint32_t x, uint32_t y, uint16_t plane) {
        const tmsize_t n =
            g.tiled ? TIFFReadEncodedTile(t, TIFFComputeTile(t, x, y, 0, plane), chunk.data(), -1)
                    : TIFFReadEncodedStrip(t, TIFFComputeStrip(t, y, plane), chunk.data(), -1);
        if (n >= 0)
            CopyChunk(g, out, x, y, plane, chunk.data(), false);
        return n >= 0;
    });
    if (!ok)
        error = "libtiff cannot decode: " + g_lastMessage;
    return ok;
}

std::map<uint32_t, std::string> LibtiffTagNames(const std::string &path) {
    std::map<uint32_t, std::string> names;
    TiffPtr tif = OpenTiff(path);
    for (uint32_t tag = 1; tif && tag < 65536; ++tag)
        if (const TIFFField *field = TIFFFieldWithTag(tif.get(), tag))
            if (std::string name = TIFFFieldName(field); name.rfind("Tag ", 0) != 0)
                names[tag] = name;
    return names;
}

unsigned LibtiffDirectoryCount(const std::string &path) {
    TiffPtr tif = OpenTiff(path);
    return tif ? TIFFNumberOfDirectories(tif.get()) : 0;
}

bool LibtiffDescribe(const std::string &path, unsigned dir, LibtiffLayout &layout) {
    TiffPtr tif = OpenDirectory(path, dir, "rc");
    if (!tif)
        return false;
    TIFF *t = tif.get();
    Describe(t, layout);
    const uint32_t n = layout.tiled ? TIFFNumberOfTiles(t) : TIFFNumberOfStrips(t);
    for (uint32_t i = 0; i < n; ++i) {
        layout.offsets.push_back(TIFFGetStrileOffset(t, i));
        layout.byteCounts.push_back(TIFFGetStrileByteCount(t, i));
    }
    return true;
}

bool LibtiffWrite(const std::string &path, const char *mode,
                  const std::vector<WriteLayout> &layouts, const std::vector<Raster> &images,
                  std::string &error) {
    g_lastMessage.clear();
    TiffPtr tif = OpenTiff(path, mode);
    if (!tif) {
        error = "libtiff cannot create: " + g_lastMessage;
        return false;
    }
    TIFF *t = tif.get();
    for (size_t i = 0; i < images.size(); ++i) {
        Raster image = images[i];
        const WriteLayout &layout = layouts[i < layouts.size() ? i : 0];
        const uint16_t planes = layout.planar == PLANARCONFIG_SEPARATE ? image.spp : 1;
        const Grid g{layout.tiled ? layout.chunkWidth : image.width, layout.chunkHeight, planes,
                     layout.tiled};
        const auto write = [&](uint32_t x, uint32_t y, uint16_t plane) {
            // libtiff byte-swaps the buffer in place for big-endian files; it is refilled for
            // every chunk.
            const tmsize_t size =
                g.tiled ? TIFFTileSize(t)
                        : TIFFVStripSize(t, std::min(g.chunkHeight, image.height - y));
            std::vector<unsigned char> chunk(g.tiled ? TIFFTileSize(t) : TIFFStripSize(t), 0);
            CopyChunk(g, image, x, y, plane, chunk.data(), true);
            return (g.tiled ? TIFFWriteEncodedTile(t, TIFFComputeTile(t, x, y, 0, plane),
                                                   chunk.data(), size)
                            : TIFFWriteEncodedStrip(t, TIFFComputeStrip(t, y, plane), chunk.data(),
                                                    size)) >= 0;
        };
        if (!SetFields(t, layout, image) || !EachChunk(g, image, write) || !TIFFWriteDirectory(t)) {
            error = "libtiff cannot write: " + g_lastMessage;
            return false;
        }
    }
    return true;
}

} // namespace peer
