// The GeoKey name table (GeoTIFF 1.0 key ids 1024 to 4099).
#include "georef/GeoKeyNames.h"

namespace georef {
namespace {

struct GeoKeyNameRow {
    uint16_t id;
    const char *name;
};

// Searched in order; ended by the row with id 0. Only 2062 keeps the "GeoKey" suffix, as
// existing listings print it that way.
constexpr GeoKeyNameRow kGeoKeyNames[] = {
    {1024, "GTModelType"},
    {1025, "GTRasterType"},
    {1026, "GTCitation"},
    {2048, "GeographicType"},
    {2049, "GeogCitation"},
    {2050, "GeogGeodeticDatum"},
    {2051, "GeogPrimeMeridian"},
    {2052, "GeogLinearUnits"},
    {2053, "GeogLinearUnitSize"},
    {2054, "GeogAngularUnits"},
    {2055, "GeogAngularUnitSize"},
    {2056, "GeogEllipsoid"},
    {2057, "GeogSemiMajorAxis"},
    {2058, "GeogSemiMinorAxis"},
    {2059, "GeogInvFlattening"},
    {2060, "GeogAzimuthUnits"},
    {2061, "GeogPrimeMeridianLong"},
    {2062, "GeogToWGS84GeoKey"},
    {3072, "ProjectedCSType"},
    {3073, "PCSCitation"},
    {3074, "Projection"},
    {3075, "ProjCoordTrans"},
    {3076, "ProjLinearUnits"},
    {3077, "ProjLinearUnitSize"},
    {3078, "ProjStdParallel"},
    {3079, "ProjStdParallel2"},
    {3080, "ProjOriginLong"},
    {3081, "ProjOriginLat"},
    {3082, "ProjFalseEasting"},
    {3083, "ProjFalseNorthing"},
    {3084, "ProjFalseOriginLong"},
    {3085, "ProjFalseOriginLat"},
    {3086, "ProjFalseOriginEasting"},
    {3087, "ProjFalseOriginNorthing"},
    {3088, "ProjCenterLong"},
    {3089, "ProjCenterLat"},
    {3090, "ProjCenterEasting"},
    {3091, "ProjCenterNorthing"},
    {3092, "ProjScaleAtOrigin"},
    {3093, "ProjScaleAtCenter"},
    {3094, "ProjAzimuthAngle"},
    {3095, "ProjStraightVertPoleLong"},
    {4096, "VerticalCSType"},
    {4097, "VerticalCitation"},
    {4098, "VerticalDatum"},
    {4099, "VerticalUnits"},
    {0, nullptr},
};

} // namespace

const char *GeoKeyName(uint32_t keyId) {
    for (const GeoKeyNameRow *row = kGeoKeyNames; row->id != 0; ++row) {
        if (row->id == keyId)
            return row->name;
    }
    return nullptr;
}

} // namespace georef
