// The peer fixtures: libgeotiff's test files and GeoTIFFs written by gdal_translate.
#include "PeerFixtures.h"

#include "PeerTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace georefpeer {
namespace {

namespace fs = std::filesystem;

// SRS given to gdal_translate -a_srs over byte.tif (tie point and pixel scale), so GDAL
// writes the keys.
const std::pair<const char *, const char *> kGenerated[] = {
    {"peer_2227_ftus.tif", "EPSG:2227"},
    {"peer_3857.tif", "EPSG:3857"},
    {"peer_32756.tif", "EPSG:32756"},
    {"peer_4269.tif", "EPSG:4269"},
    {"peer_tmerc_towgs84.tif",
     "+proj=tmerc +lat_0=10 +lon_0=20 +k=0.9 +x_0=1000 +y_0=2000 +ellps=GRS80 "
     "+towgs84=1,2,3,0,0,0,0 +units=m"},
    {"peer_longlat_7param.tif", "+proj=longlat +ellps=intl +towgs84=-87,-98,-121,0.1,0.2,0.3,1.5"},
    {"peer_laea.tif", "+proj=laea +lat_0=45 +lon_0=-100 +x_0=10 +y_0=20 +datum=WGS84 +units=m"},
    {"peer_stere_north.tif",
     "+proj=stere +lat_0=90 +lat_ts=70 +lon_0=-45 +k=1 +x_0=0 +y_0=0 +datum=WGS84 +units=m"},
    {"peer_aea_usft.tif",
     "+proj=aea +lat_1=29.5 +lat_2=45.5 +lat_0=23 +lon_0=-96 +x_0=0 +y_0=0 +datum=NAD83 "
     "+units=us-ft"},
    {"peer_merc.tif", "+proj=merc +lon_0=10 +k=0.99 +x_0=5 +y_0=6 +datum=WGS84 +units=m"},
    {"peer_lcc.tif",
     "+proj=lcc +lat_1=33 +lat_2=45 +lat_0=39 +lon_0=-96 +x_0=0 +y_0=0 +datum=NAD27 +units=m"},
    {"peer_poly.tif",
     "+proj=poly +lat_0=0 +lon_0=-54 +x_0=5000000 +y_0=10000000 +ellps=aust_SA +units=m"},
    {"peer_eqc.tif", "+proj=eqc +lat_ts=30 +lat_0=0 +lon_0=10 +x_0=0 +y_0=0 +datum=WGS84"},
    {"peer_sinu_sphere.tif", "+proj=sinu +lon_0=0 +R=6371007.181 +units=m"},
};

std::string BuildPath(const std::string &name) { return std::string(IOSID_BUILD_DIR) + "/" + name; }

} // namespace

const std::vector<std::string> &Fixtures() {
    static std::vector<std::string> fixtures;
    if (!fixtures.empty())
        return fixtures;
    const std::string source = std::string(IOSID_TESTDATA) + "/geotiff";
    for (const fs::directory_entry &entry : fs::directory_iterator(source)) {
        if (entry.path().extension() == ".tif")
            fixtures.push_back(entry.path().string());
    }
    std::sort(fixtures.begin(), fixtures.end());
    const std::string byteTif = ShellQuote(source + "/byte.tif");
    for (auto [name, srs] : kGenerated) {
        const std::string out = BuildPath(name);
        bool ok = false;
        RunCommand("gdal_translate -q -a_srs " + ShellQuote(srs) + " " + byteTif + " " +
                       ShellQuote(out),
                   &ok);
        EXPECT_TRUE(ok) << "gdal_translate failed for " << srs;
        fixtures.push_back(out);
    }
    const std::string gcps = BuildPath("peer_gcps.tif");
    bool ok = false;
    RunCommand("gdal_translate -q -a_srs EPSG:26711 -gcp 0 0 440720 3751320 -gcp 20 0 441920 "
               "3751320 -gcp 0 20 440720 3750120 -gcp 20 20 441925 3750118 -gcp 10 10 441321 "
               "3750719 " +
                   byteTif + " " + ShellQuote(gcps),
               &ok);
    EXPECT_TRUE(ok) << "gdal_translate failed for the GCP file";
    fixtures.push_back(gcps);
    return fixtures;
}

std::string Name(const std::string &path) { return fs::path(path).filename().string(); }

} // namespace georefpeer
