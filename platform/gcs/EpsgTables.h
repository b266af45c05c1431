// Row types of the EPSG tables that generator/gen_epsg_lists.py writes from proj.db.
// Internal to the library: the Known*List classes are the only readers.
#pragma once
#include <cstdint>
#include <span>

#include "gcs/DatumDef.h"
#include "gcs/ProjectionDef.h"

namespace gcs::epsg {

// Linear units: metres is the length of one unit.
struct UnitRow {
    int32_t code;
    bool deprecated;
    double metres;
    const char *name; // UTF-8
};

struct EllipsoidRow {
    int32_t code;
    bool deprecated;
    double major;
    double minor;
    double flattening;
    int16_t datumCount; // how many datums use it, to prefer common ones among equals
    const char *name;
    const char *token;
};

// Shifts in the order ShiftX..ShiftZ (metres), RotationX..RotationZ (arc-seconds), Scale
// (ppm); prime meridian in degrees east of Greenwich.
struct DatumRow {
    int32_t code;
    bool deprecated;
    int16_t ellipsoid; // row in Ellipsoids()
    DatumMethod method;
    double primeMeridian;
    double shifts[7];
    const char *name;
};

struct ParameterValue {
    ProjectionParameterID id;
    double value;
};

// A projection: its values are ParameterValues()[first .. first + count).
struct ConversionRow {
    ProjectionMethod method;
    int32_t option;
    uint32_t first;
    uint8_t count;
};

// A coordinate system. Geographic systems have conversion and unit -1.
struct SystemRow {
    int32_t code;
    bool deprecated;
    int16_t datum;         // row in Datums()
    int16_t unit;          // row in Units()
    int16_t conversion;    // row in Conversions()
    double degreesPerUnit; // geographic: degrees in one axis unit (0.9 for the grad)
    const char *name;
};

std::span<const UnitRow> Units();
std::span<const EllipsoidRow> Ellipsoids();
std::span<const DatumRow> Datums();
std::span<const ParameterValue> ParameterValues();
std::span<const ConversionRow> Conversions();
std::span<const SystemRow> Systems();
// Such as "EPSG v10.076 from PROJ 9.1.1".
const char *DatasetVersion();

} // namespace gcs::epsg
