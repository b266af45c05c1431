// Reads EPSG definitions through PROJ's C API for the peer tests.
#include "PeerProj.h"

#include <proj_experimental.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

namespace peer::proj {
namespace {

double ToLibraryUnits(double value, double factor, const char *category) {
    if (category && std::strcmp(category, "angular") == 0)
        return value * factor * 180.0 / std::numbers::pi;
    if (category && (std::strcmp(category, "linear") == 0 || std::strcmp(category, "scale") == 0))
        return value * factor;
    return value;
}

std::vector<Parameter> ReadParameters(const PJ *operation) {
    std::vector<Parameter> parameters;
    const int count = proj_coordoperation_get_param_count(Context(), operation);
    for (int i = 0; i < count; ++i) {
        const char *name = nullptr, *auth = nullptr, *code = nullptr, *category = nullptr;
        double value = 0.0, factor = 1.0;
        if (!proj_coordoperation_get_param(Context(), operation, i, &name, &auth, &code, &value,
                                           nullptr, &factor, nullptr, nullptr, nullptr, &category))
            continue;
        parameters.push_back({code ? std::atoi(code) : 0, name ? name : "",
                              ToLibraryUnits(value, factor, category)});
    }
    return parameters;
}

int CodeOf(const PJ *object) {
    const char *code = object ? proj_get_id_code(object, 0) : nullptr;
    return code ? std::atoi(code) : 0;
}

double FirstAxisFactor(const PJ *crs) {
    PjPtr cs(proj_crs_get_coordinate_system(Context(), crs));
    double factor = 0.0;
    if (cs)
        proj_cs_get_axis_info(Context(), cs.get(), 0, nullptr, nullptr, nullptr, &factor, nullptr,
                              nullptr, nullptr);
    return factor;
}

} // namespace

PJ_CONTEXT *Context() {
    static PJ_CONTEXT *context = [] {
        PJ_CONTEXT *created = proj_context_create();
        proj_log_level(created, PJ_LOG_NONE);
        return created;
    }();
    return context;
}

PjPtr FromDatabase(int code, PJ_CATEGORY category) {
    return PjPtr(proj_create_from_database(Context(), "EPSG", std::to_string(code).c_str(),
                                           category, 0, nullptr));
}

std::optional<Ellipsoid> ReadEllipsoid(const PJ *object) {
    PjPtr ellipsoid(proj_get_type(object) == PJ_TYPE_ELLIPSOID
                        ? proj_clone(Context(), object)
                        : proj_get_ellipsoid(Context(), object));
    Ellipsoid result;
    int computed = 0;
    if (!ellipsoid ||
        !proj_ellipsoid_get_parameters(Context(), ellipsoid.get(), &result.major, &result.minor,
                                       &computed, &result.inverseFlattening))
        return std::nullopt;
    result.code = CodeOf(ellipsoid.get());
    return result;
}

std::optional<Datum> ReadDatum(const PJ *object) {
    const PJ_TYPE type = proj_get_type(object);
    const bool isDatum = type == PJ_TYPE_GEODETIC_REFERENCE_FRAME ||
                         type == PJ_TYPE_DATUM_ENSEMBLE ||
                         type == PJ_TYPE_DYNAMIC_GEODETIC_REFERENCE_FRAME;
    PjPtr datum(isDatum ? proj_clone(Context(), object)
                        : proj_crs_get_datum_forced(Context(), object));
    if (!datum)
        return std::nullopt;
    std::optional<Ellipsoid> ellipsoid = ReadEllipsoid(datum.get());
    PjPtr meridian(proj_get_prime_meridian(Context(), datum.get()));
    double longitude = 0.0, factor = 0.0;
    if (!ellipsoid || !meridian ||
        !proj_prime_meridian_get_parameters(Context(), meridian.get(), &longitude, &factor,
                                            nullptr))
        return std::nullopt;
    // The forced datum of an ensemble carries no code; the ensemble's is the one we keep.
    int code = CodeOf(datum.get());
    if (code == 0 && type != PJ_TYPE_DATUM_ENSEMBLE) {
        PjPtr ensemble(proj_crs_get_datum_ensemble(Context(), object));
        code = CodeOf(ensemble.get());
    }
    return Datum{code, *ellipsoid, longitude * factor * 180.0 / std::numbers::pi};
}

std::optional<System> ReadSystem(int code) {
    PjPtr crs = FromDatabase(code, PJ_CATEGORY_CRS);
    return crs ? ReadSystem(crs.get()) : std::nullopt;
}

std::optional<System> ReadSystem(const PJ *crs) {
    System system;
    system.type = proj_get_type(crs);
    system.name = proj_get_name(crs);
    std::optional<Datum> datum = ReadDatum(crs);
    if (!datum)
        return std::nullopt;
    system.datum = *datum;
    system.metresPerUnit = FirstAxisFactor(crs);
    if (system.type != PJ_TYPE_PROJECTED_CRS)
        return system;
    PjPtr conversion(proj_crs_get_coordoperation(Context(), crs));
    const char *auth = nullptr, *methodCode = nullptr;
    if (!conversion || !proj_coordoperation_get_method_info(Context(), conversion.get(), nullptr,
                                                            &auth, &methodCode))
        return std::nullopt;
    const bool epsg = auth && std::strcmp(auth, "EPSG") == 0;
    system.methodCode = epsg && methodCode ? std::atoi(methodCode) : 0;
    system.conversionName = proj_get_name(conversion.get());
    system.parameters = ReadParameters(conversion.get());
    return system;
}

std::vector<int> Codes(PJ_TYPE type, bool deprecated) {
    std::vector<int> codes;
    PROJ_STRING_LIST list = proj_get_codes_from_database(Context(), "EPSG", type, deprecated);
    for (PROJ_STRING_LIST entry = list; entry && *entry; ++entry)
        codes.push_back(std::atoi(*entry));
    proj_string_list_destroy(list);
    return codes;
}

std::optional<std::vector<double>> BoundToWgs84(int geographicCode) {
    PjPtr crs = FromDatabase(geographicCode, PJ_CATEGORY_CRS);
    if (!crs)
        return std::nullopt;
    PjPtr bound(proj_crs_create_bound_crs_to_WGS84(Context(), crs.get(), nullptr));
    PjPtr transformation(bound ? proj_crs_get_coordoperation(Context(), bound.get()) : nullptr);
    std::vector<double> values(7);
    if (!transformation || !proj_coordoperation_get_towgs84_values(Context(), transformation.get(),
                                                                   values.data(), 7, 0))
        return std::nullopt;
    return values;
}

} // namespace peer::proj
