// What GDAL sees in a file: pixels through gdal_translate, ranges and georeferencing through
// gdalinfo -json, and a small WKT 1 reader for the latter.
#include "Peer.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace peer {
namespace {

nlohmann::json GdalJson(const std::string &arguments) {
    const CommandResult run = Run("gdalinfo -json " + arguments);
    return run.status == 0 ? nlohmann::json::parse(run.out, nullptr, false) : nlohmann::json();
}

// gdalinfo's name of a band's data type to its bits: Byte, UInt16, Float32...
uint16_t TypeBits(const std::string &type) {
    const size_t digits = type.find_first_of("123456789");
    return digits == std::string::npos ? 8 : static_cast<uint16_t>(std::stoi(type.substr(digits)));
}

// KEYWORD[value, "text", CHILD[...], ...], with [] or (), from `pos`.
bool ParseNode(const std::string &text, size_t &pos, WktNode &node) {
    const auto peek = [&] { return pos < text.size() ? text[pos] : '\0'; };
    const auto skip = [&] {
        while (std::isspace(static_cast<unsigned char>(peek())))
            ++pos;
    };
    skip();
    while (std::isalnum(static_cast<unsigned char>(peek())) || peek() == '_')
        node.keyword.push_back(text[pos++]);
    skip();
    if (node.keyword.empty() || (peek() != '[' && peek() != '('))
        return false;
    for (++pos;; ++pos) { // past the bracket, then past each comma
        skip();
        const size_t start = pos;
        WktNode child;
        if (peek() == '"') {
            const size_t end = std::min(text.find('"', start + 1), text.size());
            node.values.push_back(text.substr(start + 1, end - start - 1));
            pos = end + 1;
        } else if (std::isalpha(static_cast<unsigned char>(peek())) &&
                   ParseNode(text, pos, child)) {
            node.children.push_back(std::move(child));
        } else { // a number or a bare word such as EAST
            pos = std::min(text.find_first_of(",])", start), text.size());
            node.values.push_back(text.substr(start, pos - start));
        }
        skip();
        if (peek() != ',')
            break;
    }
    if (peek() != ']' && peek() != ')')
        return false;
    ++pos;
    return true;
}

} // namespace

Raster GdalRead(const std::string &path, const std::string &args) {
    Raster image;
    const std::string out = ScratchPath("gdal_read.raw");
    std::remove(out.c_str());
    if (RunQuiet("gdal_translate -q -of ENVI -co INTERLEAVE=BIP " + args + " " + ShellQuote(path) +
                 " " + ShellQuote(out)) != 0) {
        image.error = "gdal_translate failed on " + path;
        return image;
    }
    const nlohmann::json info = GdalJson(ShellQuote(out));
    if (!info.is_object() || !info.contains("size") ||
        info.value("bands", nlohmann::json()).empty()) {
        image.error = "gdalinfo cannot describe " + out;
        return image;
    }
    image.spp = static_cast<uint16_t>(info["bands"].size());
    image.bps = TypeBits(info["bands"][0].value("type", ""));
    image.width = info["size"][0];
    image.height = info["size"][1];
    const std::string raw = ReadFile(out);
    image.bytes.assign(raw.begin(), raw.end());
    if (image.bytes.size() != image.RowBytes() * image.height)
        image.error = "gdal_translate wrote " + std::to_string(raw.size()) + " bytes";
    return image;
}

std::vector<BandRange> GdalRanges(const std::string &path, int overview) {
    const std::string oo = overview >= 0 ? " -oo OVERVIEW_LEVEL=" + std::to_string(overview) : "";
    const nlohmann::json info = GdalJson("-mm" + oo + " " + ShellQuote(path));
    std::vector<BandRange> ranges;
    if (!info.is_object())
        return ranges;
    const auto none = nlohmann::json::object();
    for (const auto &band : info.value("bands", nlohmann::json::array())) {
        const auto &md = band.value("metadata", none).value("", none);
        if (md.contains("STATISTICS_MINIMUM") && md.contains("STATISTICS_MAXIMUM"))
            ranges.push_back({std::stod(md["STATISTICS_MINIMUM"].get<std::string>()),
                              std::stod(md["STATISTICS_MAXIMUM"].get<std::string>())});
        else
            ranges.push_back({band.value("computedMin", 0.0), band.value("computedMax", 0.0)});
    }
    return ranges;
}

std::string StretchArgs(const std::vector<BandRange> &ranges) {
    std::ostringstream args;
    args.precision(17);
    args << "-ot Byte";
    for (size_t b = 0; b < ranges.size(); ++b)
        args << " -scale_" << b + 1 << " " << ranges[b].lo << " " << ranges[b].hi << " 0 255";
    return args.str();
}

bool ReadGdalInfo(const std::string &path, GdalInfo &info, std::string &error) {
    const nlohmann::json d = GdalJson("-wkt_format WKT1 " + ShellQuote(path));
    if (!d.is_object()) {
        error = "gdalinfo failed on " + path;
        return false;
    }
    const auto none = nlohmann::json::object();
    if (d.contains("geoTransform")) {
        info.hasGeoTransform = true;
        for (int k = 0; k < 6; ++k)
            info.geoTransform[k] = d["geoTransform"][k].get<double>();
    }
    const auto gcps = d.contains("gcps") && d["gcps"].is_object() ? d["gcps"] : none;
    for (const auto &g : gcps.value("gcpList", nlohmann::json::array()))
        info.gcps.push_back({g["pixel"].get<double>(), g["line"].get<double>(),
                             g["x"].get<double>(), g["y"].get<double>()});
    if (d.value("metadata", none).value("", none).value("AREA_OR_POINT", "") == "Point")
        info.rasterType = 2;
    auto system = d.value("coordinateSystem", none);
    if (!system.is_object() || system.empty())
        system = gcps.value("coordinateSystem", none);
    if (!system.is_object())
        system = none;
    // On one line: the multi-line WKT with its indentation squeezed out.
    std::istringstream words(system.value("wkt", ""));
    for (std::string word; words >> word;)
        info.wkt += (info.wkt.empty() ? "" : " ") + word;
    return true;
}

bool ParseWkt(const std::string &text, WktNode &root) {
    size_t pos = 0;
    return ParseNode(text, pos, root);
}

const WktNode *WktNode::Child(const std::string &name) const {
    for (const WktNode &child : children)
        if (child.keyword == name)
            return &child;
    return nullptr;
}

double WktNode::Number(size_t index) const {
    return index < values.size() ? std::strtod(values[index].c_str(), nullptr) : 0.0;
}

std::map<std::string, double> WktNode::Parameters() const {
    std::map<std::string, double> parameters;
    for (const WktNode &child : children)
        if (child.keyword == "PARAMETER" && !child.values.empty())
            parameters[child.values[0]] = child.Number(1);
    return parameters;
}

int WktNode::EpsgCode() const {
    const WktNode *authority = Child("AUTHORITY");
    return authority && authority->values.size() == 2 && authority->values[0] == "EPSG"
               ? std::atoi(authority->values[1].c_str())
               : 0;
}

} // namespace peer
