"""Conversion of EPSG parameter values to the library's units: degrees, metres, unity."""
from decimal import Decimal
import math

DEGREE_CODES = {9102, 9122}  # degree; degree (supplier to define representation)
# Whole-angle units that are plain multiples of the degree.
DEGREES_PER_UNIT = {
    9101: 180.0 / math.pi,  # radian
    9103: 1.0 / 60.0,  # arc-minute
    9104: 1.0 / 3600.0,  # arc-second
    9105: 0.9,  # grad
    9106: 0.9,  # gon
    9109: 180.0 / math.pi * 1e-6,  # microradian
    9113: 0.9 / 10000.0,  # centesimal second
    1031: 1.0 / 3600000.0,  # milli-arc-second
}
SEXAGESIMAL_DMS = 9110  # DDD.MMSSsss packed into one decimal number


class UnitError(ValueError):
    """A value whose unit cannot be turned into the wanted kind."""


def sexagesimal_to_degrees(value):
    """EPSG 9110: sign, whole degrees, then two digits of minutes and the rest seconds.

    The decimal digits are taken from the shortest text that round-trips the double, so
    15.3 means 15 deg 30 min, not 15 deg 29 min 59.99... sec.
    """
    text = format(Decimal(repr(abs(value))), "f")
    whole, _, fraction = text.partition(".")
    fraction = fraction + "0000"
    minutes = int(fraction[0:2])
    seconds = float(fraction[2:4] + "." + fraction[4:])
    if minutes >= 60 or seconds >= 60.0:
        raise UnitError(f"{value} is not a sexagesimal DMS value")
    degrees = int(whole) + minutes / 60.0 + seconds / 3600.0
    return -degrees if value < 0 else degrees


def angle_to_degrees(value, uom_code, units):
    """An angle in the given EPSG unit, in degrees."""
    if uom_code in DEGREE_CODES:
        return float(value)
    if uom_code == SEXAGESIMAL_DMS:
        return sexagesimal_to_degrees(value)
    if uom_code in DEGREES_PER_UNIT:
        return value * DEGREES_PER_UNIT[uom_code]
    unit = units.get(uom_code)
    if unit and unit["type"] == "angle" and unit["factor"]:
        return value * unit["factor"] * 180.0 / math.pi
    raise UnitError(f"angle unit {uom_code} is not supported")


def length_to_metres(value, uom_code, units):
    unit = units.get(uom_code)
    if not unit or unit["type"] != "length" or not unit["factor"]:
        raise UnitError(f"unit {uom_code} is not a length unit")
    if uom_code == 9001:
        return float(value)
    return value * unit["factor"]


def scale_to_unity(value, uom_code, units):
    """A scale factor; only unity-kind units are accepted (a scale in ppm or metres in
    EPSG is a data error)."""
    unit = units.get(uom_code)
    if uom_code != 9201 and not (unit and unit["type"] == "scale" and unit["factor"] == 1.0):
        raise UnitError(f"scale factor given in unit {uom_code}, not unity")
    return float(value)


def scale_difference_to_ppm(value, uom_code):
    """Helmert scale differences, in parts per million."""
    factors = {9202: 1.0, 1028: 1e-3, 9201: 1e6}
    if uom_code not in factors:
        raise UnitError(f"scale difference unit {uom_code} is not supported")
    return value * factors[uom_code]
