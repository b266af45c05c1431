// GeoTiffParams: the GeoKeys of one image decoded into one field per supported key.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace georef {

class GeoKeyBundle;

// Field names are the GeoTIFF key names; a key the file does not hold leaves its field 0,
// 0.0 or empty.
struct GeoTiffParams {
    uint16_t GTModelType = 0;           // 1024
    uint16_t GTRasterType = 0;          // 1025
    uint16_t GeographicType = 0;        // 2048
    uint16_t GeogGeodeticDatum = 0;     // 2050
    uint16_t GeogAngularUnits = 0;      // 2054
    double GeogAngularUnitSize = 0;     // 2055
    uint16_t GeogPrimeMeridian = 0;     // 2051
    double GeogPrimeMeridianLong = 0;   // 2061
    std::vector<double> GeogToWGS84;    // 2062
    uint16_t GeogEllipsoid = 0;         // 2056
    double GeogSemiMajorAxis = 0;       // 2057
    double GeogSemiMinorAxis = 0;       // 2058
    double GeogInvFlattening = 0;       // 2059
    uint16_t GeogAzimuthUnits = 0;      // 2060
    double GeogLinearUnits = 0;         // 2052, read as a double: a value stored in place gives 0.0
    double GeogLinearUnitSize = 0;      // 2053
    uint16_t ProjectedCSType = 0;       // 3072
    uint16_t Projection = 0;            // 3074
    uint16_t ProjCoordTrans = 0;        // 3075
    uint16_t ProjLinearUnits = 0;       // 3076
    double ProjLinearUnitSize = 0;      // 3077
    double ProjStdParallel = 0;         // 3078
    double ProjStdParallel2 = 0;        // 3079
    double ProjOriginLong = 0;          // 3080
    double ProjOriginLat = 0;           // 3081
    double ProjFalseEasting = 0;        // 3082
    double ProjFalseNorthing = 0;       // 3083
    double ProjFalseOriginLong = 0;     // 3084
    double ProjFalseOriginLat = 0;      // 3085
    double ProjFalseOriginEasting = 0;  // 3086
    double ProjFalseOriginNorthing = 0; // 3087
    double ProjCenterLong = 0;          // 3088
    double ProjCenterLat = 0;           // 3089
    double ProjCenterEasting = 0;       // 3090
    double ProjCenterNorthing = 0;      // 3091
    double ProjScaleAtOrigin = 0;       // 3092
    double ProjScaleAtCenter = 0;       // 3093
    double ProjAzimuthAngle = 0;        // 3094
    double ProjStraightVertPoleLong = 0; // 3095
    std::string GTCitation;              // 1026
    std::string GeogCitation;            // 2049
    std::string PCSCitation;             // 3073
};

// Decodes every entry of the bundle into the record (reset first). A key that stands twice is
// decoded twice, the later entry winning; unsupported keys are skipped. Always true.
bool GeoTiffBundleToParams(const GeoKeyBundle &bundle, GeoTiffParams &params);

// One field of the record, for listings: exactly one of the value pointers is set.
struct GeoTiffParamField {
    uint16_t keyId = 0;
    const char *name = nullptr;
    const uint16_t *shortValue = nullptr;
    const double *doubleValue = nullptr;
    const std::string *text = nullptr;
    const std::vector<double> *doubles = nullptr;

    bool IsZero() const; // 0, 0.0 or empty
};

// Visits every field of the record in declaration order.
void ForEachGeoTiffParam(const GeoTiffParams &params,
                         const std::function<void(const GeoTiffParamField &)> &visit);

} // namespace georef
