"""Reads the EPSG geographic 2D and projected systems and maps them onto our methods."""
import math

import epsg_methods as methods
import epsg_units as units_mod

DEGREE_AXIS_UNITS = {9102, 9122, 9108}  # 9108 is a way of writing degrees, still degrees


class LeftOut(Exception):
    """A system the library cannot represent; the message says why."""


def mark(why, deprecated):
    return why + (" (a deprecated entry)" if deprecated else "")


def axis_units(db):
    """Coordinate system code -> set of its axis unit codes."""
    result = {}
    for cs, uom in db.execute("select coordinate_system_code, uom_code from axis"
                              " where coordinate_system_auth_name = 'EPSG'"):
        result.setdefault(cs, set()).add(uom)
    return result


def degrees_per_axis_unit(axis):
    """Degrees in one unit of the axes: 1 for degrees, 0.9 for grads; None when the axes
    are in different units or in one that is no plain multiple of the degree."""
    if axis and axis <= DEGREE_AXIS_UNITS:
        return 1.0
    if len(axis) == 1 and next(iter(axis)) in units_mod.DEGREES_PER_UNIT:
        return units_mod.DEGREES_PER_UNIT[next(iter(axis))]
    return None


def read_geographic(db, cs_units):
    """(systems, left_out) for the EPSG geographic 2D systems."""
    rows = db.execute("select code, name, coordinate_system_code, datum_code, deprecated"
                      " from geodetic_crs where auth_name = 'EPSG' and type = 'geographic 2D'"
                      " order by code")
    systems, left_out = [], []
    for code, name, cs, datum, deprecated in rows:
        axis = cs_units.get(cs, set())
        degrees = degrees_per_axis_unit(axis)
        if degrees is None:
            left_out.append((code, name, mark(f"axes in unit {sorted(axis)}, no multiple of"
                                              " the degree", deprecated)))
            continue
        systems.append({"code": code, "name": name, "deprecated": bool(deprecated),
                        "datum": datum, "unit": None, "conversion": None,
                        "degrees_per_unit": degrees})
    return systems, left_out


def read_projected(db, units, cs_units, linear_unit_codes):
    """(systems, left_out) for the EPSG projected systems."""
    geodetic = {code: (kind, datum) for code, kind, datum in db.execute(
        "select code, type, datum_code from geodetic_crs where auth_name = 'EPSG'")}
    conversions = read_conversions(db)
    rows = db.execute("select code, name, coordinate_system_code, geodetic_crs_code,"
                      " conversion_code, deprecated from projected_crs"
                      " where auth_name = 'EPSG' order by code")
    systems, left_out = [], []
    for code, name, cs, base, conversion_code, deprecated in rows:
        try:
            kind, datum = geodetic[base]
            if kind != "geographic 2D":
                raise LeftOut(f"based on a {kind} system")
            unit = projected_unit(cs_units.get(cs, set()), linear_unit_codes)
            conversion = map_conversion(conversion_code, conversions[conversion_code], units)
        except LeftOut as why:
            left_out.append((code, name, mark(str(why), deprecated)))
            continue
        systems.append({"code": code, "name": name, "deprecated": bool(deprecated),
                        "datum": datum, "unit": unit, "conversion": conversion,
                        "degrees_per_unit": 0.0})
    return systems, left_out


def projected_unit(axis, linear_unit_codes):
    if len(axis) != 1:
        raise LeftOut(f"axes in different units {sorted(axis)}")
    unit = next(iter(axis))
    if unit not in linear_unit_codes:
        raise LeftOut(f"axis unit {unit} is not a known linear unit")
    return unit


def read_conversions(db):
    """Conversion code -> (method code, method name, [(parameter code, value, unit)])."""
    columns = ", ".join(f"param{i}_code, param{i}_value, param{i}_uom_code" for i in range(1, 8))
    result = {}
    for row in db.execute(f"select c.code, c.method_code, m.name, {columns}"
                          " from conversion_table c join conversion_method m"
                          " on m.auth_name = c.method_auth_name and m.code = c.method_code"
                          " where c.auth_name = 'EPSG'"):
        params = [tuple(row[i:i + 3]) for i in range(3, 24, 3) if row[i] is not None]
        result[row[0]] = (row[1], row[2], params)
    return result


def map_conversion(conversion_code, conversion, units):
    """The conversion as our method, option names and parameter values."""
    method_code, method_name, params = conversion
    if method_code in methods.LEFT_OUT_METHODS:
        raise LeftOut(f"method {method_code} {method_name}: "
                      f"{methods.LEFT_OUT_METHODS[method_code]}")
    if method_code not in methods.METHODS:
        raise LeftOut(f"method {method_code} {method_name} has no counterpart")
    method, options = methods.METHODS[method_code]
    values = {}
    for param_code, value, uom in params:
        values.update([convert_parameter(param_code, value, uom, units)])
    values = methods.derived_values(method_code, values)
    if method == "TransverseMercator":
        zone = methods.utm_zone(conversion_code, values)
        if zone:
            method = "UTM"
            values["South"] = float(zone[1])
    if not all(math.isfinite(v) for v in values.values()):
        raise LeftOut("a parameter value is not finite")
    return {"method": method, "options": list(options), "values": values}


def convert_parameter(param_code, value, uom, units):
    if param_code not in methods.PARAMETERS:
        raise LeftOut(f"parameter {param_code} has no counterpart")
    name, kind = methods.PARAMETERS[param_code]
    try:
        if kind == methods.ANGLE:
            return name, units_mod.angle_to_degrees(value, uom, units)
        if kind == methods.LENGTH:
            return name, units_mod.length_to_metres(value, uom, units)
        return name, units_mod.scale_to_unity(value, uom, units)
    except units_mod.UnitError as error:
        raise LeftOut(f"parameter {param_code}: {error}") from error
