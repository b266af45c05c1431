// GeoKeys from a GCSDef: EPSG codes where the definition has one, user-defined keys built with
// the GeoTIFF module's reverse code lookups otherwise (GeoTIFF 1.1 key and code numbers).
#include "GeoTiffKeysOut.h"

#include "gcs/GCSDef.h"
#include "gcs/KnownLists.h"
#include "georef/GeoTiffCodes.h"
#include "shr/Strings.h"

#include <algorithm>
#include <cmath>

namespace iosid::host {
namespace {

using gcs::ProjectionMethod;
using gcs::ProjectionParameters;

enum Key : uint16_t {
    GTModelType = 1024,
    GTRasterType = 1025,
    GTCitation = 1026,
    GeographicType = 2048,
    GeogGeodeticDatum = 2050,
    GeogPrimeMeridian = 2051,
    GeogAngularUnits = 2054,
    GeogEllipsoid = 2056,
    GeogSemiMajorAxis = 2057,
    GeogSemiMinorAxis = 2058,
    GeogInvFlattening = 2059,
    GeogPrimeMeridianLong = 2061,
    GeogTOWGS84 = 2062,
    ProjectedCSType = 3072,
    Projection = 3074,
    ProjCoordTrans = 3075,
    ProjLinearUnits = 3076,
    ProjLinearUnitSize = 3077,
    ProjStdParallel1 = 3078,
    ProjStdParallel2 = 3079,
    ProjNatOriginLong = 3080,
    ProjNatOriginLat = 3081,
    ProjFalseEasting = 3082,
    ProjFalseNorthing = 3083,
    ProjFalseOriginLong = 3084,
    ProjFalseOriginLat = 3085,
    ProjFalseOriginEasting = 3086,
    ProjFalseOriginNorthing = 3087,
    ProjCenterLong = 3088,
    ProjCenterLat = 3089,
    ProjScaleAtNatOrigin = 3092,
    ProjScaleAtCenter = 3093,
    ProjAzimuthAngle = 3094,
    ProjStraightVertPoleLong = 3095,
    ProjRectifiedGridAngle = 3096,
};

constexpr uint16_t kUserDefined = 32767;
constexpr uint16_t kModelProjected = 1, kModelGeographic = 2;
constexpr uint16_t kPixelIsArea = 1;
constexpr uint16_t kDegree = 9102;

// ProjCoordTrans values the module's table has no row for, or where the method's form decides.
constexpr int32_t kCTTransverseMercator = 1, kCTHotine = 3, kCTLambertConic2SP = 8,
                  kCTLambertConic1SP = 9, kCTAlbers = 11, kCTEquidistantConic = 13,
                  kCTPolarStereographic = 15, kCTObliqueStereographic = 16, kCTEquirectangular = 17,
                  kCTRobinson = 23, kCTSinusoidal = 24, kCTVanDerGrinten = 25,
                  kCTTransverseMercatorSouth = 27;

constexpr double kUtmScale = 0.9996, kUtmFalseEasting = 500000.0, kUtmSouthNorthing = 10000000.0;

class KeyList {
public:
    void Short(uint16_t id, uint16_t value) { Add({id, GeoKeyValue::Kind::Short, value, {}, {}}); }
    void Double(uint16_t id, double value) { Doubles(id, {value}); }
    void Doubles(uint16_t id, std::vector<double> values) {
        Add({id, GeoKeyValue::Kind::Double, 0, std::move(values), {}});
    }
    void Ascii(uint16_t id, const std::wstring &text) {
        if (!text.empty())
            Add({id, GeoKeyValue::Kind::Ascii, 0, {}, shr::WtoA(text)});
    }
    std::vector<GeoKeyValue> Sorted() {
        std::stable_sort(keys_.begin(), keys_.end(),
                         [](const GeoKeyValue &a, const GeoKeyValue &b) { return a.id < b.id; });
        return std::move(keys_);
    }

private:
    void Add(GeoKeyValue key) {
        keys_.erase(std::remove_if(keys_.begin(), keys_.end(),
                                   [&](const GeoKeyValue &k) { return k.id == key.id; }),
                    keys_.end());
        keys_.push_back(std::move(key));
    }
    std::vector<GeoKeyValue> keys_;
};

bool FitsShort(int32_t code) { return code > 0 && code < kUserDefined; }

double UnitsPerMeter(const ProjectionParameters &p) {
    return p.linearScale > 0.0 ? p.linearScale : 1.0;
}

void AddLinearUnits(KeyList &keys, double unitsPerMeter) {
    const int32_t code = georef::LinearScaleToPOSCNumber(unitsPerMeter);
    if (FitsShort(code)) {
        keys.Short(ProjLinearUnits, static_cast<uint16_t>(code));
        return;
    }
    keys.Short(ProjLinearUnits, kUserDefined);
    keys.Double(ProjLinearUnitSize, 1.0 / unitsPerMeter);
}

void AddEllipsoid(KeyList &keys, const gcs::EllipsoidDef &ellipsoid) {
    if (ellipsoid.IsUnknown())
        return;
    if (FitsShort(ellipsoid.GetPOSC())) {
        keys.Short(GeogEllipsoid, static_cast<uint16_t>(ellipsoid.GetPOSC()));
        return;
    }
    keys.Short(GeogEllipsoid, kUserDefined);
    keys.Double(GeogSemiMajorAxis, ellipsoid.GetMajorRadius());
    if (ellipsoid.IsSphere())
        keys.Double(GeogSemiMinorAxis, ellipsoid.GetMajorRadius());
    else
        keys.Double(GeogInvFlattening, ellipsoid.GetInverseFlattening());
}

// The geographic part of a user-defined system: datum, ellipsoid, prime meridian, shift.
void AddGeographic(KeyList &keys, const gcs::GCSDef &system) {
    using gcs::DatumParameterID;
    keys.Short(GeographicType, kUserDefined);
    keys.Short(GeogAngularUnits, kDegree);
    const gcs::DatumDef *datum = system.GetDatum();
    const gcs::ProjectionDef *projection = system.GetProjection();
    gcs::EllipsoidDef ellipsoid;
    if (datum && !datum->GetEllipsoid().IsUnknown())
        ellipsoid = datum->GetEllipsoid();
    else if (projection)
        ellipsoid = projection->GetEllipsoid();
    const bool knownDatum = datum && FitsShort(datum->GetPOSC());
    keys.Short(GeogGeodeticDatum,
               knownDatum ? static_cast<uint16_t>(datum->GetPOSC()) : kUserDefined);
    if (!knownDatum)
        AddEllipsoid(keys, ellipsoid);
    if (!datum)
        return;
    const double meridian = datum->GetParameter(DatumParameterID::PrimeMeridian);
    if (meridian != 0.0) {
        keys.Short(GeogPrimeMeridian, kUserDefined);
        keys.Double(GeogPrimeMeridianLong, meridian);
    }
    const int shifts = datum->GetMethod() == gcs::DatumMethod::ThreeParameter   ? 3
                       : datum->GetMethod() == gcs::DatumMethod::SevenParameter ? 7
                                                                                : 0;
    std::vector<double> toWgs84;
    for (int k = 0; k < shifts; ++k)
        toWgs84.push_back(datum->GetParameter(static_cast<DatumParameterID>(5 + k)));
    if (!toWgs84.empty())
        keys.Doubles(GeogTOWGS84, toWgs84);
}

// The ProjCoordTrans value: the module's table, with the forms it does not tell apart.
int32_t CoordTransFor(const ProjectionParameters &p) {
    using gcs::ProjectionOption::PolarVariantA;
    using gcs::ProjectionOption::PolarVariantB;
    using gcs::ProjectionOption::PolarVariantC;
    switch (p.method) {
    case ProjectionMethod::UTM:
        return kCTTransverseMercator;
    case ProjectionMethod::LambertConformalConic1SP:
        return kCTLambertConic1SP;
    case ProjectionMethod::TransverseMercatorSouth:
        return kCTTransverseMercatorSouth;
    case ProjectionMethod::Stereographic:
        return p.option & (PolarVariantA | PolarVariantB | PolarVariantC) ? kCTPolarStereographic
                                                                          : kCTObliqueStereographic;
    default:
        break;
    }
    int32_t code = 0;
    return georef::GeoTIFFProjTypeToCode(p.method, &code) ? code : 0;
}

// A UTM zone as the transverse Mercator it is.
ProjectionParameters ExpandUtm(ProjectionParameters p) {
    p.lat0 = 0.0;
    p.scaleFactor = kUtmScale;
    p.xOrg = kUtmFalseEasting;
    p.yOrg = p.south ? kUtmSouthNorthing : 0.0;
    return p;
}

void AddParameters(KeyList &keys, int32_t ct, const ProjectionParameters &p) {
    const double u = UnitsPerMeter(p);
    const double easting = p.xOrg * u, northing = p.yOrg * u;
    auto natural = [&] {
        keys.Double(ProjNatOriginLong, p.lon0);
        keys.Double(ProjNatOriginLat, p.lat0);
        keys.Double(ProjFalseEasting, easting);
        keys.Double(ProjFalseNorthing, northing);
    };
    auto centre = [&] {
        keys.Double(ProjCenterLong, p.lon0);
        keys.Double(ProjCenterLat, p.lat0);
        keys.Double(ProjFalseEasting, easting);
        keys.Double(ProjFalseNorthing, northing);
    };
    switch (ct) {
    case kCTLambertConic2SP:
        keys.Double(ProjStdParallel1, p.lat1);
        keys.Double(ProjStdParallel2, p.lat2);
        keys.Double(ProjFalseOriginLong, p.lon0);
        keys.Double(ProjFalseOriginLat, p.lat0);
        keys.Double(ProjFalseOriginEasting, easting);
        keys.Double(ProjFalseOriginNorthing, northing);
        return;
    case kCTAlbers:
    case kCTEquidistantConic:
        keys.Double(ProjStdParallel1, p.lat1);
        keys.Double(ProjStdParallel2, p.lat2);
        natural();
        return;
    case kCTPolarStereographic: {
        const bool trueScaleLatitude = p.option & gcs::ProjectionOption::PolarVariantB;
        keys.Double(ProjStraightVertPoleLong, p.lon0);
        keys.Double(ProjNatOriginLat, trueScaleLatitude ? p.lat1 : p.lat0);
        keys.Double(ProjScaleAtNatOrigin, p.scaleFactor);
        keys.Double(ProjFalseEasting, easting);
        keys.Double(ProjFalseNorthing, northing);
        return;
    }
    case kCTHotine:
        centre();
        keys.Double(ProjAzimuthAngle, p.azimuth);
        keys.Double(ProjRectifiedGridAngle, p.option & gcs::ProjectionOption::GridAngleFromAzimuth
                                                ? p.azimuth
                                                : p.gridAngle);
        keys.Double(ProjScaleAtCenter, p.scaleFactor);
        return;
    case kCTEquirectangular:
        centre();
        keys.Double(ProjStdParallel1, p.lat1);
        return;
    case kCTRobinson:
    case kCTSinusoidal:
    case kCTVanDerGrinten:
        keys.Double(ProjCenterLong, p.lon0);
        keys.Double(ProjFalseEasting, easting);
        keys.Double(ProjFalseNorthing, northing);
        return;
    default:
        break;
    }
    if (p.method == ProjectionMethod::AzimuthalEquidistant ||
        p.method == ProjectionMethod::Gnomonic ||
        p.method == ProjectionMethod::LambertAzimuthalEqualArea ||
        p.method == ProjectionMethod::Orthographic ||
        p.method == ProjectionMethod::MillerCylindrical ||
        p.method == ProjectionMethod::NewZealandMapGrid) {
        centre();
        return;
    }
    // Transverse Mercator and its kin, Mercator, Lambert 1SP, stereographic, Cassini,
    // polyconic: a natural origin with a scale factor there.
    natural();
    keys.Double(ProjScaleAtNatOrigin, p.scaleFactor);
    if (p.method == ProjectionMethod::Mercator && p.lat1 != 0.0)
        keys.Double(ProjStdParallel1, p.lat1);
}

void AddUserProjected(KeyList &keys, const gcs::GCSDef &system, std::vector<std::string> *notes) {
    ProjectionParameters p = system.GetProjection()->GetParameters();
    if (p.method == ProjectionMethod::UTM)
        p = ExpandUtm(p);
    keys.Short(GTModelType, kModelProjected);
    keys.Short(ProjectedCSType, kUserDefined);
    keys.Short(Projection, kUserDefined);
    const int32_t ct = CoordTransFor(p);
    if (ct != 0) {
        keys.Short(ProjCoordTrans, static_cast<uint16_t>(ct));
        AddParameters(keys, ct, p);
    } else if (notes) {
        notes->push_back("projection method " + shr::WtoA(gcs::ProjectionMethodName(p.method)) +
                         " has no GeoTIFF code; only its datum and units are written");
    }
    AddLinearUnits(keys, UnitsPerMeter(p));
    AddGeographic(keys, system);
}

// A predefined projected system whose unit was changed (the importer sets the file's unit on
// the system it found) says so with ProjLinearUnits.
void AddUnitOverride(KeyList &keys, const gcs::GCSDef &system) {
    const gcs::ProjectionDef *projection = system.GetProjection();
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    const gcs::GCSDef *known = list.GetSystem(list.FindByPOSCNumber(system.GetPOSC()));
    if (!projection || !known || !known->GetProjection())
        return;
    const double ours = UnitsPerMeter(projection->GetParameters());
    const double theirs = UnitsPerMeter(known->GetProjection()->GetParameters());
    if (std::fabs(ours - theirs) > 1e-12 * theirs)
        AddLinearUnits(keys, ours);
}

bool IsGeographic(const gcs::GCSDef &system) {
    const gcs::ProjectionDef *projection = system.GetProjection();
    return projection ? projection->GetMethod() == ProjectionMethod::Geographic
                      : system.HasDatum(true);
}

} // namespace

std::vector<GeoKeyValue> GeoKeysFor(const gcs::CSDef &system, std::vector<std::string> *notes) {
    // Map coordinates without a datum: tie points only, no key directory, so readers report no
    // coordinate system instead of inventing a local one.
    if (system.GetType() != gcs::CSType::Georeferenced)
        return {};
    KeyList keys;
    keys.Short(GTRasterType, kPixelIsArea);
    const auto &gcsDef = static_cast<const gcs::GCSDef &>(system);
    keys.Ascii(GTCitation, gcsDef.GetName());
    const bool geographic = IsGeographic(gcsDef);
    const int32_t code = gcsDef.GetPOSC();
    if (FitsShort(code)) {
        keys.Short(GTModelType, geographic ? kModelGeographic : kModelProjected);
        keys.Short(geographic ? GeographicType : ProjectedCSType, static_cast<uint16_t>(code));
        if (!geographic)
            AddUnitOverride(keys, gcsDef);
        return keys.Sorted();
    }
    if (geographic) {
        keys.Short(GTModelType, kModelGeographic);
        AddGeographic(keys, gcsDef);
    } else if (gcsDef.HasProjection(false, true)) {
        AddUserProjected(keys, gcsDef, notes);
    } else if (notes) {
        notes->push_back("the coordinate system has neither a known projection nor a datum");
    }
    return keys.Sorted();
}

} // namespace iosid::host
