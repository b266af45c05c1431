// Running the peers (listgeo, gdalinfo, gdal_translate) and reading what they print.
#pragma once
#include <map>
#include <string>
#include <vector>

namespace georefpeer {

// stdout of a shell command; `ok` false when it could not run or exited nonzero.
std::string RunCommand(const std::string &command, bool *ok = nullptr);
std::string ShellQuote(const std::string &text);

// One key as listgeo prints it, its names turned back into numbers with libgeotiff's own
// tables.
struct ListgeoKey {
    int id = 0;
    std::string type; // "Short", "Double" or "Ascii"
    int count = 0;
    int shortValue = -1;
    std::vector<std::string> doubles; // as printed ("%.15g")
    std::string text;                 // unescaped
};

// The keys of `path` as listgeo reports them; `error` explains a failure.
bool ListgeoKeys(const std::string &path, std::vector<ListgeoKey> &keys, std::string &error);

// What gdalinfo -json -wkt_format WKT1 says about a file's georeferencing.
struct GdalInfo {
    bool hasGeoTransform = false;
    double geoTransform[6] = {};
    struct Gcp {
        double pixel, line, x, y;
    };
    std::vector<Gcp> gcps;
    std::string wkt;    // WKT 1, empty when the file has no coordinate system
    int rasterType = 1; // 2 when AREA_OR_POINT is Point
};

bool ReadGdalInfo(const std::string &path, GdalInfo &info, std::string &error);

// A WKT 1 node: keyword, plain values (quotes removed) and child nodes.
struct WktNode {
    std::string keyword;
    std::vector<std::string> values;
    std::vector<WktNode> children;

    const WktNode *Child(const std::string &keyword) const;
    double Number(size_t index) const;
    // PARAMETER children by name.
    std::map<std::string, double> Parameters() const;
    // The EPSG code of the AUTHORITY child, 0 when absent.
    int EpsgCode() const;
};

bool ParseWkt(const std::string &text, WktNode &root);

} // namespace georefpeer
