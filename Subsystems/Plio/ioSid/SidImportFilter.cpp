// SidImportFilter: construction, the file queries and the import driver.
#include "SidImportFilter.h"

#include "SidImportDialog.h"

#include "imagelib/CachedSidBitmap.h"
#include "plio/Progress.h"
#include "plio/TrCRS.h"
#include "plio/TrImage.h"
#include "shr/Format.h"
#include "shr/Path.h"

#include "gcs/GCSDef.h"
#include "gcs/UCSDef.h"

#include <memory>
#include <vector>

namespace {

constexpr const wchar_t *kSourceFile = L"Subsystems/Plio/ioSid/SidImportFilter";
constexpr const wchar_t *kDetailsHeading = L"\n\n--- Additional error details ---\n";

} // namespace

SidImportFilter::SidImportFilter(plio::IoManager &manager) : plio::IoImportFilter(manager) {}

SidImportFilter::~SidImportFilter() = default;

bool SidImportFilter::CanProduce(const shr::CTypeInfo *type) const {
    return type && *type == *plio::TrImage::GetClassTypeId();
}

bool SidImportFilter::CanImportFile(const std::wstring &file) {
    SidInterface reader;
    const bool opened = reader.Open(file);
    reader.Close();
    return opened;
}

void SidImportFilter::ThrowWithDetails(int line, const wchar_t *format,
                                       const std::wstring &details) const {
    std::wstring message = shr::FormatString(format, path.c_str());
    if (!details.empty())
        message += kDetailsHeading + details;
    ThrowError(kSourceFile, line, message.c_str()); // already composed: no arguments
}

void SidImportFilter::Import(const std::wstring &file, bool interactive) {
    path = file;
    {
        SidInterface probe;
        if (probe.Open(path)) {
            imageWidth = probe.GetWidth();
            imageHeight = probe.GetHeight();
            probe.Close();
        }
    }
    ulx = uly = 0;
    lrx = imageWidth - 1;
    lry = imageHeight - 1;
    LoadOptions(true);

    auto reader = std::make_unique<SidInterface>();
    reader->SetScale(1);
    reader->SetFormat(format);
    if (!reader->Open(path))
        ThrowWithDetails(213,
                         L"Unable to initiate SID import from file '%ls'.  The file may be "
                         L"missing or unreadable, or may not be a valid SID file.",
                         reader->GetErrorText());
    maxScale = reader->GetMaxScale();
    if (scale > maxScale)
        scale = maxScale;
    if (interactive && !RunImportDialog(*this, scale, ulx, uly, lrx, lry, linked)) {
        reader->Close();
        Throw_ABORT(kSourceFile, 226);
    }
    reader->SetScale(linked ? 1 : scale);
    reader->SetRegion(ulx, uly, lrx, lry);
    SaveOptions(true);
    imageWidth = reader->GetWidth();
    imageHeight = reader->GetHeight();
    bitsPerPixel = static_cast<uint32_t>(reader->GetBitsPerPixel());

    plio::CProgress progress(GetManager(), L"", true, true);
    progress.MessageVA(L"Importing SID file %ls", shr::CPath(path).GetFileName().c_str());
    switch (bitsPerPixel) {
    case 1:
        colorFormat = shr::ColorFormatBilevel;
        break;
    case 4:
        colorFormat = shr::ColorFormatGray4;
        break;
    case 8:
        colorFormat = shr::ColorFormatGray8;
        break;
    case 24:
        colorFormat = shr::ColorFormatBgr24;
        if (reader->HasAlpha()) { // after SaveOptions: the promotion is not stored
            colorFormat = shr::ColorFormatBgra32;
            bitsPerPixel = 32;
            format = SidInterface::kColor32;
            reader->SetFormat(SidInterface::kColor32);
        }
        break;
    case 32:
        colorFormat = shr::ColorFormatBgrx32;
        break;
    default:
        Throw_ERR_UNKNOWN_FORMAT(kSourceFile, 258, path);
    }
    HandOverCoordinateSystem(*reader);

    std::unique_ptr<plio::TrImage> image;
    if (linked) {
        auto bitmap = std::make_unique<imagelib::CachedSidBitmap>(L"", L"", false);
        if (!bitmap->Open(path, 0, false))
            ThrowWithDetails(346, L"Failed importing image from MrSID file '%ls'.",
                             bitmap->GetErrorText());
        image = std::make_unique<plio::TrImage>(bitmap.release(), true);
    } else {
        image = std::make_unique<plio::TrImage>();
        ReadRows(*reader, *image, progress);
    }
    reader->Close();
    ImportObject(*image);
}

void SidImportFilter::ReadRows(SidInterface &reader, plio::TrImage &image,
                               plio::CProgress &progress) {
    image.SetScanlineStart(static_cast<int>(imageWidth), static_cast<int>(imageHeight), colorFormat,
                           0, 0, nullptr, plio::RowOrderTopDown, 0, progress.IProgressPtr());
    std::vector<uint8_t> buffer(size_t{imageWidth} * 4, 0);
    for (uint32_t row = 0; row < imageHeight; ++row) {
        if (!reader.ReadScanline(row, buffer.data()))
            ThrowWithDetails(346, L"Failed importing image from MrSID file '%ls'.",
                             reader.GetErrorText());
        image.SetScanline(buffer.data(), static_cast<int>(row));
        progress.SetProportion(static_cast<double>(row) / imageHeight);
    }
    progress.SetProportion(1.0);
    image.SetScanlineEnd(nullptr, 0);
}

void SidImportFilter::HandOverCoordinateSystem(SidInterface &reader) {
    gcs::GCSDef definition;
    reader.Georeference(definition);
    if (!definition.HasProjection(false, false) && !definition.HasDatum(false) &&
        !definition.HasWarp())
        return;
    plio::TrCRS crs;
    if (definition.HasProjection(false, true) || definition.HasDatum(true)) {
        crs.SetCS(&definition);
    } else {
        gcs::UCSDef unreferenced; // only the warp ties the image to map units
        unreferenced.SetWarp(definition.GetWarp());
        crs.SetCS(&unreferenced);
    }
    ImportObject(crs);
}
