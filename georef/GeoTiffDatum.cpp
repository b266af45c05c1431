// Ellipsoids and datums from GeogEllipsoid, the user-defined axis keys, GeogGeodeticDatum and
// GeogToWGS84.
#include "georef/GeoTiffDatum.h"

#include "gcs/KnownLists.h"
#include "georef/GeoTiffParams.h"

namespace georef {
namespace {

using gcs::DatumMethod;
using gcs::DatumParameterID;

// Lists keep index 0 for unknown and 1 for the user-defined template.
constexpr int kFirstListed = 2;
constexpr int kUserDefinedTemplate = 1;

constexpr double kSphere6370 = 6370000.0;

bool EllipsoidFromAxes(const GeoTiffParams &params, gcs::EllipsoidDef &ellipsoid) {
    const double major = params.GeogSemiMajorAxis;
    const double flattening = params.GeogInvFlattening != 0.0
                                  ? 1.0 / params.GeogInvFlattening
                                  : 1.0 - params.GeogSemiMinorAxis / major;
    const gcs::EllipsoidList &list = gcs::GCSKnownEllipsoidsList;
    const int index = list.FindByDimensions(major, flattening);
    if (index >= list.First()) {
        ellipsoid = *list.GetEllipsoid(index);
        return true;
    }
    if (flattening > 0.0) {
        ellipsoid = gcs::EllipsoidDef::FromFlattening(major, flattening);
        return true;
    }
    return false;
}

} // namespace

bool GeoTiffEllipsoidFromParams(const GeoTiffParams &params, gcs::EllipsoidDef &ellipsoid) {
    const gcs::EllipsoidList &list = gcs::GCSKnownEllipsoidsList;
    const int index = list.FindByPOSCNumber(params.GeogEllipsoid);
    if (index >= kFirstListed) {
        ellipsoid = *list.GetEllipsoid(index);
        return true;
    }
    if (params.GeogEllipsoid == kUserDefined && params.GeogSemiMajorAxis > 0.0)
        return EllipsoidFromAxes(params, ellipsoid);
    return false;
}

gcs::EllipsoidDef GeoTiffClarke1866() {
    const gcs::EllipsoidList &list = gcs::GCSKnownEllipsoidsList;
    const gcs::EllipsoidDef *clarke = list.GetEllipsoid(list.FindByToken("ELLIPSOID_CLARKE_1866"));
    return clarke ? *clarke : gcs::EllipsoidDef{};
}

bool GeoTiffKnownDatum(int32_t code, gcs::DatumDef &datum) {
    const gcs::DatumList &list = gcs::GCSKnownDatumsList;
    const int index = list.FindByPOSCNumber(code);
    if (index < kFirstListed)
        return false;
    datum = *list.GetDatum(index);
    return true;
}

gcs::DatumDef GeoTiffUserDefinedDatum(const GeoTiffParams &params) {
    gcs::DatumDef datum = *gcs::GCSKnownDatumsList.GetDatum(kUserDefinedTemplate);
    gcs::EllipsoidDef ellipsoid;
    if (!GeoTiffEllipsoidFromParams(params, ellipsoid))
        ellipsoid = GeoTiffClarke1866();
    datum.SetParameter(DatumParameterID::Ellipsoid, ellipsoid);
    return datum;
}

bool GeoTiffDatumFromToWGS84(const GeoTiffParams &params, gcs::DatumDef &datum) {
    const std::vector<double> &values = params.GeogToWGS84;
    if (values.size() != 3 && values.size() != 7)
        return false;
    const DatumMethod method =
        values.size() == 7 ? DatumMethod::SevenParameter : DatumMethod::ThreeParameter;
    datum.SetMethod(method, false);
    datum.SetParameter(DatumParameterID::UserDefined, 1.0);
    for (size_t k = 0; k < values.size(); ++k)
        datum.SetParameter(static_cast<DatumParameterID>(5 + k), values[k]);
    if (params.GeogPrimeMeridianLong != 0.0)
        datum.SetParameter(DatumParameterID::PrimeMeridian, params.GeogPrimeMeridianLong);
    gcs::EllipsoidDef ellipsoid;
    GeoTiffEllipsoidFromParams(params, ellipsoid);
    datum.SetParameter(DatumParameterID::Ellipsoid, ellipsoid);
    // A 6370 km sphere with a shift is taken as known by its ellipsoid alone.
    if (ellipsoid.GetMajorRadius() == kSphere6370 && ellipsoid.GetMinorRadius() == kSphere6370 &&
        method == DatumMethod::ThreeParameter)
        datum.SetMethod(DatumMethod::EllipsoidOnly, false);
    return true;
}

} // namespace georef
