// .tif output: a tiled GeoTIFF written with libtiff and libgeotiff, one row of tiles at a time.
#include "GeoTiffKeysOut.h"
#include "GeoTransformOut.h"
#include "ReplacedFile.h"
#include "RowLayout.h"
#include "Writers.h"

#include "shr/Strings.h"

#include <geotiff.h>
#include <geotiffio.h>
#include <tiffio.h>
#include <xtiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace iosid::host {
namespace {

constexpr uint32_t kTileSize = 256;
// One row of tiles is buffered; past this the image is too wide to write tiled.
constexpr uint64_t kMaxStripeBytes = uint64_t{1} << 30;
// Classic TIFF addresses 4 GiB; leave room for directories and tile tables.
constexpr uint64_t kClassicTiffLimit = 4000000000ull;

int KeepError(TIFF *, void *user, const char *module, const char *format, va_list args) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    auto *error = static_cast<std::string *>(user);
    if (error->empty())
        *error = std::string(module ? module : "libtiff") + ": " + text;
    return 1;
}

int IgnoreWarning(TIFF *, void *, const char *, const char *, va_list) { return 1; }

uint16_t CompressionTag(ImageWriterOptions::Compression compression) {
    switch (compression) {
    case ImageWriterOptions::Compression::Lzw:
        return COMPRESSION_LZW;
    case ImageWriterOptions::Compression::Deflate:
        return COMPRESSION_ADOBE_DEFLATE;
    case ImageWriterOptions::Compression::None:
        break;
    }
    return COMPRESSION_NONE;
}

class TiffWriter final : public ImageWriter {
public:
    TiffWriter(const std::filesystem::path &path, uint32_t width, uint32_t height, RowFormat format,
               const OutputGeoreference &georef, const ImageWriterOptions &options)
        : file_(path), rows_(path, height), width_(width), height_(height), format_(format),
          layout_(LayoutOf(format)) {
        if (SampleRowBytes(format, width) * kTileSize > kMaxStripeBytes)
            Fail("rows of " + std::to_string(width) + " pixels are too wide for a tiled TIFF");
        file_.CloseStream(); // libtiff writes the file by name
        Open(width, height, options);
        WriteGeoreference(georef);
        tileRowBytes_ = kTileSize * layout_.bitsPerSample * layout_.samplesPerPixel / 8;
        tilesAcross_ = (width + kTileSize - 1) / kTileSize;
        // Rows padded to whole tiles, so the last tile of a row reads zeros past the image.
        stripeRowBytes_ = size_t{tilesAcross_} * tileRowBytes_;
        stripe_.assign(stripeRowBytes_ * kTileSize, 0);
        tile_.resize(tileRowBytes_ * kTileSize);
    }

    ~TiffWriter() override {
        if (tiff_)
            TIFFClose(tiff_);
    }

    void WriteRow(uint32_t row, const uint8_t *data) override {
        rows_.Accept(row);
        ConvertRow(format_, width_, data,
                   stripe_.data() + size_t{row % kTileSize} * stripeRowBytes_);
        if (row % kTileSize == kTileSize - 1 || row + 1 == height_)
            FlushStripe(row - row % kTileSize, row % kTileSize + 1);
    }

    void Commit() override {
        rows_.CheckComplete();
        TIFF *tiff = tiff_;
        tiff_ = nullptr;
        const bool written = TIFFWriteDirectory(tiff) != 0;
        TIFFClose(tiff);
        if (!written)
            Fail("cannot write the TIFF directory");
        file_.Commit();
    }

private:
    [[noreturn]] void Fail(const std::string &what) const {
        throw std::runtime_error(PathToUtf8(file_.Destination()) + ": " + what +
                                 (error_.empty() ? "" : " (" + error_ + ")"));
    }

    void Open(uint32_t width, uint32_t height, const ImageWriterOptions &options) {
        const uint64_t bytes = SampleRowBytes(format_, width) * height;
        XTIFFInitialize(); // GeoTIFF tags known to libtiff
        TIFFOpenOptions *openOptions = TIFFOpenOptionsAlloc();
        TIFFOpenOptionsSetErrorHandlerExtR(openOptions, KeepError, &error_);
        TIFFOpenOptionsSetWarningHandlerExtR(openOptions, IgnoreWarning, nullptr);
        tiff_ = TIFFOpenExt(PathToUtf8(file_.TemporaryPath()).c_str(),
                            bytes > kClassicTiffLimit ? "w8" : "w", openOptions);
        TIFFOpenOptionsFree(openOptions);
        if (!tiff_)
            Fail("cannot create the TIFF file");
        const uint16_t compression = CompressionTag(options.compression);
        bool ok =
            TIFFSetField(tiff_, TIFFTAG_IMAGEWIDTH, width) &&
            TIFFSetField(tiff_, TIFFTAG_IMAGELENGTH, height) &&
            TIFFSetField(tiff_, TIFFTAG_BITSPERSAMPLE, layout_.bitsPerSample) &&
            TIFFSetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, layout_.samplesPerPixel) &&
            TIFFSetField(tiff_, TIFFTAG_PHOTOMETRIC,
                         layout_.samplesPerPixel == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB) &&
            TIFFSetField(tiff_, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) &&
            TIFFSetField(tiff_, TIFFTAG_TILEWIDTH, kTileSize) &&
            TIFFSetField(tiff_, TIFFTAG_TILELENGTH, kTileSize) &&
            TIFFSetField(tiff_, TIFFTAG_COMPRESSION, compression) &&
            TIFFSetField(tiff_, TIFFTAG_SOFTWARE, "iosid");
        if (ok && layout_.hasAlpha) {
            const uint16_t extra = EXTRASAMPLE_UNASSALPHA;
            ok = TIFFSetField(tiff_, TIFFTAG_EXTRASAMPLES, 1, &extra);
        }
        // Horizontal differencing shrinks 8-bit imagery noticeably under LZW and Deflate.
        if (ok && compression != COMPRESSION_NONE && layout_.bitsPerSample == 8)
            ok = TIFFSetField(tiff_, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
        if (!ok)
            Fail("cannot set the TIFF tags");
    }

