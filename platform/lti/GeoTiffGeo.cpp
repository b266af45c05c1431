// GeoKey records and the image-to-model transform (GeoTIFF 1.0, sections 2.6 and 2.7).
#include "GeoTiffGeo.h"

#include "Subsystems/TiffImage/TiffRead.h"
#ifdef IOSID_HAVE_GEOREF
#include "georef/GeoKeyNames.h"
#endif

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

namespace LizardTech {
namespace {

enum Tag : uint16_t {
    kModelPixelScale = 33550,
    kIntergraphMatrix = 33920,
    kModelTiepoint = 33922,
    kModelTransformation = 34264,
    kGeoKeyDirectory = 34735,
    kGeoDoubleParams = 34736,
    kGeoAsciiParams = 34737,
};
constexpr uint32_t kRasterTypeKey = 1025;
constexpr uint64_t kRasterPixelIsPoint = 2;

std::string KeyName(uint32_t id) {
    std::string name;
#ifdef IOSID_HAVE_GEOREF
    if (const char *known = georef::GeoKeyName(id))
        name = known;
#endif
    if (name.empty())
        return "UnknownGeoKey";
    const std::string suffix = "GeoKey";
    if (name.size() < suffix.size() ||
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0)
        name += suffix;
    return name;
}

void AddKey(const tiff::TiffDirectory &dir, const tiff::TiffEntry &keys, uint64_t at,
            LTIMetadataDatabase &metadata) {
    const auto id = static_cast<uint32_t>(keys.GetUInt(at));
    const uint64_t location = keys.GetUInt(at + 1);
    const uint64_t count = keys.GetUInt(at + 2);
    const uint64_t value = keys.GetUInt(at + 3);
    const std::string name = "GEOTIFF_NUM::" + std::to_string(id) + "::" + KeyName(id);
    if (location == 0) {
        const auto v = static_cast<uint16_t>(value);
        metadata.add(LTIMetadataRecord(name, LTI_METADATA_DATATYPE_UINT16, &v, 1));
        return;
    }
    const tiff::TiffEntry *params = dir.Find(static_cast<uint16_t>(location));
    if (params == nullptr || count == 0 || value > tiff::HeldCount(params) ||
        count > tiff::HeldCount(params) - value)
        return;
    if (location == kGeoDoubleParams) {
        std::vector<double> doubles;
        for (uint64_t i = 0; i < count; ++i)
            doubles.push_back(params->GetDouble(value + i));
        metadata.add(LTIMetadataRecord(name, LTI_METADATA_DATATYPE_FLOAT64, doubles.data(),
                                       static_cast<lt_uint32>(count)));
    } else if (location == kGeoAsciiParams) {
        std::string text = params->GetAscii();
        text = value < text.size() ? text.substr(value, count) : std::string();
        while (!text.empty() && (text.back() == '|' || text.back() == '\0'))
            text.pop_back(); // '|' ends each text in the shared parameter string
        metadata.add(LTIMetadataRecord(name, text));
    } else if (location == kGeoKeyDirectory && count == 1) {
        const auto v = static_cast<uint16_t>(params->GetUInt(value));
        metadata.add(LTIMetadataRecord(name, LTI_METADATA_DATATYPE_UINT16, &v, 1));
    }
}

bool IsPixelIsPoint(const tiff::TiffDirectory &dir) {
    const tiff::TiffEntry *keys = dir.Find(kGeoKeyDirectory);
    if (tiff::HeldCount(keys) < 4)
        return false;
    const uint64_t n = std::min<uint64_t>(keys->GetUInt(3), tiff::HeldCount(keys) / 4 - 1);
    for (uint64_t k = 1; k <= n; ++k)
        if (keys->GetUInt(k * 4) == kRasterTypeKey && keys->GetUInt(k * 4 + 1) == 0)
            return keys->GetUInt(k * 4 + 3) == kRasterPixelIsPoint;
    return false;
}

bool AllFinite(std::initializer_list<double> values) {
    for (double v : values)
        if (!std::isfinite(v))
            return false;
    return true;
}

} // namespace

void AddGeoKeyRecords(const tiff::TiffDirectory &dir, LTIMetadataDatabase &metadata) {
    const tiff::TiffEntry *keys = dir.Find(kGeoKeyDirectory);
    if (tiff::HeldCount(keys) < 4)
        return;
    const uint64_t declared = keys->GetUInt(3);
    const uint64_t available = tiff::HeldCount(keys) / 4 - 1;
    for (uint64_t k = 1; k <= std::min(declared, available); ++k)
        AddKey(dir, *keys, k * 4, metadata);
}

bool GeoCoordFromTags(const tiff::TiffDirectory &dir, LTIGeoCoord &geo) {
    // Model coordinates of a pixel's upper-left corner, or of its centre with PixelIsPoint.
    const double half = IsPixelIsPoint(dir) ? 0.0 : 0.5;
    const tiff::TiffEntry *matrix = dir.Find(kModelTransformation);
    if (matrix == nullptr)
        matrix = dir.Find(kIntergraphMatrix);
    if (tiff::HeldCount(matrix) >= 16) {
        const double a = matrix->GetDouble(0), b = matrix->GetDouble(1), d = matrix->GetDouble(3);
        const double e = matrix->GetDouble(4), f = matrix->GetDouble(5), h = matrix->GetDouble(7);
        if (!AllFinite({a, b, d, e, f, h}))
            return false;
        geo = LTIGeoCoord(d + (a + b) * half, h + (e + f) * half, a, f, b, e);
        return true;
    }
    const tiff::TiffEntry *scale = dir.Find(kModelPixelScale);
    const tiff::TiffEntry *tie = dir.Find(kModelTiepoint);
    if (tiff::HeldCount(scale) < 2 || tiff::HeldCount(tie) < 6)
        return false;
    const double sx = scale->GetDouble(0), sy = scale->GetDouble(1);
    const double i = tie->GetDouble(0), j = tie->GetDouble(1);
    const double x = tie->GetDouble(3), y = tie->GetDouble(4);
    if (!AllFinite({sx, sy, i, j, x, y}) || sx == 0.0 || sy == 0.0)
        return false;
    geo = LTIGeoCoord(x + (half - i) * sx, y - (half - j) * sy, sx, -sy, 0.0, 0.0);
    return true;
}

} // namespace LizardTech
