// libtiff's side of the peer comparisons: decoding into the loader's layout and tag values.
// (libtiff's `struct tiff` and our namespace `tiff` cannot meet in one translation unit.)
#include "Peer.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>

namespace peer {
namespace {

std::string g_lastMessage;

void RememberMessage(const char *module, const char *fmt, va_list ap) {
    char buf[512];
    std::vsnprintf(buf, sizeof buf, fmt, ap);
    g_lastMessage = std::string(module ? module : "") + ": " + buf;
}

struct Handlers {
    Handlers() {
        TIFFSetErrorHandler(RememberMessage);
        TIFFSetWarningHandler(nullptr);
    }
} g_handlers;

using TiffPtr = std::unique_ptr<TIFF, void (*)(TIFF *)>;

// Mode "rc" keeps single uncompressed strips whole (no virtual strips) for the tag tables.
TiffPtr OpenTiff(const std::string &path, const char *mode = "r") {
    return TiffPtr(TIFFOpen(path.c_str(), mode), TIFFClose);
}

struct Geometry {
    uint32_t chunkWidth, chunkHeight;
    uint16_t planar, spp, bps;
    bool tiled;
};

// Copies one decoded strip or tile (in libtiff's layout, native byte order) into the raster.
void Place(const std::vector<unsigned char> &chunk, const Geometry &g, uint32_t x0, uint32_t y0,
           uint32_t rows, uint16_t plane, Raster &out) {
    const bool separate = g.planar == PLANARCONFIG_SEPARATE && g.spp > 1;
    const uint32_t samples = separate ? 1 : g.spp;
    const uint64_t chunkRowBits = (uint64_t{g.chunkWidth} * samples * g.bps + 7) / 8 * 8;
    for (uint32_t r = 0; r < rows && y0 + r < out.height; ++r) {
        for (uint32_t c = 0; c < g.chunkWidth && x0 + c < out.width; ++c) {
            for (uint32_t s = 0; s < samples; ++s) {
                const uint64_t srcBit = r * chunkRowBits + (uint64_t{c} * samples + s) * g.bps;
                CopySample(chunk.data(), srcBit, out.bytes.data(),
                           out.SampleBit(x0 + c, y0 + r, separate ? plane : s), g.bps);
            }
        }
    }
}

bool ReadChunks(TIFF *tif, const Geometry &g, Raster &out) {
    const uint32_t planes = g.planar == PLANARCONFIG_SEPARATE ? g.spp : 1;
    std::vector<unsigned char> chunk(g.tiled ? TIFFTileSize(tif) : TIFFStripSize(tif));
    for (uint16_t plane = 0; plane < planes; ++plane) {
        for (uint32_t y = 0; y < out.height; y += g.chunkHeight) {
            for (uint32_t x = 0; x < out.width; x += g.chunkWidth) {
                const tmsize_t n =
                    g.tiled ? TIFFReadEncodedTile(tif, TIFFComputeTile(tif, x, y, 0, plane),
                                                  chunk.data(), -1)
                            : TIFFReadEncodedStrip(tif, TIFFComputeStrip(tif, y, plane),
                                                   chunk.data(), -1);
                if (n < 0)
                    return false;
                Place(chunk, g, x, y, g.chunkHeight, plane, out);
            }
        }
    }
    return true;
}

} // namespace

bool LibtiffRead(const std::string &path, unsigned dir, Raster &out, std::string &error) {
    g_lastMessage.clear();
    TiffPtr tif = OpenTiff(path);
    if (!tif || !TIFFSetDirectory(tif.get(), static_cast<tdir_t>(dir))) {
        error = "libtiff cannot open: " + g_lastMessage;
        return false;
    }
    Geometry g{};
    uint32_t width = 0, height = 0;
    TIFFGetField(tif.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_SAMPLESPERPIXEL, &g.spp);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_BITSPERSAMPLE, &g.bps);
    TIFFGetFieldDefaulted(tif.get(), TIFFTAG_PLANARCONFIG, &g.planar);
    g.tiled = TIFFIsTiled(tif.get());
    if (g.tiled) {
        TIFFGetField(tif.get(), TIFFTAG_TILEWIDTH, &g.chunkWidth);
        TIFFGetField(tif.get(), TIFFTAG_TILELENGTH, &g.chunkHeight);
    } else {
        g.chunkWidth = width;
        TIFFGetFieldDefaulted(tif.get(), TIFFTAG_ROWSPERSTRIP, &g.chunkHeight);
        g.chunkHeight = std::min(g.chunkHeight, height);
    }
    out.spp = g.spp;
    out.bps = g.bps;
    out.Allocate(width, height);
    if (!ReadChunks(tif.get(), g, out)) {
        error = "libtiff cannot decode: " + g_lastMessage;
        return false;
    }
    return true;
}

unsigned LibtiffDirectoryCount(const std::string &path) {
    TiffPtr tif = OpenTiff(path);
    return tif ? TIFFNumberOfDirectories(tif.get()) : 0;
}

