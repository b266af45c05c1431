// The known coordinate systems, datums, ellipsoids and linear units, from the EPSG dataset.
//
// The tables are generated at build time from PROJ's copy of the EPSG dataset (proj.db) and
// compiled in: no database is read at run time. Indices are stable for one build only;
// store EPSG codes, not indices. Every lookup is by value: nothing here throws for an
// unknown code, it answers not found.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "gcs/DatumDef.h"
#include "gcs/EllipsoidDef.h"
#include "gcs/GCSDef.h"

namespace gcs {

// Coordinate systems. Index 0 is an empty entry of type Unknown, so that searches can
// answer 0 for not found; entries run from First() (1) to Last(), ordered by EPSG code,
// each of type Georeferenced with a complete GCSDef: projection (Geographic for
// latitude/longitude systems) with its ellipsoid and linear scale, datum, code and name.
class CSList {
public:
    constexpr CSList() = default;

    int First() const { return 1; }
    int Last() const;
    int Count() const { return Last() + 1; } // including entry 0

    // Unknown and null outside First()..Last(); entry 0 is Unknown with an empty GCSDef.
    CSType GetType(int index) const;
    const GCSDef *GetSystem(int index) const;
    int32_t EnumPOSC(int index) const;
    // EPSG has withdrawn the code; it is kept because files still carry it.
    bool IsDeprecated(int index) const;

    // Index of the system with this EPSG code, 0 when none.
    int FindByPOSCNumber(int32_t code) const;

    // Index of a system that GCSDef::Compare(system, approximate) finds equal, 0 when none.
    // ignoreLinearUnit: compare as if both were in metres (the same projection in feet
    // matches). When the system carries a code whose entry is equal, that entry is the
    // answer; otherwise, among the equal entries, current codes come before deprecated ones,
    // then the lowest code.
    int FindSystem(const GCSDef &system, bool approximate, bool ignoreLinearUnit) const;
    // The same, preferring the entry of preferredCode (such as the code the definition was
    // built from) over the system's own code; 0 prefers none.
    int FindSystem(const GCSDef &system, bool approximate, bool ignoreLinearUnit,
                   int32_t preferredCode) const;
};

// Geodetic datums. Index 0 is the unknown datum, 1 a user-defined template (method
// EllipsoidOnly, UserDefined flag set, no ellipsoid); EPSG datums run from First() (2) to
// Last(), ordered by code. Datums whose EPSG dataset holds exactly one Helmert
// transformation to WGS 84 carry it; WGS 84 itself carries zero shifts; the others are
// EllipsoidOnly.
class DatumList {
public:
    constexpr DatumList() = default;

    int First() const { return 2; }
    int Last() const;
    int Count() const { return Last() + 1; }

    // Null outside 0..Last().
    const DatumDef *GetDatum(int index) const;
    int32_t EnumPOSC(int index) const; // 0 outside the list
    bool IsDeprecated(int index) const;

    // -1 when not found. Code 0 is never found.
    int FindByPOSCNumber(int32_t code) const;
    // Exact EPSG name, such as "North American Datum 1983"; -1 when not found.
    int FindByName(const std::wstring &name) const;
};

// Ellipsoids. Index 0 is the unknown ellipsoid, 1 a user-defined template (no dimensions);
// EPSG ellipsoids run from First() (2) to Last(), ordered by code.
class EllipsoidList {
public:
    constexpr EllipsoidList() = default;

    int First() const { return 2; }
    int Last() const;
    int Count() const { return Last() + 1; }

    // Null outside 0..Last().
    const EllipsoidDef *GetEllipsoid(int index) const;
    int32_t EnumPOSC(int index) const; // 0 outside the list
    // "ELLIPSOID_" and the EPSG name in capitals with runs of other characters as one "_",
    // such as "ELLIPSOID_CLARKE_1866"; empty outside First()..Last().
    std::string EnumToken(int index) const;
    bool IsDeprecated(int index) const;

    // -1 when not found.
    int FindByPOSCNumber(int32_t code) const;
    int FindByToken(std::string_view token) const;
    int FindByToken(const std::wstring &token) const;
    // The closest ellipsoid with the major radius within majorTolerance metres and the
    // flattening within flatteningTolerance. Closeness is |major difference| + major *
    // |flattening difference| (both in metres); when equally close, current ellipsoids come
    // before deprecated ones, then the one more datums use, then the lower code. -1 when
    // none, or for values that are not finite.
    int FindByDimensions(double majorRadius, double flattening, double majorTolerance = 0.001,
                         double flatteningTolerance = 1e-9) const;
};

// EPSG linear units. Entries run from First() (0) to Last(), ordered by code; the divider
// is how many of the unit make one metre (3.280839895013123 for the foot).
class LinearUnitList {
public:
    constexpr LinearUnitList() = default;

    int First() const { return 0; }
    int Last() const;
    int Count() const { return Last() + 1; }

    double EnumDivider(int index) const; // 0.0 outside the list
    int32_t EnumPOSC(int index) const;   // 0 outside the list
    std::wstring EnumName(int index) const;
    bool IsDeprecated(int index) const;

    // -1 when not found.
    int FindByPOSCNumber(int32_t code) const;
    // The unit whose divider is closest to value, if within tolerance (absolute); current
    // units before deprecated ones, then the lower code, when equally close. -1 when none
    // is within tolerance or value is not finite.
    int FindByDivider(double value, double tolerance) const;
};

extern const CSList GCSKnownSystemsList;
extern const DatumList GCSKnownDatumsList;
extern const EllipsoidList GCSKnownEllipsoidsList;
extern const LinearUnitList GCSKnownLinearUnitsList;

} // namespace gcs
