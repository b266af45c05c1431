// WKT projection names (OGC, ESRI and EPSG spellings) and their parameters.
#include "gcs/WktProjection.h"

#include <bitset>
#include <cctype>
#include <cmath>
#include <optional>

#include "shr/Format.h"
#include "shr/Strings.h"

namespace gcsfile {

using gcs::ProjectionMethod;
using gcs::ProjectionParameterID;
namespace Option = gcs::ProjectionOption;

namespace {

// Methods whose WKT needs more than a name lookup and a parameter copy.
enum class Form {
    Plain,
    EsriLambert,        // one name for the one- and two-parallel forms and Michigan's
    PolarStereographic, // OGC: variant A with a scale factor, else variant B
    PolarNorth,         // ESRI: variant B about the north pole
    PolarSouth,
    PolarVariantC,
    Krovak,          // orientation from the AXIS nodes or ESRI's axis scaling
    Bonne,           // standard_parallel_1 is the latitude of the natural origin
    Behrmann,        // cylindrical equal area, standard parallel 30 unless given
    AuxiliarySphere, // ESRI's Web Mercator
    Mercator1SP,     // Web Mercator when a PROJ4 extension says the sphere is used
    EsriLocal,       // orthographic, when its azimuth is 0 and its scale 1
};

struct MethodEntry {
    const char *name; // normalized
    ProjectionMethod method;
    int32_t option;
    Form form;
};

// OGC (GDAL) names, ESRI names and the EPSG names PROJ writes where neither has one.
constexpr MethodEntry kMethods[] = {
    {"transversemercator", ProjectionMethod::TransverseMercator, 0, Form::Plain},
    {"gausskruger", ProjectionMethod::TransverseMercator, 0, Form::Plain},
    {"transversemercatorsouthorientated", ProjectionMethod::TransverseMercatorSouth, 0,
     Form::Plain},
    {"lambertconformalconic1sp", ProjectionMethod::LambertConformalConic1SP, 0, Form::Plain},
    {"lambertconformalconic2sp", ProjectionMethod::LambertConformalConic2SP, 0, Form::Plain},
    {"lambertconformalconic", ProjectionMethod::LambertConformalConic2SP, 0, Form::EsriLambert},
    {"lambertconformalconic2spbelgium", ProjectionMethod::LambertConformalConicBelgium, 0,
     Form::Plain},
    {"lambertconicconformalwestorientated", ProjectionMethod::LambertConformalConicWest, 0,
     Form::Plain},
    {"lambertconicnearconformal", ProjectionMethod::LambertConicNearConformal, 0, Form::Plain},
    {"albersconicequalarea", ProjectionMethod::AlbersEqualArea, 0, Form::Plain},
    {"albers", ProjectionMethod::AlbersEqualArea, 0, Form::Plain},
    {"cassinisoldner", ProjectionMethod::CassiniSoldner, 0, Form::Plain},
    {"cassini", ProjectionMethod::CassiniSoldner, 0, Form::Plain},
    {"obliquestereographic", ProjectionMethod::Stereographic, 0, Form::Plain},
    {"doublestereographic", ProjectionMethod::Stereographic, 0, Form::Plain},
    {"polarstereographic", ProjectionMethod::Stereographic, 0, Form::PolarStereographic},
    {"stereographicnorthpole", ProjectionMethod::Stereographic, Option::PolarVariantB,
     Form::PolarNorth},
    {"stereographicsouthpole", ProjectionMethod::Stereographic, Option::PolarVariantB,
     Form::PolarSouth},
    {"polarstereographicvariantc", ProjectionMethod::Stereographic, Option::PolarVariantC,
     Form::PolarVariantC},
    {"hotineobliquemercator", ProjectionMethod::HotineObliqueMercator, Option::NaturalOrigin,
     Form::Plain},
    {"hotineobliquemercatorazimuthnaturalorigin", ProjectionMethod::HotineObliqueMercator,
     Option::NaturalOrigin, Form::Plain},
    {"rectifiedskeworthomorphicnaturalorigin", ProjectionMethod::HotineObliqueMercator,
     Option::NaturalOrigin, Form::Plain},
    {"hotineobliquemercatorazimuthcenter", ProjectionMethod::HotineObliqueMercator, 0, Form::Plain},
    {"rectifiedskeworthomorphiccenter", ProjectionMethod::HotineObliqueMercator, 0, Form::Plain},
    {"hotineobliquemercatortwopointnaturalorigin", ProjectionMethod::HotineObliqueMercatorTwoPoint,
     0, Form::Plain},
    {"labordeobliquemercator", ProjectionMethod::LabordeObliqueMercator, 0, Form::Plain},
    {"lambertazimuthalequalarea", ProjectionMethod::LambertAzimuthalEqualArea, 0, Form::Plain},
    {"mercator1sp", ProjectionMethod::Mercator, 0, Form::Mercator1SP},
    {"mercator2sp", ProjectionMethod::Mercator, 0, Form::Plain},
    {"mercator", ProjectionMethod::Mercator, 0, Form::Plain},
    {"mercatorauxiliarysphere", ProjectionMethod::PseudoMercator, 0, Form::AuxiliarySphere},
    {"popularvisualisationpseudomercator", ProjectionMethod::PseudoMercator, 0, Form::Plain},
    {"polyconic", ProjectionMethod::Polyconic, 0, Form::Plain},
    {"americanpolyconic", ProjectionMethod::Polyconic, 0, Form::Plain},
    {"krovak", ProjectionMethod::Krovak, 0, Form::Krovak},
    {"krovaknorthorientated", ProjectionMethod::Krovak, Option::NorthOrientated, Form::Plain},
    {"krovakmodified", ProjectionMethod::Krovak, Option::Modified, Form::Plain},
    {"krovakmodifiednorthorientated", ProjectionMethod::Krovak,
     Option::Modified | Option::NorthOrientated, Form::Plain},
    {"igacplanocartesiano", ProjectionMethod::ColombiaUrban, 0, Form::Plain},
    {"colombiaurban", ProjectionMethod::ColombiaUrban, 0, Form::Plain},
    {"equalearth", ProjectionMethod::EqualEarth, 0, Form::Plain},
    {"equirectangular", ProjectionMethod::Equirectangular, 0, Form::Plain},
    {"equidistantcylindrical", ProjectionMethod::Equirectangular, 0, Form::Plain},
    {"platecarree", ProjectionMethod::Equirectangular, 0, Form::Plain},
    {"cylindricalequalarea", ProjectionMethod::CylindricalEqualArea, 0, Form::Plain},
    {"lambertcylindricalequalarea", ProjectionMethod::CylindricalEqualArea, 0, Form::Plain},
    {"behrmann", ProjectionMethod::CylindricalEqualArea, 0, Form::Behrmann},
    {"bonne", ProjectionMethod::Bonne, 0, Form::Bonne},
    {"bonnesouthorientated", ProjectionMethod::Bonne, Option::SouthOrientated, Form::Plain},
    {"newzealandmapgrid", ProjectionMethod::NewZealandMapGrid, 0, Form::Plain},
    {"azimuthalequidistant", ProjectionMethod::AzimuthalEquidistant, 0, Form::Plain},
    {"modifiedazimuthalequidistant", ProjectionMethod::ModifiedAzimuthalEquidistant, 0,
     Form::Plain},
    {"orthographic", ProjectionMethod::Orthographic, 0, Form::Plain},
    {"local", ProjectionMethod::Orthographic, 0, Form::EsriLocal},
    {"gnomonic", ProjectionMethod::Gnomonic, 0, Form::Plain},
    {"sinusoidal", ProjectionMethod::Sinusoidal, 0, Form::Plain},
    {"robinson", ProjectionMethod::Robinson, 0, Form::Plain},
    {"millercylindrical", ProjectionMethod::MillerCylindrical, 0, Form::Plain},
    {"vandergrinten", ProjectionMethod::VanDerGrinten, 0, Form::Plain},
    {"vandergrinteni", ProjectionMethod::VanDerGrinten, 0, Form::Plain},
    {"equidistantconic", ProjectionMethod::EquidistantConic, 0, Form::Plain},
};

enum class Kind { Angle, Length, Scale };

struct ParameterEntry {
    const char *name; // normalized
    ProjectionParameterID id;
    Kind kind;
};

constexpr ParameterEntry kParameters[] = {
    {"falseeasting", ProjectionParameterID::XOrg, Kind::Length},
    {"falsenorthing", ProjectionParameterID::YOrg, Kind::Length},
    {"eastingatfalseorigin", ProjectionParameterID::XOrg, Kind::Length},
    {"northingatfalseorigin", ProjectionParameterID::YOrg, Kind::Length},
    {"eastingatprojectioncentre", ProjectionParameterID::XOrg, Kind::Length},
    {"northingatprojectioncentre", ProjectionParameterID::YOrg, Kind::Length},
    {"centralmeridian", ProjectionParameterID::Lon0, Kind::Angle},
    {"longitudeoforigin", ProjectionParameterID::Lon0, Kind::Angle},
    {"longitudeofcenter", ProjectionParameterID::Lon0, Kind::Angle},
    {"longitudeofnaturalorigin", ProjectionParameterID::Lon0, Kind::Angle},
    {"longitudeoffalseorigin", ProjectionParameterID::Lon0, Kind::Angle},
    {"longitudeofprojectioncentre", ProjectionParameterID::Lon0, Kind::Angle},
    {"latitudeoforigin", ProjectionParameterID::Lat0, Kind::Angle},
    {"latitudeofcenter", ProjectionParameterID::Lat0, Kind::Angle},
    {"latitudeofnaturalorigin", ProjectionParameterID::Lat0, Kind::Angle},
    {"latitudeoffalseorigin", ProjectionParameterID::Lat0, Kind::Angle},
    {"latitudeofprojectioncentre", ProjectionParameterID::Lat0, Kind::Angle},
    {"standardparallel1", ProjectionParameterID::Lat1, Kind::Angle},
    {"latitudeof1ststandardparallel", ProjectionParameterID::Lat1, Kind::Angle},
    {"latitudeofstandardparallel", ProjectionParameterID::Lat1, Kind::Angle},
    {"pseudostandardparallel1", ProjectionParameterID::Lat1, Kind::Angle},
    {"latitudeofpseudostandardparallel", ProjectionParameterID::Lat1, Kind::Angle},
    {"standardparallel2", ProjectionParameterID::Lat2, Kind::Angle},
    {"latitudeof2ndstandardparallel", ProjectionParameterID::Lat2, Kind::Angle},
    {"scalefactor", ProjectionParameterID::ScaleFactor, Kind::Scale},
    {"scalefactoratnaturalorigin", ProjectionParameterID::ScaleFactor, Kind::Scale},
    {"scalefactoroninitialline", ProjectionParameterID::ScaleFactor, Kind::Scale},
    {"scalefactoronpseudostandardparallel", ProjectionParameterID::ScaleFactor, Kind::Scale},
    {"ellipsoidscalingfactor", ProjectionParameterID::ScaleFactor, Kind::Scale},
    {"azimuth", ProjectionParameterID::Azimuth, Kind::Angle},
    {"azimuthofinitialline", ProjectionParameterID::Azimuth, Kind::Angle},
    {"colatitudeofconeaxis", ProjectionParameterID::Azimuth, Kind::Angle},
    {"rectifiedgridangle", ProjectionParameterID::GridAngle, Kind::Angle},
    {"anglefromrectifiedtoskewgrid", ProjectionParameterID::GridAngle, Kind::Angle},
    {"height", ProjectionParameterID::Height, Kind::Length},
    {"projectionplaneoriginheight", ProjectionParameterID::Height, Kind::Length},
    {"latitudeofpoint1", ProjectionParameterID::Lat1, Kind::Angle},
    {"longitudeofpoint1", ProjectionParameterID::Lon1, Kind::Angle},
    {"latitudeofpoint2", ProjectionParameterID::Lat2, Kind::Angle},
    {"longitudeofpoint2", ProjectionParameterID::Lon2, Kind::Angle},
    {"latitudeof1stpoint", ProjectionParameterID::Lat1, Kind::Angle},
    {"longitudeof1stpoint", ProjectionParameterID::Lon1, Kind::Angle},
    {"latitudeof2ndpoint", ProjectionParameterID::Lat2, Kind::Angle},
    {"longitudeof2ndpoint", ProjectionParameterID::Lon2, Kind::Angle},
};

// ESRI's axis scaling and rotation, and its auxiliary sphere choice.
struct EsriExtras {
    std::optional<double> xScale, yScale, planeRotation, auxiliarySphereType;
};

using GivenSet = std::bitset<32>;

const MethodEntry *FindMethod(const std::string &normalized) {
    for (const MethodEntry &entry : kMethods) {
        if (normalized == entry.name)
            return &entry;
    }
    return nullptr;
}

const ParameterEntry *FindParameter(const std::string &normalized) {
    for (const ParameterEntry &entry : kParameters) {
        if (normalized == entry.name)
            return &entry;
    }
    return nullptr;
}

bool ReadEsriExtra(const std::string &normalized, double value, EsriExtras &extras) {
    if (normalized == "xscale")
        extras.xScale = value;
    else if (normalized == "yscale")
        extras.yScale = value;
    else if (normalized == "xyplanerotation")
        extras.planeRotation = value;
    else if (normalized == "auxiliaryspheretype")
        extras.auxiliarySphereType = value;
    else
        return false;
    return true;
}

double ConvertValue(Kind kind, double value, const WktUnits &units) {
    switch (kind) {
    case Kind::Angle:
        return value * units.degreesPerAngleUnit;
    case Kind::Length:
        return value * units.metresPerLinearUnit;
    case Kind::Scale:
        break;
    }
    return value;
}

bool ReadParameters(const WktNode &projcs, const MethodEntry &method, const WktUnits &units,
                    gcs::ProjectionParameters &params, GivenSet &given, EsriExtras &extras,
                    std::wstring &message) {
    for (const WktNode *parameter : projcs.FindAll("PARAMETER")) {
        const std::string *name = parameter->Text(0);
        double value = 0.0;
        if (!name || !parameter->Number(1, value)) {
            message = L"A WKT PARAMETER needs a quoted name and a number.";
            return false;
        }
        const std::string normalized = NormalizeWktName(*name);
        if (ReadEsriExtra(normalized, value, extras))
            continue;
        const ParameterEntry *entry = FindParameter(normalized);
        if (!entry) {
            message = shr::FormatString(L"The WKT parameter \"%ls\" is not understood.",
                                        shr::AtoW(*name).c_str());
            return false;
        }
        ProjectionParameterID id = entry->id;
        if (method.form == Form::Bonne && normalized == "standardparallel1")
            id = ProjectionParameterID::Lat0;
        params.Set(id, ConvertValue(entry->kind, value, units));
        given.set(static_cast<size_t>(id));
    }
    return true;
}

bool Given(const GivenSet &given, ProjectionParameterID id) {
    return given.test(static_cast<size_t>(id));
}

// ESRI writes the one-parallel form with Standard_Parallel_1 equal to the latitude of
// origin, the two-parallel form with both parallels, and Michigan's with a scale factor too.
bool ApplyEsriLambert(const GivenSet &given, gcs::ProjectionParameters &params,
                      std::wstring &message) {
    if (Given(given, ProjectionParameterID::Lat2)) {
        const bool scaled =
            Given(given, ProjectionParameterID::ScaleFactor) && params.scaleFactor != 1.0;
        params.method = scaled ? ProjectionMethod::LambertConformalConicMichigan
                               : ProjectionMethod::LambertConformalConic2SP;
        return true;
    }
    if (Given(given, ProjectionParameterID::Lat1) && std::fabs(params.lat1 - params.lat0) > 1e-9) {
        message = L"A Lambert conformal conic with one standard parallel away from the "
                  L"latitude of origin is not supported.";
        return false;
    }
    params.method = ProjectionMethod::LambertConformalConic1SP;
    params.lat1 = 0.0;
    return true;
}

bool ApplyKrovak(const WktNode &projcs, const EsriExtras &extras, gcs::ProjectionParameters &params,
                 std::wstring &message) {
    if (extras.xScale || extras.yScale || extras.planeRotation) {
        const double x = extras.xScale.value_or(1.0), y = extras.yScale.value_or(1.0);
        const double rotation = extras.planeRotation.value_or(0.0);
        if (x == -1.0 && y == 1.0 && rotation == 90.0)
            params.option |= Option::NorthOrientated;
        else if (!(x == 1.0 && y == 1.0 && rotation == 0.0)) {
            message = L"Krovak with this ESRI axis scaling and rotation is not supported.";
            return false;
        }
        return true;
    }
    // WKT 1 axes default to east and north; PROJ reads an OGC Krovak that way unless its
    // AXIS nodes point south and west.
    const WktNode *axis = projcs.Find("AXIS");
    const bool southWest = axis && axis->atoms.size() >= 2 &&
                           axis->atoms[1].kind == WktAtom::Kind::Word &&
                           NormalizeWktName(axis->atoms[1].text) == "south";
    if (!southWest)
        params.option |= Option::NorthOrientated;
    return true;
}

// "+a=6378137 +b=6378137" on a Mercator: GDAL's way of writing Web Mercator in WKT 1.
bool ProjExtensionUsesSphere(const WktNode &projcs) {
    const WktNode *extension = projcs.Find("EXTENSION");
    const std::string *text = extension ? extension->Text(1) : nullptr;
    if (!text || text->find("+proj=merc") == std::string::npos)
        return false;
    auto valueOf = [text](const char *key) -> std::string {
        const size_t at = text->find(key);
        if (at == std::string::npos)
            return {};
        const size_t start = at + std::char_traits<char>::length(key);
        return text->substr(start, text->find(' ', start) - start);
    };
    const std::string a = valueOf("+a="), b = valueOf("+b=");
    return !a.empty() && a == b;
}

// The polar forms put the pole in Lat0; OGC's one name covers variants A and B.
void ApplyPolarStereographic(Form form, const GivenSet &given, gcs::ProjectionParameters &params) {
    if (form == Form::PolarStereographic) {
        if (Given(given, ProjectionParameterID::ScaleFactor)) {
            params.option |= Option::PolarVariantA;
            return;
        }
        params.option |= Option::PolarVariantB;
        params.lat1 = params.lat0; // OGC's latitude_of_origin is the latitude of true scale
    }
    if (form == Form::PolarNorth || form == Form::PolarSouth)
        params.lat0 = form == Form::PolarNorth ? 90.0 : -90.0;
    else
        params.lat0 = params.lat1 >= 0.0 ? 90.0 : -90.0;
}

bool ApplyForm(const WktNode &projcs, const MethodEntry &method, const GivenSet &given,
               const EsriExtras &extras, gcs::ProjectionParameters &params, std::wstring &message) {
    switch (method.form) {
    case Form::EsriLambert:
        return ApplyEsriLambert(given, params, message);
    case Form::PolarStereographic:
    case Form::PolarNorth:
    case Form::PolarSouth:
    case Form::PolarVariantC:
        ApplyPolarStereographic(method.form, given, params);
        return true;
    case Form::Krovak:
        return ApplyKrovak(projcs, extras, params, message);
    case Form::Behrmann:
        if (!Given(given, ProjectionParameterID::Lat1))
            params.lat1 = 30.0;
        return true;
    case Form::AuxiliarySphere:
        if (extras.auxiliarySphereType.value_or(0.0) == 0.0 && params.lat1 == 0.0)
            return true;
        message = L"Only auxiliary sphere type 0 (Web Mercator) is supported.";
        return false;
    case Form::Mercator1SP:
        if (ProjExtensionUsesSphere(projcs))
            params.method = ProjectionMethod::PseudoMercator;
        return true;
    case Form::EsriLocal:
        if (params.azimuth == 0.0 && params.scaleFactor == 1.0)
            return true;
        message = L"ESRI's Local projection is read only as an orthographic one, with "
                  L"azimuth 0 and scale factor 1.";
        return false;
    case Form::Plain:
    case Form::Bonne:
        break;
    }
    return true;
}

// ESRI's scaling and rotation mean something only for Krovak and the skew orthomorphic
// forms; elsewhere only their neutral values are accepted.
bool CheckEsriExtras(const MethodEntry &method, const EsriExtras &extras,
                     gcs::ProjectionParameters &params, GivenSet &given, std::wstring &message) {
    if (method.form == Form::Krovak)
        return true;
    if (extras.planeRotation && method.method == ProjectionMethod::HotineObliqueMercator) {
        params.gridAngle = *extras.planeRotation;
        given.set(static_cast<size_t>(ProjectionParameterID::GridAngle));
    } else if (extras.planeRotation.value_or(0.0) != 0.0) {
        message = L"An ESRI XY_Plane_Rotation other than 0 is not supported here.";
        return false;
    }
    if (extras.xScale.value_or(1.0) != 1.0 || extras.yScale.value_or(1.0) != 1.0) {
        message = L"An ESRI X_Scale or Y_Scale other than 1 is not supported here.";
        return false;
    }
    return true;
}

} // namespace

std::string NormalizeWktName(std::string_view name) {
    std::string normalized;
    normalized.reserve(name.size());
    for (char c : name) {
        if (std::isalnum(static_cast<unsigned char>(c)))
            normalized.push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(c))));
    }
    return normalized;
}

bool ReadWktProjection(const WktNode &projcs, const WktUnits &units,
                       gcs::ProjectionParameters &params, std::wstring &message) {
    const WktNode *projection = projcs.Find("PROJECTION");
    const std::string *name = projection ? projection->Text(0) : nullptr;
    if (!name) {
        message = L"The WKT PROJCS has no PROJECTION name.";
        return false;
    }
    const MethodEntry *method = FindMethod(NormalizeWktName(*name));
    if (!method) {
        message = shr::FormatString(L"The WKT projection \"%ls\" is not supported.",
                                    shr::AtoW(*name).c_str());
        return false;
    }
    params.method = method->method;
    params.option = method->option;
    GivenSet given;
    EsriExtras extras;
    if (!ReadParameters(projcs, *method, units, params, given, extras, message) ||
        !CheckEsriExtras(*method, extras, params, given, message) ||
        !ApplyForm(projcs, *method, given, extras, params, message))
        return false;
    // Without a rectified grid angle the grid is aligned with the initial line.
    if (params.method == ProjectionMethod::HotineObliqueMercator &&
        !Given(given, ProjectionParameterID::GridAngle))
        params.gridAngle = params.azimuth;
    return true;
}

} // namespace gcsfile
