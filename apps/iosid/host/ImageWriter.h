// Image writers of the iosid host: the rows the host receives, written to .tif, .png or .raw.
#pragma once
#include <cstdint>
#include <memory>
#include <string>

#include "gcs/CSDef.h"

namespace iosid::host {

// Rows as the host receives them, by colour format: 1-bit packed first pixel in the most
// significant bit (rows padded to whole bytes), 4-bit grey with the first pixel in the high
// nibble, 8-bit grey, and blue-green-red with an optional fourth byte (alpha, or alpha-or-255).
enum class RowFormat { Bilevel1, Gray4, Gray8, Bgr24, Bgra32, Bgrx32 };

// Bytes in one row of `width` pixels.
uint64_t RowBytes(RowFormat format, uint32_t width);

// The coordinate system handed over with the image: a gcs::GCSDef (projection, datum and
// optionally a warp) or a gcs::UCSDef carrying only a warp. Null: pixel space, nothing written.
struct OutputGeoreference {
    std::unique_ptr<gcs::CSDef> system;
};

struct ImageWriterOptions {
    enum class Compression { None, Lzw, Deflate };
    Compression compression = Compression::None;
};

// Takes rows in order and holds no more of them than the format needs. Output goes to a
// temporary file beside the destination: Commit renames it into place, destruction without
// Commit removes it, so a failed import leaves nothing behind. Failures throw
// std::runtime_error naming the file.
class ImageWriter {
public:
    virtual ~ImageWriter();
    virtual void WriteRow(uint32_t row, const uint8_t *data) = 0;
    virtual void Commit() = 0;
};

// A writer chosen by the extension of `path` (case ignored):
// - .tif/.tiff (native build): tiled GeoTIFF; 1, 4 and 8 bits as grey (MinIsBlack), Bgr24 as
//   RGB, both 32-bit formats as RGBA with unassociated alpha (Bgrx32's fourth byte is alpha or
//   255, so it is kept); the georeferencing as EPSG code or user-defined keys and the warp's
//   geotransform.
// - .png (native build): the same samples, without georeferencing.
// - .raw: the rows as received, no header.
std::unique_ptr<ImageWriter> CreateImageWriter(const std::string &path, uint32_t width,
                                               uint32_t height, RowFormat format,
                                               const OutputGeoreference &georef,
                                               const ImageWriterOptions &options);

// Throws std::runtime_error when `path` cannot be written: unknown extension, an extension this
// build does not write, a missing directory or one that refuses new files. Call before decoding.
void CheckOutputWritable(const std::string &path);

} // namespace iosid::host
