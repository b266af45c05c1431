// The writers behind CreateImageWriter, one per output format.
#pragma once
#include <filesystem>
#include <memory>

#include "ImageWriter.h"

namespace iosid::host {

// Checks that rows arrive in order, once each, and that all of them arrived.
class RowSequence {
public:
    RowSequence(const std::filesystem::path &path, uint32_t height)
        : path_(path), height_(height) {}
    // Throws unless `row` is the next row.
    void Accept(uint32_t row);
    // Throws unless every row arrived.
    void CheckComplete() const;

private:
    std::filesystem::path path_;
    uint32_t height_;
    uint32_t next_ = 0;
};

std::unique_ptr<ImageWriter> CreateRawWriter(const std::filesystem::path &path, uint32_t width,
                                             uint32_t height, RowFormat format);
#ifdef IOSID_HOST_HAVE_TIFF
// The GeoTIFF writer lives in a module of its own (TiffWriter.cpp), loaded the first time a
// .tif is written: libgeotiff brings PROJ and a network stack whose loading would otherwise
// cost every iosid run several milliseconds.
using TiffWriterFactory = std::unique_ptr<ImageWriter> (*)(const std::filesystem::path &path,
                                                            uint32_t width, uint32_t height,
                                                            RowFormat format,
                                                            const OutputGeoreference &georef,
                                                            const ImageWriterOptions &options);
std::unique_ptr<ImageWriter> CreateTiffWriter(const std::filesystem::path &path, uint32_t width,
                                              uint32_t height, RowFormat format,
                                              const OutputGeoreference &georef,
                                              const ImageWriterOptions &options);
// CreateTiffWriter from the module beside the running program; throws saying why it cannot.
TiffWriterFactory LoadTiffWriter();
#endif
#ifdef IOSID_HOST_HAVE_PNG
std::unique_ptr<ImageWriter> CreatePngWriter(const std::filesystem::path &path, uint32_t width,
                                             uint32_t height, RowFormat format);
#endif

} // namespace iosid::host
