// Image loading: the layout of one directory's image and the reading of the whole image or of
// windows of it from strips or tiles, chunky or planar.
//
// Output layout: rows top to bottom, each RowBytes(width) bytes; samples interleaved per pixel
// (planar images are interleaved on the way out); multi-byte samples in machine byte order;
// samples of fewer than 8 bits (or of bit widths that are not whole bytes) packed as stored,
// most significant bit first, each row padded with zero bits to a whole byte.
#pragma once
#include "TiffRead.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tiff {

enum TiffPlanarConfig : uint16_t { kPlanarChunky = 1, kPlanarSeparate = 2 };
enum TiffSampleFormat : uint16_t {
    kSampleUnsigned = 1,
    kSampleSigned = 2,
    kSampleFloat = 3,
    kSampleUndefined = 4
};
// NewSubfileType bits.
enum TiffSubfileBits : uint32_t { kSubfileReduced = 1, kSubfilePage = 2, kSubfileMask = 4 };

struct TiffImageInfo {
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t samplesPerPixel = 1;
    uint16_t bitsPerSample = 1;
    uint16_t sampleFormat = kSampleUnsigned;
    uint16_t photometric = 1;
    uint16_t planarConfig = kPlanarChunky;
    uint16_t compression = 1;
    uint16_t predictor = 1; // low 8 bits of the tag; 1 = none
    uint16_t fillOrder = 1;
    uint32_t subfileType = 0; // NewSubfileType bits (SubfileType mapped onto them)
    bool tiled = false;
    uint32_t chunkWidth = 0;        // tile width, or the image width for strips
    uint32_t chunkHeight = 0;       // tile length, or rows per strip (at most the image height)
    std::vector<uint16_t> colormap; // 3 × 2^bitsPerSample: red, then green, then blue
    std::vector<uint16_t> extraSamples;

    uint32_t BitsPerPixel() const { return uint32_t{bitsPerSample} * samplesPerPixel; }
    bool IsPlanar() const { return planarConfig == kPlanarSeparate && samplesPerPixel > 1; }
    // Bytes of one output row of `columns` pixels.
    uint64_t RowBytes(uint32_t columns) const {
        return (uint64_t{columns} * BitsPerPixel() + 7) / 8;
    }
    // Bytes of the whole image in output layout.
    uint64_t ImageBytes() const { return RowBytes(width) * height; }
    uint32_t ChunksAcross() const;
    uint32_t ChunksDown() const;
};

// Reads the layout of directory `image` from its tags. False with the reader's error record set:
// -1 no such directory, -5 a layout that breaks the format, -6 one the loader cannot read.
bool DescribeImage(CTiffReader &reader, unsigned image, TiffImageInfo &info);

// A codec the library does not carry (such as JPEG), supplied by the caller for the blocks of
// one directory. It receives a block's stored bytes and fills its decoded rows in the loader's
// layout; the loader reads, bounds and caches the blocks as for any other compression.
class TiffBlockDecoder {
public:
    virtual ~TiffBlockDecoder() = default;
    virtual bool Handles(uint16_t compression) const = 0;
    // Decodes `storedSize` bytes into `width` × `rows` pixels (`outSize` bytes at `out`). False
    // with Reason() saying why.
    virtual bool Decode(const unsigned char *stored, size_t storedSize, uint32_t width,
                        uint32_t rows, unsigned char *out, size_t outSize) = 0;
    virtual const std::string &Reason() const = 0;
};

class TiffImageLoader {
public:
    // The reader must stay open (and not be reopened) while the loader reads from it.
    explicit TiffImageLoader(CTiffReader &reader);
    ~TiffImageLoader();
    TiffImageLoader(const TiffImageLoader &) = delete;
    TiffImageLoader &operator=(const TiffImageLoader &) = delete;

    // Selects directory `image`: describes it and checks that it can be decoded (compression,
    // strip or tile tables). False with the reader's error record set.
    bool Open(unsigned image);
    // Blocks of a compression the library does not decode go to `decoder` (kept by the caller,
    // set before Open); a decoder failure is status -5.
    void SetBlockDecoder(TiffBlockDecoder *decoder);
    bool IsOpen() const;
    const TiffImageInfo &Info() const;

    // Reads columns [x, x + w) of rows [y, y + h) into `out`: h rows, `rowStride` bytes apart
    // (0 means Info().RowBytes(w)). Decodes only the strips or tiles the window touches.
    // False with the reader's error record set (-1 for a window outside the image).
    bool ReadWindow(uint32_t x, uint32_t y, uint32_t w, uint32_t h, unsigned char *out,
                    size_t rowStride = 0);
    bool ReadImage(unsigned char *out);

    // Decoded strips or tiles are kept up to this many bytes (default 16 MiB), and always at
    // least one band of them across the last window, so that row-by-row reads decode each
    // strip or tile once.
    void SetCacheLimit(size_t bytes);

    // Most bytes the open image's strips or tiles can decode to (see TiffChunkGrid): what a
    // file of its size can really hold, whatever shape it claims.
    uint64_t ProducibleBytes() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace tiff
