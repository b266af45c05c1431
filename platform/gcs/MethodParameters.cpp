// The parameters each projection method reads, by EPSG's method definitions (GeoTIFF's for
// the methods EPSG does not define).
#include "gcs/MethodParameters.h"

namespace gcs {
namespace {

using ID = ProjectionParameterID;
using M = ProjectionMethod;
namespace Option = ProjectionOption;

constexpr uint32_t Bit(ID id) { return 1u << static_cast<int>(id); }

// Every map projection: its grid unit, false origin and ellipsoid.
constexpr uint32_t kGrid = Bit(ID::LinearScale) | Bit(ID::XOrg) | Bit(ID::YOrg) |
                           Bit(ID::Ellipsoid) | Bit(ID::Method) | Bit(ID::Option);
constexpr uint32_t kOrigin = kGrid | Bit(ID::Lat0) | Bit(ID::Lon0);
constexpr uint32_t kOriginScale = kOrigin | Bit(ID::ScaleFactor);
constexpr uint32_t kTwoParallels = kOrigin | Bit(ID::Lat1) | Bit(ID::Lat2);
constexpr uint32_t kMeridianOnly = kGrid | Bit(ID::Lon0);
constexpr uint32_t kEvery = ~0u;

struct MethodUse {
    ProjectionMethod method;
    uint32_t parameters;
    int32_t options;
};

constexpr MethodUse kUses[] = {
    {M::Unknown, kEvery, Option::AllBits},
    {M::Geographic, Bit(ID::Method) | Bit(ID::Option), 0},
    {M::Planar,
     Bit(ID::Method) | Bit(ID::Option) | Bit(ID::LinearScale) | Bit(ID::XOrg) | Bit(ID::YOrg), 0},
    {M::AlbersEqualArea, kTwoParallels, 0},
    {M::AzimuthalEquidistant, kOrigin, 0},
    {M::TransverseMercatorSouth, kOriginScale, 0},
    {M::CassiniSoldner, kOrigin, 0},
    {M::Krovak, kOriginScale | Bit(ID::Azimuth) | Bit(ID::Lat1),
     Option::NorthOrientated | Option::Modified},
    {M::PseudoMercator, kOrigin, 0},
    {M::Equirectangular, kOrigin | Bit(ID::Lat1), Option::Spherical},
    {M::EquidistantConic, kTwoParallels, 0},
    {M::Gnomonic, kOrigin, 0},
    {M::HotineObliqueMercator, kOriginScale | Bit(ID::Azimuth) | Bit(ID::GridAngle),
     Option::GridAngleFromAzimuth | Option::NaturalOrigin},
    {M::Mercator, kOriginScale | Bit(ID::Lat1), Option::Spherical}, // 1SP scale, 2SP Lat1
    {M::CylindricalEqualArea, kMeridianOnly | Bit(ID::Lat1), Option::Spherical},
    {M::ObliqueMercatorSpherical, kOriginScale | Bit(ID::Lon1) | Bit(ID::Lon2) | Bit(ID::Azimuth),
     0},
    {M::LambertConformalConic2SP, kTwoParallels, 0},
    {M::LambertAzimuthalEqualArea, kOrigin, Option::Spherical},
    {M::MillerCylindrical, kOrigin, 0},
    {M::Orthographic, kOrigin, 0},
    {M::Stereographic, kOriginScale | Bit(ID::Lat1),
     Option::PolarVariantA | Option::PolarVariantB | Option::PolarVariantC},
    {M::Polyconic, kOrigin, 0},
    {M::RobinsonOld, kMeridianOnly, 0},
    {M::Robinson, kMeridianOnly, 0},
    {M::Sinusoidal, kMeridianOnly, 0},
    {M::TransverseMercator, kOriginScale, 0},
    {M::UTM, kOriginScale | Bit(ID::South), 0},
    {M::VanDerGrinten, kMeridianOnly, 0},
    {M::HotineObliqueMercatorTwoPoint,
     kOriginScale | Bit(ID::Lat1) | Bit(ID::Lat2) | Bit(ID::Lon1) | Bit(ID::Lon2),
     Option::GridAngleFromAzimuth | Option::NaturalOrigin},
    {M::NewZealandMapGrid, kOrigin, 0},
    {M::LambertConformalConic1SP, kOriginScale, 0},
    {M::EqualEarth, kMeridianOnly, 0},
    {M::LambertConformalConicWest, kOriginScale, 0},
    {M::ColombiaUrban, kOrigin | Bit(ID::Height), 0},
    {M::Bonne, kOrigin, Option::SouthOrientated},
    {M::LabordeObliqueMercator, kOriginScale | Bit(ID::Azimuth), 0},
    {M::LambertConformalConicMichigan, kTwoParallels | Bit(ID::ScaleFactor), 0},
    {M::LambertConformalConicBelgium, kTwoParallels, 0},
    {M::LambertConicNearConformal, kOriginScale, 0},
    {M::HyperbolicCassiniSoldner, kOrigin, 0},
    {M::ModifiedAzimuthalEquidistant, kOrigin, 0},
    {M::Guam, kOrigin, 0},
};

const MethodUse *FindUse(ProjectionMethod method) {
    for (const MethodUse &use : kUses) {
        if (use.method == method)
            return &use;
    }
    return nullptr;
}

// Polar stereographic variants B and C are fixed by the latitude of true scale (Lat1) and
// have no scale factor; the oblique form and variant A have a scale factor and no Lat1.
uint32_t StereographicForm(uint32_t parameters, int32_t option) {
    if ((option & (Option::PolarVariantB | Option::PolarVariantC)) != 0)
        return parameters & ~Bit(ID::ScaleFactor);
    return parameters & ~Bit(ID::Lat1);
}

} // namespace

bool MethodUsesParameter(ProjectionMethod method, int32_t option, ProjectionParameterID id) {
    const MethodUse *use = FindUse(method);
    const int bit = static_cast<int>(id);
    if (!use || bit < 0 || bit >= 32)
        return false;
    uint32_t parameters = use->parameters;
    if (method == M::Stereographic)
        parameters = StereographicForm(parameters, option);
    return (parameters & (1u << bit)) != 0;
}

int32_t MethodOptionBits(ProjectionMethod method) {
    const MethodUse *use = FindUse(method);
    return use ? use->options : 0;
}

} // namespace gcs
