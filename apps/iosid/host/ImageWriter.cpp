// Choosing a writer by extension, and checking an output path before any decoding.
#include "ImageWriter.h"

#include "ReplacedFile.h"
#include "Writers.h"

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <system_error>

namespace iosid::host {
namespace {

enum class OutputKind { Unknown, Tiff, Png, Raw };

// A row buffer beyond this is a mistake upstream, not an image: refuse it before allocating.
constexpr uint64_t kMaxRowBytes = uint64_t{64} << 20;

OutputKind KindOf(const std::filesystem::path &path) {
    std::string ext = PathToUtf8(path.extension());
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (ext == ".tif" || ext == ".tiff")
        return OutputKind::Tiff;
    if (ext == ".png")
        return OutputKind::Png;
    if (ext == ".raw")
        return OutputKind::Raw;
    return OutputKind::Unknown;
}

[[noreturn]] void Refuse(const std::string &path, const std::string &why) {
    throw std::runtime_error("cannot write " + path + ": " + why);
}

void CheckKindBuilt(const std::string &path, OutputKind kind) {
    switch (kind) {
    case OutputKind::Unknown:
        Refuse(path, "unknown output extension (use .tif, .tiff, .png or .raw)");
    case OutputKind::Tiff:
#ifndef IOSID_HOST_HAVE_TIFF
        Refuse(path, "this build writes no GeoTIFF (use .raw)");
#endif
        break;
    case OutputKind::Png:
#ifndef IOSID_HOST_HAVE_PNG
        Refuse(path, "this build writes no PNG (use .raw)");
#endif
        break;
    case OutputKind::Raw:
        break;
    }
}

} // namespace

ImageWriter::~ImageWriter() = default;

uint64_t RowBytes(RowFormat format, uint32_t width) {
    switch (format) {
    case RowFormat::Bilevel1:
        return (uint64_t{width} + 7) / 8;
    case RowFormat::Gray4:
        return (uint64_t{width} + 1) / 2;
    case RowFormat::Gray8:
        return width;
    case RowFormat::Bgr24:
        return uint64_t{width} * 3;
    case RowFormat::Bgra32:
    case RowFormat::Bgrx32:
        return uint64_t{width} * 4;
    }
    return 0;
}

void RowSequence::Accept(uint32_t row) {
    if (row != next_ || row >= height_)
        throw std::runtime_error(PathToUtf8(path_) + ": row " + std::to_string(row) +
                                 " arrived where row " + std::to_string(next_) + " of " +
                                 std::to_string(height_) + " was expected");
    ++next_;
}

void RowSequence::CheckComplete() const {
    if (next_ != height_)
        throw std::runtime_error(PathToUtf8(path_) + ": only " + std::to_string(next_) + " of " +
                                 std::to_string(height_) + " rows were written");
}

void CheckOutputWritable(const std::string &path) {
    if (path.empty())
        Refuse("\"\"", "no output path given");
    const std::filesystem::path target = PathFromUtf8(path);
    CheckKindBuilt(path, KindOf(target));
    std::error_code error;
    if (std::filesystem::is_directory(target, error))
        Refuse(path, "it is a directory");
    const std::filesystem::path folder =
        target.parent_path().empty() ? std::filesystem::path(".") : target.parent_path();
    if (!std::filesystem::is_directory(folder, error))
        Refuse(path, "directory " + PathToUtf8(folder) + " does not exist");
    // Creating (and removing) a file there is the one test that answers for every case:
    // permissions, read-only mounts, ACLs.
    try {
        ReplacedFile probe(target);
    } catch (const std::exception &) {
        Refuse(path, "directory " + PathToUtf8(folder) + " is not writable");
    }
}

std::unique_ptr<ImageWriter> CreateImageWriter(const std::string &path, uint32_t width,
                                               uint32_t height, RowFormat format,
                                               const OutputGeoreference &georef,
                                               const ImageWriterOptions &options) {
    const OutputKind kind = KindOf(PathFromUtf8(path));
    CheckKindBuilt(path, kind);
    if (width == 0 || height == 0)
        Refuse(path, "the image is empty (" + std::to_string(width) + " x " +
                         std::to_string(height) + " pixels)");
    if (RowBytes(format, width) > kMaxRowBytes)
        Refuse(path, "rows of " + std::to_string(width) + " pixels are too wide");
    const std::filesystem::path target = PathFromUtf8(path);
    switch (kind) {
#ifdef IOSID_HOST_HAVE_TIFF
    case OutputKind::Tiff:
        return LoadTiffWriter()(target, width, height, format, georef, options);
#endif
#ifdef IOSID_HOST_HAVE_PNG
    case OutputKind::Png:
        return CreatePngWriter(target, width, height, format);
#endif
    default:
        break;
    }
    (void)georef;
    (void)options;
    return CreateRawWriter(target, width, height, format);
}

} // namespace iosid::host
