// SidInterface::Georeference: the projected system and unit from the file's GeoKeys, and a
// four-corner warp of the selected region from the pipeline's pixel-to-map transform.
#include "SidInterface.h"

#include "SidObjects.h"

#include "gcs/GCSDef.h"
#include "gcs/WarpDef.h"
#include "georef/GeoTiffCodes.h"

#include <cctype>
#include <cmath>
#include <cstring>
#include <string>

using namespace LizardTech;

namespace {

constexpr const char *kProjectedCSTypeKey = "GEOTIFF_NUM::3072:";
constexpr const char *kProjLinearUnitsKey = "GEOTIFF_NUM::3076:";
// Both prefixes have the same length.
constexpr size_t kKeyPrefixLength = std::char_traits<char>::length(kProjectedCSTypeKey);
static_assert(std::char_traits<char>::length(kProjLinearUnitsKey) == kKeyPrefixLength);

bool HasKeyPrefix(const char *name, const char *prefix) {
    if (name == nullptr || std::strlen(name) < kKeyPrefixLength)
        return false;
    for (size_t i = 0; i < kKeyPrefixLength; ++i)
        if (std::tolower(static_cast<unsigned char>(name[i])) !=
            std::tolower(static_cast<unsigned char>(prefix[i])))
            return false;
    return true;
}

int32_t ShortValue(const LTIMetadataRecord &record) {
    int16_t value = 0;
    std::memcpy(&value, record.getScalarData(), sizeof value);
    return value;
}

// Applies the ProjectedCSType and ProjLinearUnits records in the order they are stored.
void ApplyKeys(const LTIMetadataDatabase &metadata, gcs::GCSDef &gcsDef) {
    const lt_uint32 count = metadata.getIndexCount();
    for (lt_uint32 i = 0; i < count; ++i) {
        const LTIMetadataRecord *record = nullptr;
        if (metadata.getDataByIndex(i, record) != LT_STS_Success || record == nullptr)
            break;
        if (record->getDataType() != LTI_METADATA_DATATYPE_UINT16)
            continue;
        if (HasKeyPrefix(record->getTagName(), kProjectedCSTypeKey)) {
            georef::GeoTIFFCoordSysCodeToProjectionAndDatum(ShortValue(*record), gcsDef);
        } else if (HasKeyPrefix(record->getTagName(), kProjLinearUnitsKey) &&
                   gcsDef.HasProjection(false, false)) {
            gcs::ProjectionDef projection(*gcsDef.GetProjection());
            projection.SetParameter(gcs::ProjectionParameterID::LinearScale,
                                    georef::LinearScaleFromPOSCNumber(ShortValue(*record)));
            gcsDef.SetProjection(&projection);
        }
    }
}

// False when the transform is only the default pixel space (the extent equals the pixel
// extent within one pixel and starts at zero on both axes).
bool HasRealGeoreferencing(const LTIGeoCoord &geo, uint32_t width, uint32_t height) {
    double ulx = 0, uly = 0, lrx = 0, lry = 0;
    geo.pixelToGeo(0, 0, 1.0, ulx, uly);
    geo.pixelToGeo(uint32_t(width - 1), uint32_t(height - 1), 1.0, lrx, lry);
    if (ulx == lrx || uly == lry)
        return false;
    const double w = width, h = height;
    const double dx = std::fabs(lrx - ulx), dy = std::fabs(lry - uly);
    return dx < w - 1 || dx > w + 1 || dy < h - 1 || dy > h + 1 || (ulx != 0 && lrx != 0) ||
           (uly != 0 && lry != 0);
}

} // namespace

bool SidInterface::Georeference(gcs::GCSDef &gcsDef) {
    if (!objects || !objects->reader)
        return true;
    const MrSIDImageReader &image = *objects->reader;
    ApplyKeys(image.getMetadata(), gcsDef);
    const LTIGeoCoord &geo = image.getGeoCoord();
    if (scale == 0 || !HasRealGeoreferencing(geo, image.getWidth(), image.getHeight()))
        return true;
    shr::Vec2d corners[4];
    const uint32_t cornerPixels[4][2] = {
        {left, top}, {right, bottom}, {left, bottom}, {right, top}};
    for (int i = 0; i < 4; ++i)
        geo.pixelToGeo(cornerPixels[i][0], cornerPixels[i][1], 1.0, corners[i].x, corners[i].y);
    const double outW = std::floor(std::fabs(double(uint32_t(right - left))) / scale);
    const double outH = std::floor(std::fabs(double(uint32_t(bottom - top))) / scale);
    const shr::Vec2d sources[4] = {{0, 0}, {outW, outH}, {0, outH}, {outW, 0}};
    gcs::WarpDef warp;
    warp.SetMethod(gcs::WarpMethod::Affine); // the four-corner warp
    for (int i = 0; i < 4; ++i) {
        warp.AddSourcePoint(sources[i]);
        warp.AddDestinationPoint(corners[i]);
    }
    gcsDef.SetWarp(&warp);
    return true;
}
