// GeoKey records and the pixel-centre map over the GeoTIFF module's readers.
#include "GeoTiffGeo.h"

#include "georef/GeoKeyBundle.h"
#include "georef/GeoKeyNames.h"
#include "georef/GeoTiffKeys.h"
#include "georef/GeoTiffModelTags.h"
#include "georef/GeoTiffParams.h"

#include <string>
#include <vector>

namespace engines::geotiff {

using namespace LizardTech; // the seam the engine implements

namespace {

constexpr uint16_t kRasterPixelIsPoint = 2; // GTRasterTypeGeoKey value

std::string KeyName(uint32_t id) {
    const char *known = georef::GeoKeyName(id);
    if (known == nullptr)
        return "UnknownGeoKey";
    std::string name = known;
    const std::string suffix = "GeoKey";
    if (name.size() < suffix.size() ||
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0)
        name += suffix;
    return name;
}

void AddRecord(const georef::GeoKeyBundle &keys, uint32_t index, LTIMetadataDatabase &metadata) {
    const uint32_t id = keys.GetKeyId(index);
    const uint32_t count = keys.GetCount(index);
    const std::string name = "GEOTIFF_NUM::" + std::to_string(id) + "::" + KeyName(id);
    switch (keys.GetKind(index)) {
    case georef::kGeoKeyShort: {
        const uint16_t value = keys.GetShort(index);
        metadata.add(LTIMetadataRecord(name, LTI_METADATA_DATATYPE_UINT16, &value, 1));
        break;
    }
    case georef::kGeoKeyDouble: {
        std::vector<double> values;
        for (uint32_t k = 0; k < count; ++k)
            values.push_back(keys.GetDouble(index, static_cast<int>(k)));
        if (!values.empty())
            metadata.add(LTIMetadataRecord(name, LTI_METADATA_DATATYPE_FLOAT64, values.data(),
                                           static_cast<lt_uint32>(values.size())));
        break;
    }
    case georef::kGeoKeyText: {
        std::string text = keys.GetTextString(index);
        while (!text.empty() && text.back() == '|')
            text.pop_back(); // '|' ends each text in the shared parameter string
        if (count != 0)
            metadata.add(LTIMetadataRecord(name, text));
        break;
    }
    default:
        break;
    }
}

} // namespace

bool AddGeoKeyRecords(const tiff::TiffDirectory &dir, LTIMetadataDatabase &metadata) {
    georef::GeoKeyBundle keys;
    // A key pointing past its parameter tag ends the walk; the keys before it are offered.
    georef::GeoTiffExtractKeys(dir, keys);
    for (uint32_t i = 1; i < keys.GetEntryCount(); ++i)
        AddRecord(keys, i, metadata);
    georef::GeoTiffParams params;
    georef::GeoTiffBundleToParams(keys, params);
    return params.GTRasterType == kRasterPixelIsPoint;
}

bool GeoCoordFromTags(const tiff::TiffDirectory &dir, bool pixelIsPoint, LTIGeoCoord &geo) {
    gcs::AffineCoefficients m;
    georef::GeoTiffAffineSource source = georef::GeoTiffAffineSource::None;
    if (!georef::GeoTiffModelAffine(georef::ReadGeoTiffModelTags(dir), m, source) ||
        source == georef::GeoTiffAffineSource::None)
        return false;
    const double half = pixelIsPoint ? 0.0 : 0.5;
    geo = LTIGeoCoord(m.a * half + m.b * half + m.c, m.d * half + m.e * half + m.f, m.a, m.e, m.b,
                      m.d);
    return true;
}

} // namespace engines::geotiff
