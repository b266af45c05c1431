// iosid geokeys and iosid georef: a GeoTIFF image's key directory with its decoded record,
// and the coordinate system extracted from it.
#include "Command.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "gcs/ProjectionMethod.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoKeyNames.h"
#include "georef/GeoTiffExtract.h"
#include "georef/GeoTiffFile.h"
#include "georef/GeoTiffKeys.h"
#include "georef/GeoTiffParams.h"
#include "shr/ErrorRecord.h"
#include "shr/Strings.h"

#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace iosid {
namespace {

struct GeorefRequest {
    std::string file;
    int image = 1;
    bool json = false;
};

// FILE [--image N] [--json], bound to `request`.
void DeclareGeorefRequest(CLI::App &app, GeorefRequest &request) {
    app.add_option("FILE", request.file, "GeoTIFF file")->required();
    app.add_option("--image", request.image, "image in the file, from 1")
        ->check(CLI::Range(1, 999999999));
    app.add_flag("--json", request.json, "print JSON");
}

int Fail(const char *command, const GeorefRequest &request, const shr::ErrorRecord &error) {
    std::fprintf(stderr, "iosid %s: %s: %s\n", command, request.file.c_str(),
                 error.IsSet() ? shr::WtoA(error.Describe()).c_str() : "failed");
    return kExitFailure;
}

// Doubles round-trip; JSON has no NaN or infinity, so those become null there.
std::string Number(double value, bool json) {
    if (json && !std::isfinite(value))
        return "null";
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.17g", value);
    return buffer;
}

std::string Quoted(const std::string &text) { return "\"" + JsonEscape(text) + "\""; }

std::string Numbers(const std::vector<double> &values, bool json) {
    std::string text = "[";
    for (size_t i = 0; i < values.size(); ++i)
        text += (i ? ", " : "") + Number(values[i], json);
    return text + "]";
}

// ---- geokeys -----------------------------------------------------------------------------

const char *KindName(georef::GeoKeyKind kind) {
    switch (kind) {
    case georef::kGeoKeyShort:
        return "short";
    case georef::kGeoKeyDouble:
        return "double";
    case georef::kGeoKeyText:
        return "text";
    default:
        return "none";
    }
}

std::string KeyValue(const georef::GeoKeyBundle &bundle, uint32_t index, bool json) {
    switch (bundle.GetKind(index)) {
    case georef::kGeoKeyDouble: {
        std::vector<double> values;
        for (uint32_t k = 0; k < bundle.GetCount(index); ++k)
            values.push_back(bundle.GetDouble(index, static_cast<int>(k)));
        return values.size() == 1 ? Number(values[0], json) : Numbers(values, json);
    }
    case georef::kGeoKeyText:
        return Quoted(bundle.GetTextString(index));
    default:
        return std::to_string(bundle.GetShort(index));
    }
}

std::string FieldValue(const georef::GeoTiffParamField &field, bool json) {
    if (field.shortValue)
        return std::to_string(*field.shortValue);
    if (field.doubleValue)
        return Number(*field.doubleValue, json);
    if (field.text)
        return Quoted(*field.text);
    return Numbers(*field.doubles, json);
}

void PrintKeys(const GeorefRequest &request, const georef::GeoKeyBundle &bundle,
               const georef::GeoTiffParams &params) {
    const bool json = request.json;
    const uint32_t entries = bundle.GetEntryCount();
    if (json)
        std::printf("{\"file\": %s, \"image\": %d, \"keys\": [", Quoted(request.file).c_str(),
                    request.image);
    else
        std::printf("%s, image %d: %u keys\n", request.file.c_str(), request.image,
                    entries ? entries - 1 : 0);
    for (uint32_t i = 1; i < entries; ++i) {
        const char *name = georef::GeoKeyName(bundle.GetKeyId(i));
        const char *kind = KindName(bundle.GetKind(i));
        const std::string value = KeyValue(bundle, i, json);
        if (json)
            std::printf("%s{\"id\": %u, \"name\": %s, \"kind\": \"%s\", \"count\": %u, "
                        "\"value\": %s}",
                        i > 1 ? ", " : "", bundle.GetKeyId(i), name ? Quoted(name).c_str() : "null",
                        kind, bundle.GetCount(i), value.c_str());
        else
            std::printf("  %5u  %-26s %-6s %5u  %s\n", bundle.GetKeyId(i), name ? name : "?", kind,
                        bundle.GetCount(i), value.c_str());
    }
    std::printf(json ? "], \"params\": {" : "decoded:\n");
    bool first = true;
    georef::ForEachGeoTiffParam(params, [&](const georef::GeoTiffParamField &field) {
        if (field.IsZero())
            return;
        const std::string value = FieldValue(field, json);
        if (json)
            std::printf("%s\"%s\": %s", first ? "" : ", ", field.name, value.c_str());
        else
            std::printf("  %-26s %s\n", field.name, value.c_str());
        first = false;
    });
    if (json)
        std::printf("}}\n");
}

int RunGeoKeys(const GeorefRequest &request) {
    georef::GeoKeyBundle bundle;
    shr::ErrorRecord error;
    tiff::TiffImageRead file;
    if (!file.OpenFile(shr::AtoW(request.file)))
        return Fail("geokeys", request, file.Error());
    if (!georef::CheckImageNumber(file, request.image, &error))
        return Fail("geokeys", request, error);
    const bool ok = georef::GeoTiffExtractKeys(file, request.image, bundle, &error);
    georef::GeoTiffParams params;
    georef::GeoTiffBundleToParams(bundle, params);
    PrintKeys(request, bundle, params);
    return ok ? 0 : Fail("geokeys", request, error);
}

// ---- georef ------------------------------------------------------------------------------

struct ParameterRow {
    const char *name;
    double value;
};

std::vector<ParameterRow> ProjectionRows(const gcs::ProjectionParameters &q) {
    return {{"linearScale", q.linearScale},
            {"xOrg", q.xOrg},
            {"yOrg", q.yOrg},
            {"lon0", q.lon0},
            {"lon1", q.lon1},
            {"lon2", q.lon2},
            {"lat0", q.lat0},
            {"lat1", q.lat1},
            {"lat2", q.lat2},
            {"scaleFactor", q.scaleFactor},
            {"azimuth", q.azimuth},
            {"south", double(q.south)},
            {"option", double(q.option)},
            {"gridAngle", q.gridAngle},
            {"height", q.height}};
}

std::string EllipsoidText(const gcs::EllipsoidDef &e, bool json) {
    const std::string name = shr::WtoA(e.GetName());
    if (json)
        return "{\"code\": " + std::to_string(e.GetPOSC()) + ", \"name\": " + Quoted(name) +
               ", \"major\": " + Number(e.GetMajorRadius(), json) +
               ", \"minor\": " + Number(e.GetMinorRadius(), json) +
               ", \"inverseFlattening\": " + Number(e.GetInverseFlattening(), json) + "}";
    if (e.IsUnknown())
        return "none";
    return std::to_string(e.GetPOSC()) + " " + name + ", a " + Number(e.GetMajorRadius(), json) +
           ", b " + Number(e.GetMinorRadius(), json) + ", 1/f " +
           Number(e.GetInverseFlattening(), json);
}

std::string ProjectionText(const gcs::ProjectionDef &projection, bool json) {
    const gcs::ProjectionParameters &q = projection.GetParameters();
    const std::string method = std::to_string(static_cast<int>(q.method));
    const std::string name = shr::WtoA(gcs::ProjectionMethodName(q.method));
    std::string text = json ? "{\"method\": " + method + ", \"methodName\": " + Quoted(name)
                            : "projection: method " + method + " (" + name + ")\n";
    for (const ParameterRow &row : ProjectionRows(q))
        text += json ? ", \"" + std::string(row.name) + "\": " + Number(row.value, json)
                     : "  " + std::string(row.name) + " " + Number(row.value, json) + "\n";
    const std::string ellipsoid = EllipsoidText(q.ellipsoid, json);
    return text +
           (json ? ", \"ellipsoid\": " + ellipsoid + "}" : "  ellipsoid " + ellipsoid + "\n");
}

std::string DatumText(const gcs::DatumDef &datum, bool json) {
    using gcs::DatumParameterID;
    std::vector<double> values;
    for (int id = 4; id <= 11; ++id)
        values.push_back(datum.GetParameter(static_cast<DatumParameterID>(id)));
    const std::string method = std::to_string(static_cast<int>(datum.GetMethod()));
    const std::string code = std::to_string(datum.GetPOSC());
    const std::string name = shr::WtoA(datum.GetName());
    const std::string ellipsoid = EllipsoidText(datum.GetEllipsoid(), json);
    if (json)
        return "{\"code\": " + code + ", \"name\": " + Quoted(name) + ", \"method\": " + method +
               ", \"userDefined\": " + (datum.IsUserDefined() ? "true" : "false") +
               ", \"primeMeridian\": " + Number(values[0], json) +
               ", \"toWGS84\": " + Numbers({values.begin() + 1, values.end()}, json) +
               ", \"ellipsoid\": " + ellipsoid + "}";
    return "datum: " + code + " " + name + ", method " + method +
           (datum.IsUserDefined() ? " (user-defined)" : "") + ", prime meridian " +
           Number(values[0], json) + ", to WGS 84 " +
           Numbers({values.begin() + 1, values.end()}, json) + "\n  ellipsoid " + ellipsoid + "\n";
}

std::string WarpText(const gcs::WarpDef &warp, bool json) {
    const std::string method = std::to_string(static_cast<int>(warp.GetMethod()));
    std::string points;
    for (size_t i = 0; i < warp.GetPointCount(); ++i) {
        const shr::Vec2d &s = warp.GetSourcePoint(i);
        const shr::Vec2d &d = warp.GetDestinationPoint(i);
        points += json ? std::string(i ? ", " : "") + "{\"pixel\": " + Numbers({s.x, s.y}, json) +
                             ", \"map\": " + Numbers({d.x, d.y}, json) + "}"
                       : "  pixel " + Numbers({s.x, s.y}, json) + " -> map " +
                             Numbers({d.x, d.y}, json) + "\n";
    }
    std::vector<double> c;
    if (warp.HasCoefficients()) {
        const gcs::AffineCoefficients &k = warp.GetCoefficients();
        c = {k.a, k.b, k.c, k.d, k.e, k.f};
    }
    const std::string name = shr::WtoA(gcs::WarpMethodName(warp.GetMethod()));
    if (json)
        return "{\"method\": " + method + ", \"methodName\": " + Quoted(name) + ", \"points\": [" +
               points + "], \"coefficients\": " + (c.empty() ? "null" : Numbers(c, json)) + "}";
    return "warp: method " + method + " (" + name + "), " + std::to_string(warp.GetPointCount()) +
           " control points\n" + points +
           (c.empty() ? "" : "  coefficients " + Numbers(c, json) + "\n");
}

void PrintSystem(const GeorefRequest &request, const georef::GeoTiffPieces &pieces,
                 const gcs::GCSDef &system, bool ok) {
    const bool json = request.json;
    const std::string code = std::to_string(system.GetPOSC());
    const std::string name = shr::WtoA(system.GetName());
    const gcs::ProjectionDef *projection = system.GetProjection();
    const gcs::DatumDef *datum = system.GetDatum();
    const gcs::WarpDef *warp = system.GetWarp();
    const std::string u = Number(pieces.linearUnitsPerMeter, json);
    if (json) {
        std::printf("{\"file\": %s, \"image\": %d, \"result\": %s, \"code\": %s, \"name\": %s, "
                    "\"linearUnitsPerMeter\": %s, \"projection\": %s, \"datum\": %s, "
                    "\"warp\": %s}\n",
                    Quoted(request.file).c_str(), request.image, ok ? "true" : "false",
                    code.c_str(), Quoted(name).c_str(), u.c_str(),
                    projection ? ProjectionText(*projection, json).c_str() : "null",
                    datum ? DatumText(*datum, json).c_str() : "null",
                    warp ? WarpText(*warp, json).c_str() : "null");
        return;
    }
    std::printf("%s, image %d: result %s\n", request.file.c_str(), request.image,
                ok ? "true" : "false");
    std::printf("system: %s\n", system.GetPOSC() ? (code + " " + name).c_str() : "no code");
    std::printf("linear units per metre: %s\n", u.c_str());
    std::printf("%s",
                projection ? ProjectionText(*projection, json).c_str() : "projection: none\n");
    std::printf("%s", datum ? DatumText(*datum, json).c_str() : "datum: none\n");
    std::printf("%s", warp ? WarpText(*warp, json).c_str() : "warp: none\n");
}

int RunGeoref(const GeorefRequest &request) {
    shr::ErrorRecord error;
    tiff::TiffImageRead file;
    if (!file.OpenFile(shr::AtoW(request.file)))
        return Fail("georef", request, file.Error());
    georef::GeoTiffPieces pieces;
    if (!georef::GeoTiffExtractPieces(file, request.image, pieces, &error))
        return Fail("georef", request, error);
    gcs::GCSDef system;
    const bool ok = georef::GeoTiffAssemble(pieces, system, &error);
    PrintSystem(request, pieces, system, ok);
    return ok ? 0 : Fail("georef", request, error);
}

template <int (*Run)(const GeorefRequest &)> std::function<int()> DefineGeoref(CLI::App &app) {
    auto request = std::make_shared<GeorefRequest>();
    DeclareGeorefRequest(app, *request);
    return [request] { return Run(*request); };
}

const RegisterCommand kGeoKeys({"geokeys", "GeoKey directory of a GeoTIFF image",
                                DefineGeoref<RunGeoKeys>});
const RegisterCommand kGeoref({"georef", "coordinate system and warp of a GeoTIFF image",
                               DefineGeoref<RunGeoref>});

} // namespace
} // namespace iosid