bool LibtiffDescribe(const std::string &path, unsigned dir, LibtiffLayout &layout) {
    TiffPtr tif = OpenTiff(path, "rc");
    if (!tif || !TIFFSetDirectory(tif.get(), static_cast<tdir_t>(dir)))
        return false;
    TIFF *t = tif.get();
    TIFFGetField(t, TIFFTAG_IMAGEWIDTH, &layout.width);
    TIFFGetField(t, TIFFTAG_IMAGELENGTH, &layout.height);
    TIFFGetFieldDefaulted(t, TIFFTAG_BITSPERSAMPLE, &layout.bps);
    TIFFGetFieldDefaulted(t, TIFFTAG_SAMPLESPERPIXEL, &layout.spp);
    TIFFGetFieldDefaulted(t, TIFFTAG_COMPRESSION, &layout.compression);
    TIFFGetFieldDefaulted(t, TIFFTAG_PLANARCONFIG, &layout.planar);
    TIFFGetField(t, TIFFTAG_PHOTOMETRIC, &layout.photometric);
    layout.predictor = 1;
    TIFFGetField(t, TIFFTAG_PREDICTOR, &layout.predictor);
    layout.tiled = TIFFIsTiled(t);
    if (layout.tiled) {
        TIFFGetField(t, TIFFTAG_TILEWIDTH, &layout.chunkWidth);
        TIFFGetField(t, TIFFTAG_TILELENGTH, &layout.chunkHeight);
    } else {
        layout.chunkWidth = layout.width;
        TIFFGetFieldDefaulted(t, TIFFTAG_ROWSPERSTRIP, &layout.chunkHeight);
    }
    const uint32_t n = layout.tiled ? TIFFNumberOfTiles(t) : TIFFNumberOfStrips(t);
    for (uint32_t i = 0; i < n; ++i) {
        layout.offsets.push_back(TIFFGetStrileOffset(t, i));
        layout.byteCounts.push_back(TIFFGetStrileByteCount(t, i));
    }
    return true;
}

namespace {

template <class T>
std::vector<T> AnonymousArray(const std::string &path, unsigned dir, uint32_t tag) {
    TiffPtr tif = OpenTiff(path);
    uint32_t n = 0;
    T *values = nullptr;
    if (!tif || !TIFFSetDirectory(tif.get(), static_cast<tdir_t>(dir)) ||
        !TIFFGetField(tif.get(), tag, &n, &values))
        return {};
    return std::vector<T>(values, values + n);
}

} // namespace

std::vector<double> LibtiffDoubles(const std::string &path, unsigned dir, uint32_t tag) {
    return AnonymousArray<double>(path, dir, tag);
}

std::vector<uint16_t> LibtiffShorts(const std::string &path, unsigned dir, uint32_t tag) {
    return AnonymousArray<uint16_t>(path, dir, tag);
}

namespace {

// Copies the samples of one strip or tile out of the raster in libtiff's chunk layout.
void Extract(const Raster &image, const WriteLayout &layout, uint32_t x0, uint32_t y0,
             uint16_t plane, std::vector<unsigned char> &chunk) {
    const bool separate = layout.planar == PLANARCONFIG_SEPARATE && image.spp > 1;
    const uint32_t samples = separate ? 1 : image.spp;
    const uint32_t width = layout.tiled ? layout.chunkWidth : image.width;
    const uint64_t rowBits = (uint64_t{width} * samples * image.bps + 7) / 8 * 8;
    std::fill(chunk.begin(), chunk.end(), 0);
    for (uint32_t r = 0; r < layout.chunkHeight && y0 + r < image.height; ++r)
        for (uint32_t c = 0; c < width && x0 + c < image.width; ++c)
            for (uint32_t s = 0; s < samples; ++s)
                CopySample(image.bytes.data(),
                           image.SampleBit(x0 + c, y0 + r, separate ? plane : s), chunk.data(),
                           r * rowBits + (uint64_t{c} * samples + s) * image.bps, image.bps);
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
    if (layout.predictor != 1)
        ok = ok && TIFFSetField(t, TIFFTAG_PREDICTOR, layout.predictor);
    if (layout.tiled)
        return ok && TIFFSetField(t, TIFFTAG_TILEWIDTH, layout.chunkWidth) &&
               TIFFSetField(t, TIFFTAG_TILELENGTH, layout.chunkHeight);
    return ok && TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, layout.chunkHeight);
}

bool WriteChunks(TIFF *t, const WriteLayout &layout, const Raster &image) {
    const uint32_t planes = layout.planar == PLANARCONFIG_SEPARATE ? image.spp : 1;
    const uint32_t stepX = layout.tiled ? layout.chunkWidth : image.width;
    std::vector<unsigned char> chunk(layout.tiled ? TIFFTileSize(t) : TIFFStripSize(t));
    for (uint16_t plane = 0; plane < planes; ++plane) {
        for (uint32_t y = 0; y < image.height; y += layout.chunkHeight) {
            for (uint32_t x = 0; x < image.width; x += stepX) {
                Extract(image, layout, x, y, plane, chunk);
                // libtiff byte-swaps the buffer in place for big-endian files; it is refilled
                // for every chunk.
                const tmsize_t size =
                    layout.tiled
                        ? TIFFTileSize(t)
                        : TIFFVStripSize(t, std::min(layout.chunkHeight, image.height - y));
                const tmsize_t n = layout.tiled
                                       ? TIFFWriteEncodedTile(t, TIFFComputeTile(t, x, y, 0, plane),
                                                              chunk.data(), size)
                                       : TIFFWriteEncodedStrip(t, TIFFComputeStrip(t, y, plane),
                                                               chunk.data(), size);
                if (n < 0)
                    return false;
            }
        }
    }
    return true;
}

} // namespace

bool LibtiffWrite(const std::string &path, const char *mode, const WriteLayout &layout,
                  const std::vector<Raster> &images, std::string &error) {
    g_lastMessage.clear();
    TiffPtr tif = OpenTiff(path, mode);
    if (!tif) {
        error = "libtiff cannot create: " + g_lastMessage;
        return false;
    }
    for (const Raster &image : images) {
        if (!SetFields(tif.get(), layout, image) || !WriteChunks(tif.get(), layout, image) ||
            !TIFFWriteDirectory(tif.get())) {
            error = "libtiff cannot write: " + g_lastMessage;
            return false;
        }
    }
    return true;
}

} // namespace peer
