#!/usr/bin/env python3
"""Generates the gcs library's known lists (systems, datums, ellipsoids, linear units) as
C++ source from the EPSG dataset in PROJ's proj.db.

Usage: gen_epsg_lists.py --db /usr/share/proj/proj.db --out EpsgTables.cpp
                         [--report epsg_left_out.txt] [--methods epsg_methods.inc]

The report lists every EPSG entry left out and why, after a summary of the counts; the
methods file holds the method and parameter tables for the peer tests.
"""
import argparse
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import cpp_emit  # noqa: E402
import epsg_methods  # noqa: E402
import epsg_read  # noqa: E402
import epsg_systems  # noqa: E402


def dataset_version(db):
    meta = dict(db.execute("select key, value from metadata"))
    return f"EPSG {meta.get('EPSG.VERSION', '?')} from PROJ {meta.get('PROJ.VERSION', '?')}"


def index_by_code(entries):
    return {entry["code"]: index for index, entry in enumerate(entries)}


def build(db):
    units = epsg_read.read_units(db)
    linear, units_left_out = epsg_read.linear_units(units)
    ellipsoids = epsg_read.read_ellipsoids(db, units)
    datums = epsg_read.read_datums(db, units, index_by_code(ellipsoids))
    for datum in datums:
        ellipsoids[datum["ellipsoid"]]["uses"] += 1
    cs_units = epsg_systems.axis_units(db)
    geographic, geo_left_out = epsg_systems.read_geographic(db, cs_units)
    projected, proj_left_out = epsg_systems.read_projected(
        db, units, cs_units, {u["code"] for u in linear})
    systems = sorted(geographic + projected, key=lambda s: s["code"])
    conversions = link_systems(systems, index_by_code(datums), index_by_code(linear))
    return {"units": linear, "ellipsoids": ellipsoids, "datums": datums,
            "conversions": conversions, "systems": systems,
            "left_out": {"linear units": units_left_out,
                         "geographic 2D systems": geo_left_out,
                         "projected systems": proj_left_out},
            "geographic": len(geographic), "projected": len(projected)}


def link_systems(systems, datum_index, unit_index):
    """Replaces codes by row indices; equal conversions are stored once."""
    conversions, conversion_index = [], {}
    for system in systems:
        system["datum"] = datum_index[system["datum"]]
        system["unit"] = unit_index[system["unit"]] if system["unit"] else -1
        conversion = system["conversion"]
        if conversion is None:
            system["conversion"] = -1
            continue
        key = (conversion["method"], tuple(conversion["options"]),
               tuple(sorted(conversion["values"].items())))
        if key not in conversion_index:
            conversion_index[key] = len(conversions)
            conversions.append(conversion)
        system["conversion"] = conversion_index[key]
    if len(conversions) >= 32768 or len(datum_index) >= 32768:
        raise SystemExit("tables outgrew their 16-bit row indices")
    return conversions


def write_source(tables, version, path):
    emitter = cpp_emit.Emitter(version)
    emitter.units(tables["units"])
    emitter.ellipsoids(tables["ellipsoids"])
    emitter.datums(tables["datums"])
    emitter.conversions(tables["conversions"])
    emitter.systems(tables["systems"])
    write_if_changed(path, emitter.text())


def write_report(tables, version, path):
    lines = [f"# EPSG entries generated and left out ({version})",
             f"systems\t{len(tables['systems'])}\tgeographic 2D {tables['geographic']},"
             f" projected {tables['projected']}",
             f"datums\t{len(tables['datums'])}",
             f"ellipsoids\t{len(tables['ellipsoids'])}",
             f"linear units\t{len(tables['units'])}",
             f"conversions\t{len(tables['conversions'])}"]
    for kind, entries in tables["left_out"].items():
        lines.append(f"# left out: {kind}: {len(entries)}")
        lines.extend(f"{code}\t{name}\t{why}" for code, name, why in entries)
    write_if_changed(path, "\n".join(lines) + "\n")


def write_method_table(path):
    """The method and parameter tables as X-macro rows, so the peer tests compare PROJ's
    reading with the same mapping the lists were generated with."""
    lines = ["// EPSG methods and parameters as the library files them (gen_epsg_lists.py).",
             "// EPSG_METHOD(code, gcs::ProjectionMethod, option bits with O = ProjectionOption)",
             "// EPSG_PARAMETER(code, gcs::ProjectionParameterID, angle | length | scale)"]
    for code, (method, options) in epsg_methods.METHODS.items():
        lines.append(f"EPSG_METHOD({code}, {method}, {cpp_emit.option_expression(options)})")
    for code, (parameter, kind) in epsg_methods.PARAMETERS.items():
        lines.append(f"EPSG_PARAMETER({code}, {parameter}, {kind})")
    write_if_changed(path, "\n".join(lines) + "\n")


def write_if_changed(path, text):
    """Leaves an unchanged file alone so that the build does not recompile it."""
    if os.path.exists(path):
        with open(path, encoding="utf-8") as existing:
            if existing.read() == text:
                return
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    temporary = path + ".tmp"
    with open(temporary, "w", encoding="utf-8", newline="\n") as out:
        out.write(text)
    os.replace(temporary, path)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--db", required=True, help="PROJ's proj.db")
    parser.add_argument("--out", required=True, help="C++ source to write")
    parser.add_argument("--report", help="text file listing what was left out")
    parser.add_argument("--methods", help="C++ X-macro rows of the method and parameter tables")
    args = parser.parse_args()
    db = epsg_read.open_database(args.db)
    version = dataset_version(db)
    tables = build(db)
    write_source(tables, version, args.out)
    if args.report:
        write_report(tables, version, args.report)
    if args.methods:
        write_method_table(args.methods)
    left_out = sum(len(entries) for entries in tables["left_out"].values())
    print(f"EPSG lists from {version}: {len(tables['systems'])} systems, "
          f"{len(tables['datums'])} datums, {len(tables['ellipsoids'])} ellipsoids, "
          f"{len(tables['units'])} linear units; {left_out} entries left out")


if __name__ == "__main__":
    main()
