// gcsfile::ConvertWktToGCSDef: a WKT 1 coordinate system into a GCSDef.
#include <cctype>
#include <cmath>

#include "gcs/GcsFile.h"
#include "gcs/KnownLists.h"
#include "gcs/WktDatum.h"
#include "gcs/WktNode.h"
#include "gcs/WktProjection.h"
#include "shr/Format.h"
#include "shr/Strings.h"

namespace gcsfile {
namespace {

using gcs::ProjectionMethod;

constexpr std::string_view kEsriPrefix = "ESRI PE String = ";

// The pieces a conversion produces, installed together only when all of them are read.
struct Converted {
    gcs::ProjectionDef projection;
    gcs::DatumDef datum;
    bool hasDatum = false;
    int32_t code = 0;
    std::wstring name;
};

std::string_view SkipEsriPrefix(std::string_view text) {
    size_t start = 0;
    while (start < text.size() && std::isspace(static_cast<unsigned char>(text[start])))
        ++start;
    text.remove_prefix(start);
    if (text.size() < kEsriPrefix.size())
        return text;
    for (size_t i = 0; i < kEsriPrefix.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) !=
            std::tolower(static_cast<unsigned char>(kEsriPrefix[i])))
            return text;
    }
    return text.substr(kEsriPrefix.size());
}

// Units per metre, taken from the EPSG unit list when the factor names a known unit so
// that systems compare equal to the list's.
double LinearScale(double metresPerUnit) {
    const double divider = 1.0 / metresPerUnit;
    const int index = gcs::GCSKnownLinearUnitsList.FindByDivider(divider, 1e-9 * divider);
    return index >= 0 ? gcs::GCSKnownLinearUnitsList.EnumDivider(index) : divider;
}

// EPSG's UTM zones are transverse Mercator with fixed values; the list knows them as UTM.
void RecognizeUtm(gcs::ProjectionParameters &params) {
    if (params.method != ProjectionMethod::TransverseMercator || params.lat0 != 0.0 ||
        params.scaleFactor != 0.9996 || params.xOrg != 500000.0)
        return;
    const double zone = (params.lon0 + 183.0) / 6.0;
    if (zone != std::floor(zone) || zone < 1.0 || zone > 60.0)
        return;
    if (params.yOrg != 0.0 && params.yOrg != 10000000.0)
        return;
    params.method = ProjectionMethod::UTM;
    params.south = params.yOrg != 0.0 ? 1 : 0;
}

std::wstring NodeName(const WktNode &node) {
    const std::string *name = node.Text(0);
    return name ? shr::AtoW(*name) : std::wstring();
}

bool ConvertGeogcs(const WktNode &geogcs, Converted &out, std::wstring &message) {
    WktGeographic geographic;
    if (!ReadWktGeographic(geogcs, geographic, message))
        return false;
    gcs::ProjectionParameters params;
    params.method = ProjectionMethod::Geographic;
    params.ellipsoid = geographic.datum.GetEllipsoid();
    out.projection.SetParameters(params);
    out.datum = geographic.datum;
    out.hasDatum = true;
    out.code = geographic.code;
    out.name = NodeName(geogcs);
    return true;
}

bool ConvertProjcs(const WktNode &projcs, Converted &out, std::wstring &message) {
    const WktNode *geogcs = projcs.Find("GEOGCS");
    if (!geogcs) {
        message = L"The WKT PROJCS has no GEOGCS.";
        return false;
    }
    WktGeographic geographic;
    WktUnits units;
    if (!ReadWktGeographic(*geogcs, geographic, message) ||
        !ReadLinearUnit(projcs.Find("UNIT"), units.metresPerLinearUnit, message))
        return false;
    units.degreesPerAngleUnit = geographic.degreesPerUnit;
    gcs::ProjectionParameters params;
    if (!ReadWktProjection(projcs, units, params, message))
        return false;
    RecognizeUtm(params);
    params.linearScale = LinearScale(units.metresPerLinearUnit);
    params.ellipsoid = geographic.datum.GetEllipsoid();
    out.projection.SetParameters(params);
    out.datum = geographic.datum;
    out.hasDatum = true;
    out.code = ReadEpsgAuthority(projcs);
    out.name = NodeName(projcs);
    return true;
}

// A local grid: planar coordinates in a linear unit, no datum.
bool ConvertLocalcs(const WktNode &localcs, Converted &out, std::wstring &message) {
    double metresPerUnit = 1.0;
    if (!ReadLinearUnit(localcs.Find("UNIT"), metresPerUnit, message))
        return false;
    gcs::ProjectionParameters params;
    params.method = ProjectionMethod::Planar;
    params.linearScale = LinearScale(metresPerUnit);
    out.projection.SetParameters(params);
    out.code = ReadEpsgAuthority(localcs);
    out.name = NodeName(localcs);
    return true;
}

bool ConvertNode(const WktNode &node, Converted &out, std::wstring &message, bool nested) {
    if (node.keyword == "PROJCS")
        return ConvertProjcs(node, out, message);
    if (node.keyword == "GEOGCS")
        return ConvertGeogcs(node, out, message);
    if (node.keyword == "LOCAL_CS")
        return ConvertLocalcs(node, out, message);
    if (node.keyword == "COMPD_CS" && !nested) {
        // The horizontal part; the vertical one has no place in a GCSDef.
        for (const WktNode &child : node.children) {
            if (child.keyword == "PROJCS" || child.keyword == "GEOGCS")
                return ConvertNode(child, out, message, true);
        }
        message = L"The WKT COMPD_CS has no horizontal PROJCS or GEOGCS.";
        return false;
    }
    message = shr::FormatString(L"A WKT %ls is not a horizontal coordinate system.",
                                shr::AtoW(node.keyword).c_str());
    return false;
}

bool Install(const Converted &converted, gcs::GCSDef &def, std::wstring &message) {
    gcs::GCSDef result;
    try {
        result.SetProjection(&converted.projection);
        result.SetDatum(converted.hasDatum ? &converted.datum : nullptr);
        result.SetWarp(def.GetWarp());
    } catch (const gcs::DefinitionError &error) {
        message = L"The WKT definition is refused: " + error.Message();
        return false;
    }
    result.SetPOSC(converted.code);
    result.SetName(converted.name);
    def = result;
    return true;
}

} // namespace

bool ConvertWktToGCSDef(std::string_view wkt, gcs::GCSDef &def, std::wstring *message) {
    std::wstring why;
    WktNode root;
    Converted converted;
    const bool ok = ParseWkt(SkipEsriPrefix(wkt), root, why) &&
                    ConvertNode(root, converted, why, false) && Install(converted, def, why);
    if (message)
        *message = ok ? std::wstring() : why;
    return ok;
}

bool ConvertWktToGCSDef(const std::wstring &wkt, gcs::GCSDef &def, std::wstring *message) {
    return ConvertWktToGCSDef(std::string_view(shr::WtoA(wkt)), def, message);
}

} // namespace gcsfile
