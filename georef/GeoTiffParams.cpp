// Decoding a GeoKey bundle into the GeoTiffParams record, table-driven by key id.
#include "georef/GeoTiffParams.h"

#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffTrace.h"

namespace georef {
namespace {

struct ShortField {
    uint16_t id;
    const char *name;
    uint16_t GeoTiffParams::*field;
};
struct DoubleField {
    uint16_t id;
    const char *name;
    double GeoTiffParams::*field;
};
struct TextField {
    uint16_t id;
    const char *name;
    std::string GeoTiffParams::*field;
};

constexpr uint16_t kGeogToWGS84 = 2062;

constexpr ShortField kShortFields[] = {
    {1024, "GTModelType", &GeoTiffParams::GTModelType},
    {1025, "GTRasterType", &GeoTiffParams::GTRasterType},
    {2048, "GeographicType", &GeoTiffParams::GeographicType},
    {2050, "GeogGeodeticDatum", &GeoTiffParams::GeogGeodeticDatum},
    {2054, "GeogAngularUnits", &GeoTiffParams::GeogAngularUnits},
    {2051, "GeogPrimeMeridian", &GeoTiffParams::GeogPrimeMeridian},
    {2056, "GeogEllipsoid", &GeoTiffParams::GeogEllipsoid},
    {2060, "GeogAzimuthUnits", &GeoTiffParams::GeogAzimuthUnits},
    {3072, "ProjectedCSType", &GeoTiffParams::ProjectedCSType},
    {3074, "Projection", &GeoTiffParams::Projection},
    {3075, "ProjCoordTrans", &GeoTiffParams::ProjCoordTrans},
    {3076, "ProjLinearUnits", &GeoTiffParams::ProjLinearUnits},
};

constexpr DoubleField kDoubleFields[] = {
    {2055, "GeogAngularUnitSize", &GeoTiffParams::GeogAngularUnitSize},
    {2061, "GeogPrimeMeridianLong", &GeoTiffParams::GeogPrimeMeridianLong},
    {2057, "GeogSemiMajorAxis", &GeoTiffParams::GeogSemiMajorAxis},
    {2058, "GeogSemiMinorAxis", &GeoTiffParams::GeogSemiMinorAxis},
    {2059, "GeogInvFlattening", &GeoTiffParams::GeogInvFlattening},
    {2052, "GeogLinearUnits", &GeoTiffParams::GeogLinearUnits},
    {2053, "GeogLinearUnitSize", &GeoTiffParams::GeogLinearUnitSize},
    {3077, "ProjLinearUnitSize", &GeoTiffParams::ProjLinearUnitSize},
    {3078, "ProjStdParallel", &GeoTiffParams::ProjStdParallel},
    {3079, "ProjStdParallel2", &GeoTiffParams::ProjStdParallel2},
    {3080, "ProjOriginLong", &GeoTiffParams::ProjOriginLong},
    {3081, "ProjOriginLat", &GeoTiffParams::ProjOriginLat},
    {3082, "ProjFalseEasting", &GeoTiffParams::ProjFalseEasting},
    {3083, "ProjFalseNorthing", &GeoTiffParams::ProjFalseNorthing},
    {3084, "ProjFalseOriginLong", &GeoTiffParams::ProjFalseOriginLong},
    {3085, "ProjFalseOriginLat", &GeoTiffParams::ProjFalseOriginLat},
    {3086, "ProjFalseOriginEasting", &GeoTiffParams::ProjFalseOriginEasting},
    {3087, "ProjFalseOriginNorthing", &GeoTiffParams::ProjFalseOriginNorthing},
    {3088, "ProjCenterLong", &GeoTiffParams::ProjCenterLong},
    {3089, "ProjCenterLat", &GeoTiffParams::ProjCenterLat},
    {3090, "ProjCenterEasting", &GeoTiffParams::ProjCenterEasting},
    {3091, "ProjCenterNorthing", &GeoTiffParams::ProjCenterNorthing},
    {3092, "ProjScaleAtOrigin", &GeoTiffParams::ProjScaleAtOrigin},
    {3093, "ProjScaleAtCenter", &GeoTiffParams::ProjScaleAtCenter},
    {3094, "ProjAzimuthAngle", &GeoTiffParams::ProjAzimuthAngle},
    {3095, "ProjStraightVertPoleLong", &GeoTiffParams::ProjStraightVertPoleLong},
};

constexpr TextField kTextFields[] = {
    {1026, "GTCitation", &GeoTiffParams::GTCitation},
    {2049, "GeogCitation", &GeoTiffParams::GeogCitation},
    {3073, "PCSCitation", &GeoTiffParams::PCSCitation},
};

void DecodeToWGS84(const GeoKeyBundle &bundle, uint32_t index, GeoTiffParams &params) {
    const uint32_t count = bundle.GetCount(index);
    if (count < 1 || bundle.GetKind(index) != kGeoKeyDouble)
        return;
    params.GeogToWGS84.resize(count);
    for (uint32_t k = 0; k < count; ++k)
        params.GeogToWGS84[k] = bundle.GetDouble(index, static_cast<int>(k));
}

// Returns false when the id has no field.
bool DecodeEntry(const GeoKeyBundle &bundle, uint32_t index, GeoTiffParams &params) {
    const uint32_t id = bundle.GetKeyId(index);
    for (const ShortField &f : kShortFields) {
        if (f.id == id) {
            params.*f.field = bundle.GetShort(index);
            return true;
        }
    }
    for (const DoubleField &f : kDoubleFields) {
        if (f.id == id) {
            params.*f.field = bundle.GetDouble(index, 0);
            return true;
        }
    }
    for (const TextField &f : kTextFields) {
        if (f.id == id) {
            // A citation that is not a text entry has no text: it reads as empty.
            params.*f.field = bundle.GetTextString(index);
            return true;
        }
    }
    if (id == kGeogToWGS84) {
        DecodeToWGS84(bundle, index, params);
        return true;
    }
    return false;
}

} // namespace

bool GeoTiffBundleToParams(const GeoKeyBundle &bundle, GeoTiffParams &params) {
    params = GeoTiffParams{};
    const uint32_t entries = bundle.GetEntryCount();
    // Index 0 is the header; its id (1) matches no key and is traced like any other.
    for (uint32_t i = 0; i < entries; ++i) {
        if (!DecodeEntry(bundle, i, params))
            GeoTiffTrace("Ignoring unsupported GeoKey %u\n", bundle.GetKeyId(i));
    }
    return true;
}

bool GeoTiffParamField::IsZero() const {
    if (shortValue)
        return *shortValue == 0;
    if (doubleValue)
        return *doubleValue == 0.0;
    if (text)
        return text->empty();
    return !doubles || doubles->empty();
}

void ForEachGeoTiffParam(const GeoTiffParams &params,
                         const std::function<void(const GeoTiffParamField &)> &visit) {
    for (const ShortField &f : kShortFields) {
        GeoTiffParamField field{f.id, f.name};
        field.shortValue = &(params.*f.field);
        visit(field);
    }
    for (const DoubleField &f : kDoubleFields) {
        GeoTiffParamField field{f.id, f.name};
        field.doubleValue = &(params.*f.field);
        visit(field);
    }
    GeoTiffParamField wgs84{kGeogToWGS84, "GeogToWGS84"};
    wgs84.doubles = &params.GeogToWGS84;
    visit(wgs84);
    for (const TextField &f : kTextFields) {
        GeoTiffParamField field{f.id, f.name};
        field.text = &(params.*f.field);
        visit(field);
    }
}

} // namespace georef
