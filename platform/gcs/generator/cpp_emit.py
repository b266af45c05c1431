"""Writes the EPSG tables as C++ source: constexpr arrays of plain rows (EpsgTables.h)."""
import math


def cpp_string(text):
    """A C++ narrow string literal holding text as UTF-8; other than printable ASCII is
    written as octal escapes."""
    out = []
    for byte in text.encode("utf-8"):
        char = chr(byte)
        if char in '"\\' or byte < 0x20 or byte >= 0x7F:
            out.append(f"\\{byte:03o}")
        else:
            out.append(char)
    return '"' + "".join(out) + '"'


def cpp_double(value):
    if not math.isfinite(value):
        raise ValueError(f"value {value} is not finite")
    text = repr(float(value))
    return text if any(c in text for c in ".en") else text + ".0"


def cpp_bool(value):
    return "true" if value else "false"


def option_expression(options):
    return " | ".join(f"O::{name}" for name in options) if options else "0"


class Emitter:
    def __init__(self, version):
        self.version = version
        self.lines = []

    def table(self, row_type, name, rows):
        self.lines.append(f"constexpr {row_type} {name}[] = {{")
        self.lines.extend(f"    {{{row}}}," for row in rows)
        self.lines.append("};")
        self.lines.append("")

    def units(self, units):
        self.table("UnitRow", "kUnits", (
            f"{u['code']}, {cpp_bool(u['deprecated'])}, {cpp_double(u['factor'])}, "
            f"{cpp_string(u['name'])}" for u in units))

    def ellipsoids(self, ellipsoids):
        self.table("EllipsoidRow", "kEllipsoids", (
            f"{e['code']}, {cpp_bool(e['deprecated'])}, {cpp_double(e['major'])}, "
            f"{cpp_double(e['minor'])}, {cpp_double(e['flattening'])}, {e['uses']}, "
            f"{cpp_string(e['name'])}, {cpp_string(e['token'])}" for e in ellipsoids))

    def datums(self, datums):
        self.table("DatumRow", "kDatums", (
            f"{d['code']}, {cpp_bool(d['deprecated'])}, {d['ellipsoid']}, D::{d['method']}, "
            f"{cpp_double(d['prime_meridian'])}, "
            f"{{{', '.join(cpp_double(v) for v in d['shifts'])}}}, {cpp_string(d['name'])}"
            for d in datums))

    def conversions(self, conversions):
        values, rows = [], []
        for conversion in conversions:
            items = sorted(conversion["values"].items())
            rows.append(f"M::{conversion['method']}, {option_expression(conversion['options'])}, "
                        f"{len(values)}, {len(items)}")
            values.extend(f"P::{name}, {cpp_double(value)}" for name, value in items)
        self.table("ParameterValue", "kParameterValues", values)
        self.table("ConversionRow", "kConversions", rows)

    def systems(self, systems):
        self.table("SystemRow", "kSystems", (
            f"{s['code']}, {cpp_bool(s['deprecated'])}, {s['datum']}, {s['unit']}, "
            f"{s['conversion']}, {cpp_double(s['degrees_per_unit'])}, {cpp_string(s['name'])}"
            for s in systems))

    def text(self):
        head = [
            f"// The EPSG lists, generated from {self.version} by",
            "// platform/gcs/generator/gen_epsg_lists.py. Do not edit: change the generator.",
            '#include "EpsgTables.h"',
            "",
            "namespace gcs::epsg {",
            "namespace {",
            "using M = ProjectionMethod;",
            "using P = ProjectionParameterID;",
            "using D = DatumMethod;",
            "namespace O = ProjectionOption;",
            "",
        ]
        tail = [
            "} // namespace",
            "",
            "std::span<const UnitRow> Units() { return kUnits; }",
            "std::span<const EllipsoidRow> Ellipsoids() { return kEllipsoids; }",
            "std::span<const DatumRow> Datums() { return kDatums; }",
            "std::span<const ParameterValue> ParameterValues() { return kParameterValues; }",
            "std::span<const ConversionRow> Conversions() { return kConversions; }",
            "std::span<const SystemRow> Systems() { return kSystems; }",
            f"const char *DatasetVersion() {{ return {cpp_string(self.version)}; }}",
            "",
            "} // namespace gcs::epsg",
            "",
        ]
        return "\n".join(head + self.lines + tail)