    void WriteGeoreference(const OutputGeoreference &georef) {
        if (!georef.system)
            return;
        const gcs::CSDef &system = *georef.system;
        if (const gcs::WarpDef *warp = system.GetWarp()) {
            std::array<double, 6> geoTransform{};
            std::wstring why;
            if (!GeoTransformFromWarp(*warp, geoTransform, &why))
                Fail("cannot write the georeferencing: " + shr::WtoA(why));
            const GeoTiffGeoTags tags = GeoTagsFromGeoTransform(geoTransform);
            const bool ok =
                tags.scaleAndTiepoint
                    ? TIFFSetField(tiff_, TIFFTAG_GEOPIXELSCALE, 3, tags.pixelScale.data()) &&
                          TIFFSetField(tiff_, TIFFTAG_GEOTIEPOINTS, 6, tags.tiepoint.data())
                    : TIFFSetField(tiff_, TIFFTAG_GEOTRANSMATRIX, 16, tags.transform.data());
            if (!ok)
                Fail("cannot set the georeferencing tags");
        }
        const std::vector<GeoKeyValue> keys = GeoKeysFor(system, nullptr);
        if (!keys.empty())
            WriteKeys(keys);
    }

    void WriteKeys(const std::vector<GeoKeyValue> &keys) {
        GTIF *gtif = GTIFNew(tiff_);
        if (!gtif)
            Fail("cannot start the GeoKey directory");
        bool ok = true;
        for (const GeoKeyValue &key : keys) {
            const auto id = static_cast<geokey_t>(key.id);
            switch (key.kind) {
            case GeoKeyValue::Kind::Short:
                ok = ok && GTIFKeySet(gtif, id, TYPE_SHORT, 1, key.shortValue);
                break;
            case GeoKeyValue::Kind::Double:
                ok = ok &&
                     (key.doubles.size() == 1
                          ? GTIFKeySet(gtif, id, TYPE_DOUBLE, 1, key.doubles[0])
                          : GTIFKeySet(gtif, id, TYPE_DOUBLE, static_cast<int>(key.doubles.size()),
                                       key.doubles.data()));
                break;
            case GeoKeyValue::Kind::Ascii:
                ok = ok && GTIFKeySet(gtif, id, TYPE_ASCII, 0, key.text.c_str());
                break;
            }
        }
        ok = ok && GTIFWriteKeys(gtif);
        GTIFFree(gtif);
        if (!ok)
            Fail("cannot write the GeoKeys");
    }

    // Cuts the buffered rows [firstRow, firstRow + count) into tiles and writes them.
    void FlushStripe(uint32_t firstRow, uint32_t count) {
        const uint32_t tileRow = firstRow / kTileSize;
        // Rows below the image in the last stripe stay zero.
        std::fill(stripe_.begin() + size_t{count} * stripeRowBytes_, stripe_.end(), 0);
        for (uint32_t across = 0; across < tilesAcross_; ++across) {
            for (uint32_t y = 0; y < kTileSize; ++y)
                std::memcpy(tile_.data() + size_t{y} * tileRowBytes_,
                            stripe_.data() + size_t{y} * stripeRowBytes_ +
                                size_t{across} * tileRowBytes_,
                            tileRowBytes_);
            const uint32_t index = tileRow * tilesAcross_ + across;
            if (TIFFWriteEncodedTile(tiff_, index, tile_.data(),
                                     static_cast<tmsize_t>(tile_.size())) < 0)
                Fail("cannot write tile " + std::to_string(index));
        }
    }

    ReplacedFile file_;
    RowSequence rows_;
    uint32_t width_, height_;
    RowFormat format_;
    SampleLayout layout_;
    std::string error_;
    TIFF *tiff_ = nullptr;
    size_t tileRowBytes_ = 0, stripeRowBytes_ = 0;
    uint32_t tilesAcross_ = 0;
    std::vector<uint8_t> stripe_, tile_;
};

} // namespace

std::unique_ptr<ImageWriter> CreateTiffWriter(const std::filesystem::path &path, uint32_t width,
                                              uint32_t height, RowFormat format,
                                              const OutputGeoreference &georef,
                                              const ImageWriterOptions &options) {
    return std::make_unique<TiffWriter>(path, width, height, format, georef, options);
}

} // namespace iosid::host

// The module's one entry point, which LoadTiffWriter looks up.
extern "C" __attribute__((visibility("default"))) void *IosidTiffWriterFactory() {
    return reinterpret_cast<void *>(&iosid::host::CreateTiffWriter);
}
