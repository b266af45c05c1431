"""EPSG projection methods and parameters, and what they become in the library.

Names are those of gcs::ProjectionMethod, gcs::ProjectionParameterID and
gcs::ProjectionOption, so the C++ compiler checks them when it builds the tables.
"""

# EPSG parameter code -> (our parameter, kind). The kind picks the unit conversion.
ANGLE, LENGTH, SCALE = "angle", "length", "scale"
PARAMETERS = {
    8801: ("Lat0", ANGLE),  # latitude of natural origin
    8802: ("Lon0", ANGLE),  # longitude of natural origin
    8805: ("ScaleFactor", SCALE),  # scale factor at natural origin
    8806: ("XOrg", LENGTH),  # false easting
    8807: ("YOrg", LENGTH),  # false northing
    8811: ("Lat0", ANGLE),  # latitude of projection centre
    8812: ("Lon0", ANGLE),  # longitude of projection centre
    8813: ("Azimuth", ANGLE),  # azimuth of initial line
    8814: ("GridAngle", ANGLE),  # angle from rectified to skew grid
    8815: ("ScaleFactor", SCALE),  # scale factor on initial line
    8816: ("XOrg", LENGTH),  # easting at projection centre
    8817: ("YOrg", LENGTH),  # northing at projection centre
    8818: ("Lat1", ANGLE),  # latitude of pseudo standard parallel
    8819: ("ScaleFactor", SCALE),  # scale factor on pseudo standard parallel
    8821: ("Lat0", ANGLE),  # latitude of false origin
    8822: ("Lon0", ANGLE),  # longitude of false origin
    8823: ("Lat1", ANGLE),  # latitude of 1st standard parallel
    8824: ("Lat2", ANGLE),  # latitude of 2nd standard parallel
    8826: ("XOrg", LENGTH),  # easting at false origin
    8827: ("YOrg", LENGTH),  # northing at false origin
    8832: ("Lat1", ANGLE),  # latitude of standard parallel
    8833: ("Lon0", ANGLE),  # longitude of origin
    1036: ("Azimuth", ANGLE),  # co-latitude of cone axis
    1038: ("ScaleFactor", SCALE),  # ellipsoid scaling factor
    1039: ("Height", LENGTH),  # projection plane origin height
}

# EPSG method code -> (our method, option bits).
METHODS = {
    9807: ("TransverseMercator", []),
    9808: ("TransverseMercatorSouth", []),
    9801: ("LambertConformalConic1SP", []),
    9802: ("LambertConformalConic2SP", []),
    9803: ("LambertConformalConicBelgium", []),
    1051: ("LambertConformalConicMichigan", []),
    9817: ("LambertConicNearConformal", []),
    9826: ("LambertConformalConicWest", []),
    9822: ("AlbersEqualArea", []),
    9806: ("CassiniSoldner", []),
    9833: ("HyperbolicCassiniSoldner", []),
    9809: ("Stereographic", []),
    9810: ("Stereographic", ["PolarVariantA"]),
    9829: ("Stereographic", ["PolarVariantB"]),
    9830: ("Stereographic", ["PolarVariantC"]),
    9812: ("HotineObliqueMercator", ["NaturalOrigin"]),
    9815: ("HotineObliqueMercator", []),
    9813: ("LabordeObliqueMercator", []),
    9820: ("LambertAzimuthalEqualArea", []),
    1027: ("LambertAzimuthalEqualArea", ["Spherical"]),
    9804: ("Mercator", []),
    9805: ("Mercator", []),
    9841: ("Mercator", ["Spherical"]),
    1026: ("Mercator", ["Spherical"]),
    1024: ("PseudoMercator", []),
    9818: ("Polyconic", []),
    9819: ("Krovak", []),
    1041: ("Krovak", ["NorthOrientated"]),
    1042: ("Krovak", ["Modified"]),
    1043: ("Krovak", ["Modified", "NorthOrientated"]),
    1052: ("ColombiaUrban", []),
    1078: ("EqualEarth", []),
    9842: ("Equirectangular", []),
    1028: ("Equirectangular", []),
    9823: ("Equirectangular", ["Spherical"]),
    1029: ("Equirectangular", ["Spherical"]),
    9835: ("CylindricalEqualArea", []),
    9834: ("CylindricalEqualArea", ["Spherical"]),
    9827: ("Bonne", []),
    9828: ("Bonne", ["SouthOrientated"]),
    9811: ("NewZealandMapGrid", []),
    9831: ("Guam", []),
    9832: ("ModifiedAzimuthalEquidistant", []),
    1125: ("AzimuthalEquidistant", []),
    9840: ("Orthographic", []),
}

# Methods the library leaves out, with why.
LEFT_OUT_METHODS = {
    9824: "the zone is chosen per point from its longitude, so it is no single projection",
    9816: "a lookup grid of kilometre squares rather than a projection formula",
    1111: "a three-dimensional projected system (ellipsoidal height kept)",
}

# UTM zones are EPSG conversions 16001-16060 (north) and 16101-16160 (south).
UTM_NORTH = range(16001, 16061)
UTM_SOUTH = range(16101, 16161)


def utm_zone(conversion_code, values):
    """(zone, south) when the conversion is an EPSG UTM zone with the standard values."""
    if conversion_code in UTM_NORTH:
        zone, south, false_northing = conversion_code - 16000, 0, 0.0
    elif conversion_code in UTM_SOUTH:
        zone, south, false_northing = conversion_code - 16100, 1, 10000000.0
    else:
        return None
    expected = {"Lat0": 0.0, "Lon0": zone * 6.0 - 183.0, "ScaleFactor": 0.9996,
                "XOrg": 500000.0, "YOrg": false_northing}
    if any(values.get(name) != value for name, value in expected.items()):
        return None
    return zone, south


def derived_values(method_code, values):
    """Values a method implies without EPSG stating them."""
    if method_code in (9829, 9830):  # polar stereographic B and C: origin at the pole
        values["Lat0"] = 90.0 if values.get("Lat1", 0.0) >= 0.0 else -90.0
    return values
