// WKT GEOGCS: units, spheroid, prime meridian, TOWGS84 and the known EPSG datums.
#include "gcs/WktDatum.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>
#include <numbers>
#include <set>
#include <vector>

#include "gcs/KnownLists.h"
#include "gcs/WktProjection.h"
#include "shr/Format.h"
#include "shr/Strings.h"

namespace gcsfile {
namespace {

using gcs::DatumParameterID;

// Angular units as degrees per unit; factors written with fewer digits snap to these.
constexpr double kKnownDegreesPerUnit[] = {
    1.0, 0.9, 1.0 / 60.0, 1.0 / 3600.0, 180.0 / std::numbers::pi, 180.0 / std::numbers::pi * 1e-6,
};
constexpr double kUnitSnapTolerance = 1e-9; // relative

// ESRI and OGC datum names that do not spell the EPSG name, after NormalizeDatumName.
struct DatumAlias {
    const char *name;
    int32_t code;
};
constexpr DatumAlias kDatumAliases[] = {
    {"wgs1984", 6326},  {"wgs84", 6326},   {"wgs1972", 6322}, {"etrs1989", 6258},
    {"osgb1936", 6277}, {"gda1994", 6283}, {"gda2020", 1168}, {"nzgd2000", 6167},
};

// Lower case, letters and digits, without ESRI's "D_" prefix and the word "datum", so that
// "D_North_American_1983", "North_American_Datum_1983" and "North American Datum 1983"
// meet. A '+' stays significant: CH1903+ is not CH1903.
std::string NormalizeDatumName(const std::string &name) {
    std::string spelled;
    for (char c : name)
        spelled += c == '+' ? std::string("plus") : std::string(1, c);
    std::string normalized = NormalizeWktName(spelled);
    if (name.size() > 2 && (name[0] == 'D' || name[0] == 'd') && name[1] == '_')
        normalized.erase(0, 1);
    for (size_t at; (at = normalized.find("datum")) != std::string::npos;)
        normalized.erase(at, 5);
    return normalized;
}

// The current EPSG datum with this normalized name; none when several share it, since
// such a name does not say which datum it is.
const gcs::DatumDef *FindDatumByName(const std::string &wanted) {
    const gcs::DatumList &list = gcs::GCSKnownDatumsList;
    const gcs::DatumDef *found = nullptr;
    for (int i = list.First(); i <= list.Last() && !wanted.empty(); ++i) {
        const gcs::DatumDef *datum = list.GetDatum(i);
        if (!datum || list.IsDeprecated(i) ||
            NormalizeDatumName(shr::WtoA(datum->GetName())) != wanted)
            continue;
        if (found)
            return nullptr;
        found = datum;
    }
    return found;
}

// Prime meridians that WKT 1 writers put in degrees whatever the GEOGCS unit says, as
// EPSG defines them (degrees, minutes, seconds east of Greenwich).
struct KnownMeridian {
    const char *name; // normalized
    int degrees, minutes;
    double seconds;
};
constexpr KnownMeridian kKnownMeridians[] = {
    {"paris", 2, 20, 14.025},  {"parisrgs", 2, 20, 13.95},  {"lisbon", -9, 7, 54.862},
    {"bogota", -74, 4, 51.3},  {"madrid", -3, 41, 14.55},   {"rome", 12, 27, 8.4},
    {"bern", 7, 26, 22.5},     {"jakarta", 106, 48, 27.79}, {"ferro", -17, 40, 0.0},
    {"brussels", 4, 22, 4.71}, {"stockholm", 18, 3, 29.8},  {"athens", 23, 42, 58.815},
    {"oslo", 10, 43, 22.5},
};

double MeridianDegrees(const KnownMeridian &m) {
    const double magnitude = std::abs(m.degrees) + m.minutes / 60.0 + m.seconds / 3600.0;
    return m.degrees < 0 ? -magnitude : magnitude;
}

bool ReadUnitFactor(const WktNode &unit, const wchar_t *kind, double &factor,
                    std::wstring &message) {
    if (!unit.Number(1, factor) || !(factor > 0.0) || !std::isfinite(factor)) {
        message = shr::FormatString(L"The WKT %ls UNIT needs a positive conversion factor.", kind);
        return false;
    }
    return true;
}

gcs::EllipsoidDef KnownOrCustomEllipsoid(const WktNode &spheroid, double major, double flattening) {
    const gcs::EllipsoidDef custom = gcs::EllipsoidDef::FromFlattening(major, flattening);
    const int32_t code = ReadEpsgAuthority(spheroid);
    int index = code ? gcs::GCSKnownEllipsoidsList.FindByPOSCNumber(code) : -1;
    const gcs::EllipsoidDef *known = gcs::GCSKnownEllipsoidsList.GetEllipsoid(index);
    if (known && index >= gcs::GCSKnownEllipsoidsList.First() &&
        known->CompareParameters(custom, true))
        return *known;
    index = gcs::GCSKnownEllipsoidsList.FindByDimensions(major, flattening);
    known = gcs::GCSKnownEllipsoidsList.GetEllipsoid(index);
    if (known && index >= gcs::GCSKnownEllipsoidsList.First())
        return *known;
    gcs::EllipsoidDef result = custom;
    if (const std::string *name = spheroid.Text(0))
        result.SetName(shr::AtoW(*name));
    return result;
}

bool ReadSpheroid(const WktNode &datum, gcs::EllipsoidDef &ellipsoid, std::wstring &message) {
    const WktNode *spheroid = datum.Find("SPHEROID");
    if (!spheroid)
        spheroid = datum.Find("ELLIPSOID");
    double major = 0.0, inverseFlattening = 0.0;
    if (!spheroid || !spheroid->Number(1, major) || !spheroid->Number(2, inverseFlattening)) {
        message = L"The WKT DATUM needs a SPHEROID with a major radius and inverse flattening.";
        return false;
    }
    // Inverse flattening 0 is a sphere; below 1 the minor radius would be negative.
    if (!(major > 0.0) || !(inverseFlattening == 0.0 || inverseFlattening >= 1.0)) {
        message = shr::FormatString(L"The WKT SPHEROID %g, %g is not an ellipsoid.", major,
                                    inverseFlattening);
        return false;
    }
    const double flattening = inverseFlattening == 0.0 ? 0.0 : 1.0 / inverseFlattening;
    ellipsoid = KnownOrCustomEllipsoid(*spheroid, major, flattening);
    return true;
}

// A prime meridian is in the GEOGCS unit, except that GDAL and ESRI write the named
// meridians in degrees even in a GEOGCS that counts in grads.
bool ReadPrimeMeridian(const WktNode &geogcs, double degreesPerUnit, double &degrees,
                       std::wstring &message) {
    degrees = 0.0;
    const WktNode *primem = geogcs.Find("PRIMEM");
    if (!primem)
        return true;
    double value = 0.0;
    if (!primem->Number(1, value)) {
        message = L"The WKT PRIMEM needs a longitude.";
        return false;
    }
    degrees = value * degreesPerUnit;
    const std::string *name = primem->Text(0);
    const std::string normalized = name ? NormalizeWktName(*name) : std::string();
    for (const KnownMeridian &meridian : kKnownMeridians) {
        if (normalized == meridian.name && std::fabs(value - MeridianDegrees(meridian)) < 1e-8)
            degrees = value;
    }
    if (!(std::fabs(degrees) <= 180.0)) {
        message = shr::FormatString(L"The WKT prime meridian %g is out of range.", degrees);
        return false;
    }
    return true;
}

const gcs::DatumDef *FindKnownDatum(int32_t code, const std::string &name) {
    const gcs::DatumList &list = gcs::GCSKnownDatumsList;
    if (code)
        return list.GetDatum(list.FindByPOSCNumber(code));
    const std::string wanted = NormalizeDatumName(name);
    for (const DatumAlias &alias : kDatumAliases) {
        if (wanted == alias.name)
            return list.GetDatum(list.FindByPOSCNumber(alias.code));
    }
    return FindDatumByName(wanted);
}

bool ApplyToWgs84(const WktNode &datumNode, gcs::DatumDef &datum, std::wstring &message) {
    const WktNode *towgs84 = datumNode.Find("TOWGS84");
    if (!towgs84)
        return true;
    std::vector<double> values;
    for (size_t i = 0; i < towgs84->atoms.size(); ++i) {
        double value = 0.0;
        if (!towgs84->Number(i, value)) {
            message = L"The WKT TOWGS84 holds something other than numbers.";
            return false;
        }
        values.push_back(value);
    }
    if (values.size() != 3 && values.size() != 7) {
        message = shr::FormatString(L"The WKT TOWGS84 has %zu values; 3 or 7 are understood.",
                                    values.size());
        return false;
    }
    datum.SetMethod(values.size() == 3 ? gcs::DatumMethod::ThreeParameter
                                       : gcs::DatumMethod::SevenParameter,
                    false);
    values.resize(7, 0.0);
    constexpr DatumParameterID kOrder[] = {DatumParameterID::ShiftX,    DatumParameterID::ShiftY,
                                           DatumParameterID::ShiftZ,    DatumParameterID::RotationX,
                                           DatumParameterID::RotationY, DatumParameterID::RotationZ,
                                           DatumParameterID::Scale};
    for (size_t i = 0; i < values.size(); ++i)
        datum.SetParameter(kOrder[i], values[i]);
    return true;
}

bool ReadDatum(const WktNode &geogcs, double degreesPerUnit, gcs::DatumDef &datum,
               std::wstring &message) {
    const WktNode *datumNode = geogcs.Find("DATUM");
    if (!datumNode) {
        message = L"The WKT GEOGCS has no DATUM.";
        return false;
    }
    gcs::EllipsoidDef ellipsoid;
    double primeMeridian = 0.0;
    if (!ReadSpheroid(*datumNode, ellipsoid, message) ||
        !ReadPrimeMeridian(geogcs, degreesPerUnit, primeMeridian, message))
        return false;
    const std::string *name = datumNode->Text(0);
    const gcs::DatumDef *known = FindKnownDatum(ReadEpsgAuthority(*datumNode), name ? *name : "");
    if (known && known->GetEllipsoid().CompareParameters(ellipsoid, true) &&
        std::fabs(known->GetParameter(DatumParameterID::PrimeMeridian) - primeMeridian) < 1e-9) {
        datum = *known;
    } else {
        datum = gcs::DatumDef();
        datum.SetMethod(gcs::DatumMethod::EllipsoidOnly, true);
        datum.SetParameter(DatumParameterID::UserDefined, 1.0);
        datum.SetName(name ? shr::AtoW(*name) : std::wstring());
    }
    datum.SetEllipsoid(ellipsoid);
    datum.SetParameter(DatumParameterID::PrimeMeridian, primeMeridian);
    return ApplyToWgs84(*datumNode, datum, message);
}

} // namespace

int32_t ReadEpsgAuthority(const WktNode &node) {
    const WktNode *authority = node.Find("AUTHORITY");
    const std::string *name = authority ? authority->Text(0) : nullptr;
    if (!name || NormalizeWktName(*name) != "epsg")
        return 0;
    if (authority->atoms.size() < 2)
        return 0;
    // The code is quoted text in OGC WKT and sometimes a bare number.
    const std::string &text = authority->atoms[1].text;
    int32_t code = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, code);
    return result.ec == std::errc() && result.ptr == end && code > 0 ? code : 0;
}

