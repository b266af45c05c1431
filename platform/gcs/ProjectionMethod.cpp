// Names of the projection methods.
#include "gcs/ProjectionMethod.h"

#include <iterator>

namespace gcs {
namespace {

struct MethodName {
    ProjectionMethod method;
    const wchar_t *name;
};

using M = ProjectionMethod;
constexpr MethodName kMethodNames[] = {
    {M::Unknown, L"Unknown"},
    {M::Geographic, L"Geographic"},
    {M::Planar, L"Planar"},
    {M::AlbersEqualArea, L"Albers Equal Area"},
    {M::AzimuthalEquidistant, L"Azimuthal Equidistant"},
    {M::TransverseMercatorSouth, L"Transverse Mercator (South Orientated)"},
    {M::CassiniSoldner, L"Cassini-Soldner"},
    {M::Krovak, L"Krovak"},
    {M::PseudoMercator, L"Popular Visualisation Pseudo Mercator"},
    {M::Equirectangular, L"Equirectangular"},
    {M::EquidistantConic, L"Equidistant Conic"},
    {M::Gnomonic, L"Gnomonic"},
    {M::HotineObliqueMercator, L"Hotine Oblique Mercator"},
    {M::Mercator, L"Mercator"},
    {M::CylindricalEqualArea, L"Lambert Cylindrical Equal Area"},
    {M::ObliqueMercatorSpherical, L"Oblique Mercator (Spherical)"},
    {M::LambertConformalConic2SP, L"Lambert Conformal Conic (2SP)"},
    {M::LambertAzimuthalEqualArea, L"Lambert Azimuthal Equal Area"},
    {M::MillerCylindrical, L"Miller Cylindrical"},
    {M::Orthographic, L"Orthographic"},
    {M::Stereographic, L"Stereographic"},
    {M::Polyconic, L"Polyconic"},
    {M::RobinsonOld, L"Robinson"},
    {M::Robinson, L"Robinson"},
    {M::Sinusoidal, L"Sinusoidal"},
    {M::TransverseMercator, L"Transverse Mercator"},
    {M::UTM, L"Universal Transverse Mercator"},
    {M::VanDerGrinten, L"Van der Grinten"},
    {M::HotineObliqueMercatorTwoPoint, L"Hotine Oblique Mercator (Two Point)"},
    {M::NewZealandMapGrid, L"New Zealand Map Grid"},
    {M::LambertConformalConic1SP, L"Lambert Conformal Conic (1SP)"},
    {M::EqualEarth, L"Equal Earth"},
    {M::LambertConformalConicWest, L"Lambert Conformal Conic (West Orientated)"},
    {M::ColombiaUrban, L"Colombia Urban"},
    {M::Bonne, L"Bonne"},
    {M::LabordeObliqueMercator, L"Laborde Oblique Mercator"},
    {M::LambertConformalConicMichigan, L"Lambert Conformal Conic (2SP Michigan)"},
    {M::LambertConformalConicBelgium, L"Lambert Conformal Conic (2SP Belgium)"},
    {M::LambertConicNearConformal, L"Lambert Conic Near-Conformal"},
    {M::HyperbolicCassiniSoldner, L"Hyperbolic Cassini-Soldner"},
    {M::ModifiedAzimuthalEquidistant, L"Modified Azimuthal Equidistant"},
    {M::Guam, L"Guam Projection"},
};

const MethodName *FindMethod(int32_t value) {
    for (const MethodName &entry : kMethodNames) {
        if (static_cast<int32_t>(entry.method) == value)
            return &entry;
    }
    return nullptr;
}

} // namespace

bool IsValidProjectionMethod(int32_t value) { return FindMethod(value) != nullptr; }

const wchar_t *ProjectionMethodName(ProjectionMethod method) {
    const MethodName *entry = FindMethod(static_cast<int32_t>(method));
    return entry ? entry->name : L"Unknown";
}

bool MethodNeedsEllipsoid(ProjectionMethod method) {
    return method != ProjectionMethod::Unknown && method != ProjectionMethod::Planar;
}

} // namespace gcs
