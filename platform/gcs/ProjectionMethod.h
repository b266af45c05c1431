// Projection methods by their stored values, and the option bits some methods carry.
#pragma once
#include <cstdint>

namespace gcs {

// Values are stored in files and tables: never renumber. 32 is reserved (it ends the GeoTIFF
// projection-type table). Methods from 33 up are EPSG methods without a GeoTIFF code.
enum class ProjectionMethod : int32_t {
    Unknown = 0,
    Geographic = 1, // longitude/latitude in degrees
    Planar = 2,     // a local grid without geodetic reference
    AlbersEqualArea = 3,
    AzimuthalEquidistant = 4,
    TransverseMercatorSouth = 5, // westing/southing (EPSG 9808)
    CassiniSoldner = 6,
    Krovak = 7,         // EPSG 9819; north-orientated and modified forms by option
    PseudoMercator = 8, // spherical formulas on the ellipsoid (EPSG 1024, "Web Mercator")
    Equirectangular = 9,
    EquidistantConic = 10,
    Gnomonic = 11,
    HotineObliqueMercator = 12, // azimuth form; EPSG 9812 and 9815 by option
    Mercator = 13,
    CylindricalEqualArea = 14, // Lambert cylindrical equal area (EPSG 9835, 9834)
    ObliqueMercatorSpherical = 15,
    LambertConformalConic2SP = 16,
    LambertAzimuthalEqualArea = 17,
    MillerCylindrical = 18,
    Orthographic = 19,
    Stereographic = 20, // oblique and polar forms by option
    Polyconic = 21,
    RobinsonOld = 22, // an older value for the same projection, kept for stored data
    Robinson = 23,
    Sinusoidal = 24,
    TransverseMercator = 25,
    UTM = 26, // transverse Mercator by zone; South flag for the southern hemisphere
    VanDerGrinten = 27,
    HotineObliqueMercatorTwoPoint = 28,
    NewZealandMapGrid = 29,
    LambertConformalConic1SP = 30,
    EqualEarth = 31,
    EndMarker = 32,                     // reserved, never a method
    LambertConformalConicWest = 33,     // west orientated (EPSG 9826)
    ColombiaUrban = 34,                 // EPSG 1052
    Bonne = 35,                         // EPSG 9827; south orientated (9828) by option
    LabordeObliqueMercator = 36,        // EPSG 9813
    LambertConformalConicMichigan = 37, // EPSG 1051; ScaleFactor is the ellipsoid scaling
    LambertConformalConicBelgium = 38,  // EPSG 9803
    LambertConicNearConformal = 39,     // EPSG 9817
    HyperbolicCassiniSoldner = 40,      // EPSG 9833
    ModifiedAzimuthalEquidistant = 41,  // EPSG 9832
    Guam = 42,                          // EPSG 9831
};

// Bits of the Option parameter. Each bit has one meaning whatever the method; a method
// ignores the bits that do not apply to it.
namespace ProjectionOption {
// Hotine oblique Mercator: the rectified grid angle is the azimuth (no separate value).
inline constexpr int32_t GridAngleFromAzimuth = 0x001;
// Krovak: axes point east and north (EPSG 1041) instead of south and west.
inline constexpr int32_t NorthOrientated = 0x002;
// Krovak: the modified form with EPSG's fixed polynomial correction (EPSG 1042, 1043).
inline constexpr int32_t Modified = 0x004;
// Stereographic: the polar forms. Without one of them the method is the oblique
// (double) stereographic of EPSG 9809.
inline constexpr int32_t PolarVariantA = 0x010; // origin at the pole, scale factor there
inline constexpr int32_t PolarVariantB = 0x020; // latitude of true scale in Lat1
inline constexpr int32_t PolarVariantC = 0x040; // as B, false origin at the pole
// Hotine oblique Mercator: false easting and northing are at the natural origin (EPSG 9812,
// variant A) rather than at the projection centre (EPSG 9815, variant B).
inline constexpr int32_t NaturalOrigin = 0x100;
// Spherical formulas (EPSG's "(Spherical)" methods): equirectangular, Mercator, cylindrical
// equal area, Lambert azimuthal equal area.
inline constexpr int32_t Spherical = 0x200;
// Bonne: axes point west and south (EPSG 9828).
inline constexpr int32_t SouthOrientated = 0x400;
// Every bit above; other bits are refused.
inline constexpr int32_t AllBits = 0x777;
} // namespace ProjectionOption

// True for the values of ProjectionMethod other than EndMarker.
bool IsValidProjectionMethod(int32_t value);

// A short English name such as "Transverse Mercator"; "Unknown" for other values.
const wchar_t *ProjectionMethodName(ProjectionMethod method);

// False for Unknown and Planar: every other method needs an ellipsoid (or sphere).
bool MethodNeedsEllipsoid(ProjectionMethod method);

} // namespace gcs