bool ReadAngularUnit(const WktNode *unit, double &degreesPerUnit, std::wstring &message) {
    degreesPerUnit = 1.0; // degrees when no unit is given
    double radians = 0.0;
    if (!unit)
        return true;
    if (!ReadUnitFactor(*unit, L"angular", radians, message))
        return false;
    degreesPerUnit = radians * 180.0 / std::numbers::pi;
    for (double known : kKnownDegreesPerUnit) {
        if (std::fabs(degreesPerUnit - known) <= kUnitSnapTolerance * known)
            degreesPerUnit = known;
    }
    return true;
}

bool ReadLinearUnit(const WktNode *unit, double &metresPerUnit, std::wstring &message) {
    metresPerUnit = 1.0; // metres when no unit is given
    if (!unit)
        return true;
    if (!ReadUnitFactor(*unit, L"linear", metresPerUnit, message))
        return false;
    if (std::fabs(metresPerUnit - 1.0) <= kUnitSnapTolerance)
        metresPerUnit = 1.0;
    return true;
}

bool ReadWktGeographic(const WktNode &geogcs, WktGeographic &result, std::wstring &message) {
    result = WktGeographic{};
    result.code = ReadEpsgAuthority(geogcs);
    return ReadAngularUnit(geogcs.Find("UNIT"), result.degreesPerUnit, message) &&
           ReadDatum(geogcs, result.degreesPerUnit, result.datum, message);
}

} // namespace gcsfile
