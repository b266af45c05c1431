"""Reads the EPSG units, ellipsoids, datums and coordinate systems out of PROJ's proj.db."""
import re
import sqlite3

import epsg_units as units_mod

# Units of rates and seismic bin widths are kept out of the linear-unit list.
RATE_NAME = re.compile(r"\bper\b")
HELMERT_TRANSLATION = 9603  # geocentric translations (geog2D domain)
HELMERT_POSITION_VECTOR = 9606
HELMERT_COORDINATE_FRAME = 9607
WGS84_GEOGRAPHIC = 4326
WGS84_DATUM = 6326
ENSEMBLE_SUFFIX = " ensemble"


def open_database(path):
    return sqlite3.connect(f"file:{path}?mode=ro", uri=True)


def read_units(db):
    """All EPSG units by code: name, type and factor to the SI unit (None for the packed
    sexagesimal forms)."""
    rows = db.execute("select code, name, type, conv_factor, deprecated from unit_of_measure"
                      " where auth_name = 'EPSG'")
    return {code: {"code": code, "name": name, "type": kind, "factor": factor,
                   "deprecated": bool(deprecated)}
            for code, name, kind, factor, deprecated in rows}


def linear_units(units):
    """(kept, left_out) linear units, kept in code order."""
    kept, left_out = [], []
    for unit in sorted(units.values(), key=lambda u: u["code"]):
        if unit["type"] != "length":
            continue
        if RATE_NAME.search(unit["name"]):
            left_out.append((unit["code"], unit["name"], "a rate, not a length"))
        elif unit["deprecated"] and unit["name"].startswith("Bin width"):
            left_out.append((unit["code"], unit["name"], "a deprecated seismic bin width"))
        else:
            kept.append(unit)
    return kept, left_out


def ellipsoid_token(name):
    return "ELLIPSOID_" + re.sub(r"[^A-Z0-9]+", "_", name.upper()).strip("_")


def read_ellipsoids(db, units):
    rows = db.execute("select code, name, semi_major_axis, uom_code, inv_flattening,"
                      " semi_minor_axis, deprecated from ellipsoid where auth_name = 'EPSG'"
                      " order by code")
    result = []
    for code, name, major, uom, inv_flattening, minor, deprecated in rows:
        major = units_mod.length_to_metres(major, uom, units)
        if inv_flattening:
            flattening = 1.0 / inv_flattening
            minor = major * (1.0 - flattening)
        else:
            minor = units_mod.length_to_metres(minor, uom, units)
            flattening = (major - minor) / major
        result.append({"code": code, "name": name, "major": major, "minor": minor,
                       "flattening": flattening, "deprecated": bool(deprecated), "uses": 0})
    assign_tokens(result)
    return result


def assign_tokens(ellipsoids):
    """Tokens from names; when names collide, current entries keep the plain token and the
    others get their code appended."""
    taken = set()
    for entry in sorted(ellipsoids, key=lambda e: (e["deprecated"], e["code"])):
        token = ellipsoid_token(entry["name"])
        if token in taken:
            token = f"{token}_{entry['code']}"
        taken.add(token)
        entry["token"] = token


def read_prime_meridians(db, units):
    rows = db.execute("select code, longitude, uom_code from prime_meridian"
                      " where auth_name = 'EPSG'")
    return {code: units_mod.angle_to_degrees(value, uom, units) for code, value, uom in rows}


def read_datums(db, units, ellipsoid_index):
    meridians = read_prime_meridians(db, units)
    shifts = read_wgs84_shifts(db, units)
    rows = db.execute("select code, name, ellipsoid_code, prime_meridian_code, deprecated,"
                      " ensemble_accuracy is not null from geodetic_datum"
                      " where auth_name = 'EPSG' order by code")
    result = []
    for code, name, ellipsoid, meridian, deprecated, ensemble in rows:
        if ensemble and name.endswith(ENSEMBLE_SUFFIX):
            name = name[:-len(ENSEMBLE_SUFFIX)]  # the name the ensemble's members share
        method, values = "EllipsoidOnly", [0.0] * 7
        if code == WGS84_DATUM:
            method = "ThreeParameter"
        elif code in shifts:
            method, values = shifts[code]
        result.append({"code": code, "name": name, "ellipsoid": ellipsoid_index[ellipsoid],
                       "prime_meridian": meridians[meridian], "method": method,
                       "shifts": values, "deprecated": bool(deprecated)})
    return result


def read_wgs84_shifts(db, units):
    """Datum code -> (method, 7 values) for datums with exactly one current Helmert
    transformation to WGS 84. Coordinate-frame rotations become position-vector ones."""
    rows = db.execute(
        "select g.datum_code, h.code, h.method_code, h.tx, h.ty, h.tz, h.translation_uom_code,"
        " h.rx, h.ry, h.rz, h.rotation_uom_code, h.scale_difference,"
        " h.scale_difference_uom_code from helmert_transformation_table h"
        " join geodetic_crs g on g.auth_name = h.source_crs_auth_name"
        " and g.code = h.source_crs_code"
        " where h.auth_name = 'EPSG' and h.deprecated = 0 and h.target_crs_auth_name = 'EPSG'"
        " and h.target_crs_code = ? and h.method_code in (?, ?, ?)",
        (WGS84_GEOGRAPHIC, HELMERT_TRANSLATION, HELMERT_POSITION_VECTOR,
         HELMERT_COORDINATE_FRAME))
    found = {}
    for row in rows:
        found.setdefault(row[0], {})[row[1]] = row[2:]
    result = {}
    for datum, transformations in found.items():
        if len(transformations) == 1:
            result[datum] = helmert_values(*next(iter(transformations.values())), units)
    return result


def helmert_values(method, tx, ty, tz, t_uom, rx, ry, rz, r_uom, scale, s_uom, units):
    translation = [units_mod.length_to_metres(v, t_uom, units) for v in (tx, ty, tz)]
    if method == HELMERT_TRANSLATION:
        return "ThreeParameter", translation + [0.0] * 4
    sign = -1.0 if method == HELMERT_COORDINATE_FRAME else 1.0
    rotation = [sign * units_mod.angle_to_degrees(v, r_uom, units) * 3600.0
                for v in (rx, ry, rz)]
    return "SevenParameter", translation + rotation + [
        units_mod.scale_difference_to_ppm(scale, s_uom)]
