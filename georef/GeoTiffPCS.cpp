// GeoTiffExtractPCS: a projection from ProjectedCSType or from the projection keys, and the
// datum that goes with it.
#include "georef/GeoTiffPCS.h"

#include "georef/GeoTiffCodes.h"
#include "georef/GeoTiffDatum.h"
#include "georef/GeoTiffParams.h"

#include <cmath>

namespace georef {
namespace {

using gcs::ProjectionMethod;
using gcs::ProjectionParameters;

constexpr uint16_t kModelProjected = 1;
constexpr uint16_t kCTPolarStereographic = 15; // ProjCoordTrans
constexpr int32_t kHotineOption = 257;         // grid angle from azimuth, natural origin
constexpr double kOneParallelTolerance = 1e-5;

// The UTM zones of WGS 84 as GeoTIFF Projection codes (ProjectionGeoKey, 16001-16060 north,
// 16101-16160 south).
constexpr uint16_t kUTMNorthFirst = 16000, kUTMNorthLast = 16060;
constexpr uint16_t kUTMSouthFirst = 16100, kUTMSouthLast = 16160;

void ConvertRecordUnits(GeoTiffParams &p, double angular, double u) {
    for (double *angle :
         {&p.ProjStdParallel, &p.ProjStdParallel2, &p.ProjOriginLong, &p.ProjOriginLat,
          &p.ProjFalseOriginLong, &p.ProjFalseOriginLat, &p.ProjCenterLong, &p.ProjCenterLat,
          &p.ProjAzimuthAngle, &p.ProjStraightVertPoleLong})
        *angle *= angular;
    for (double *length : {&p.ProjFalseEasting, &p.ProjFalseNorthing, &p.ProjFalseOriginEasting,
                           &p.ProjFalseOriginNorthing, &p.ProjCenterEasting, &p.ProjCenterNorthing})
        *length /= u;
}

// Sets `target` from `value` only while the target is still 0 and the value is not.
bool FillIfEmpty(double &target, double value) {
    if (target != 0.0 || value == 0.0)
        return false;
    target = value;
    return true;
}

void FillOrigin(const GeoTiffParams &p, ProjectionParameters &q) {
    FillIfEmpty(q.lon0, p.ProjCenterLong);
    FillIfEmpty(q.lat0, p.ProjCenterLat);
    FillIfEmpty(q.lon0, p.ProjOriginLong);
    if (FillIfEmpty(q.lat0, p.ProjOriginLat) && p.ProjCoordTrans == kCTPolarStereographic)
        q.lat1 = p.ProjOriginLat;
    FillIfEmpty(q.lon0, p.ProjFalseOriginLong);
    FillIfEmpty(q.lat0, p.ProjFalseOriginLat);
    FillIfEmpty(q.lon0, p.ProjStraightVertPoleLong);
}

void FillScaleFactor(const GeoTiffParams &p, ProjectionParameters &q) {
    if (p.ProjScaleAtOrigin != 0.0) {
        // Some polar stereographic files carry the latitude of origin in this key.
        if (p.ProjCoordTrans == kCTPolarStereographic && std::fabs(p.ProjScaleAtOrigin) == 90.0) {
            q.lat0 = p.ProjScaleAtOrigin;
            q.scaleFactor = 1.0;
        } else {
            q.scaleFactor = p.ProjScaleAtOrigin;
        }
    }
    if (p.ProjScaleAtCenter != 0.0)
        q.scaleFactor = p.ProjScaleAtCenter;
}

// Fills the parameters that are still 0 from the (converted) record.
void FillFromRecord(const GeoTiffParams &p, ProjectionParameters &q) {
    FillOrigin(p, q);
    FillScaleFactor(p, q);
    FillIfEmpty(q.lon1, p.ProjOriginLong);
    FillIfEmpty(q.lat1, p.ProjStdParallel);
    FillIfEmpty(q.lat2, p.ProjStdParallel2);
    for (double easting : {p.ProjFalseEasting, p.ProjFalseOriginEasting, p.ProjCenterEasting})
        FillIfEmpty(q.xOrg, easting);
    for (double northing : {p.ProjFalseNorthing, p.ProjFalseOriginNorthing, p.ProjCenterNorthing})
        FillIfEmpty(q.yOrg, northing);
    FillIfEmpty(q.azimuth, p.ProjAzimuthAngle);
    if (q.method == ProjectionMethod::LambertAzimuthalEqualArea && q.lat1 == 0.0)
        q.lat1 = q.lat0;
    if (q.method == ProjectionMethod::HotineObliqueMercator && q.lon1 == 0.0)
        q.lon1 = q.lon0;
}

void ApplyUTMZone(const GeoTiffParams &p, ProjectionParameters &q) {
    const bool north = p.Projection >= kUTMNorthFirst && p.Projection <= kUTMNorthLast;
    const bool south = p.Projection >= kUTMSouthFirst && p.Projection <= kUTMSouthLast;
    if (!north && !south)
        return;
    q.method = ProjectionMethod::UTM;
    q.south = south ? 1 : 0;
    // Zone z's central meridian is 6z - 183; the offsets place code 16001 (16101) in zone 1.
    const int base = north ? 12401 : 12501;
    if (q.lon0 == 0.0)
        q.lon0 = ((p.Projection - base) % 60) * 6 - 177;
}

void ApplyMethodForms(const GeoTiffParams &p, ProjectionParameters &q) {
    if (q.method == ProjectionMethod::HotineObliqueMercator) {
        q.option = kHotineOption;
        if (q.azimuth == 0.0) {
            q.method = ProjectionMethod::HotineObliqueMercatorTwoPoint;
            q.lon1 = p.ProjOriginLong;
            q.lon2 = p.ProjCenterLong;
        }
    } else if (q.method == ProjectionMethod::ObliqueMercatorSpherical) {
        q.lon1 = p.ProjOriginLong;
        q.lon2 = p.ProjCenterLong;
    }
    // The north pole whatever the keys say: south polar files come out north.
    if (p.ProjCoordTrans == kCTPolarStereographic && q.method == ProjectionMethod::Stereographic)
        q.lat0 = 90.0;
    ApplyUTMZone(p, q);
}

ProjectionParameters ParametersFromRecord(const GeoTiffParams &p, double u) {
    ProjectionParameters q;
    q.method = ProjectionMethod::Unknown;
    GeoTIFFCodeToProjType(p.ProjCoordTrans, &q.method);
    q.linearScale = 1.0;
    q.scaleFactor = 1.0;
    FillFromRecord(p, q);
    if (u != 1.0 && u != 0.0)
        q.linearScale = u;
    ApplyMethodForms(p, q);
    return q;
}

// A predefined system: its projection and datum, gaps filled from the record.
bool TakePredefinedSystem(const GeoTiffParams &p, double u, gcs::ProjectionDef &projection,
                          gcs::DatumDef &datum) {
    gcs::GCSDef system;
    if (p.ProjectedCSType == 0 ||
        !GeoTIFFCoordSysCodeToProjectionAndDatum(p.ProjectedCSType, system))
        return false;
    if (system.GetProjection())
        projection = *system.GetProjection();
    if (system.GetDatum())
        datum = *system.GetDatum();
    ProjectionParameters q;
    projection.GetParameters(q);
    FillFromRecord(p, q);
    if (u > 0.0 && u != 1.0)
        q.linearScale = u;
    projection.SetParameters(q);
    return true;
}

void BuildFromRecord(const GeoTiffParams &p, double u, gcs::ProjectionDef &projection) {
    projection.Clear();
    ProjectionParameters q = ParametersFromRecord(p, u);
    gcs::EllipsoidDef ellipsoid;
    if (GeoTiffEllipsoidFromParams(p, ellipsoid))
        q.ellipsoid = ellipsoid;
    projection.SetParameters(q);
}

// Two standard parallels that coincide make the one-parallel form.
void MergeCoincidentParallels(gcs::ProjectionDef &projection) {
    ProjectionParameters q = projection.GetParameters();
    if (q.method == ProjectionMethod::LambertConformalConic2SP &&
        std::fabs(q.lat1 - q.lat2) < kOneParallelTolerance) {
        q.method = ProjectionMethod::LambertConformalConic1SP;
        projection.SetParameters(q);
    }
}

void FillProjectedDatum(const GeoTiffParams &p, gcs::DatumDef &datum) {
    if (!datum.IsUnknown())
        return;
    if (p.GeogGeodeticDatum == kUserDefined)
        datum = GeoTiffUserDefinedDatum(p);
    else if (p.GeogGeodeticDatum != 0)
        GeoTiffKnownDatum(p.GeogGeodeticDatum, datum);
}

} // namespace

double GeoTiffLinearUnitsPerMeter(const GeoTiffParams &p) {
    double u = LinearScaleFromPOSCNumber(p.ProjLinearUnits);
    if (u == 0.0)
        u = 1.0;
    if ((p.ProjLinearUnits == 0 || p.ProjLinearUnits == kUserDefined) &&
        p.ProjLinearUnitSize != 0.0)
        u = 1.0 / p.ProjLinearUnitSize;
    return u;
}

double GeoTiffAngularFactor(const GeoTiffParams &p) {
    switch (p.GeogAngularUnits) {
    case 9101: // radian
        return 57.29577951308232;
    case 9103: // arc-minute
        return 0.016666666666666666;
    case 9104: // arc-second
        return 0.0002777777777777778;
    default:
        return 1.0;
    }
}

bool GeoTiffExtractPCS(GeoTiffParams &p, gcs::ProjectionDef *projection, gcs::DatumDef *datum,
                       gcs::WarpDef *warp, double *linearUnitsPerMeter) {
    if (!projection || !datum || !warp)
        return false;
    if (p.GTModelType != kModelProjected)
        return true;
    const double u = GeoTiffLinearUnitsPerMeter(p);
    if (linearUnitsPerMeter)
        *linearUnitsPerMeter = u;
    ConvertRecordUnits(p, GeoTiffAngularFactor(p), u);
    TakePredefinedSystem(p, u, *projection, *datum);
    if (projection->IsUnknown(true))
        BuildFromRecord(p, u, *projection);
    MergeCoincidentParallels(*projection);
    FillProjectedDatum(p, *datum);
    return true;
}

} // namespace georef
