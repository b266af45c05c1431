// Running the peer tools, scratch files, GDAL-made fixtures and raster comparison.
#include "Peer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

namespace peer {

std::string RunCommand(const std::string &command) { return Run(command).out; }

std::string ReadFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

CommandResult Run(const std::string &command) {
    // One name per process: peer tests may run side by side.
    const std::string base = ScratchPath("command" + std::to_string(getpid()));
    // Grouped, so that the command's own redirections (2>&1) keep their meaning.
    const int raw =
        std::system(("{ " + command + "\n} >" + base + ".out 2>" + base + ".err").c_str());
    return {raw != -1 && WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadFile(base + ".out"),
            ReadFile(base + ".err")};
}

int RunQuiet(const std::string &command) {
    return std::system((command + " >/dev/null 2>&1").c_str());
}

std::string ShellQuote(const std::string &text) {
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

namespace {

template <class T> void Put(std::ofstream &out, double value) {
    const T t = static_cast<T>(value);
    out.write(reinterpret_cast<const char *>(&t), sizeof t);
}

} // namespace

std::string MakeEnviSource(const std::string &name, uint32_t width, uint32_t height, int bands,
                           const std::string &type, std::optional<double> hole) {
    // ENVI's code of each type, and how a byte pattern v with 8 bits of noise n fills it.
    struct Kind {
        const char *name;
        int code;
        void (*put)(std::ofstream &, double);
        double (*value)(uint32_t v, uint32_t n);
    };
    static const Kind kinds[] = {
        {"Byte", 1, Put<uint8_t>, [](uint32_t v, uint32_t) { return double(v); }},
        {"UInt16", 12, Put<uint16_t>, [](uint32_t v, uint32_t n) { return double(v * 251 + n); }},
        {"Int16", 2, Put<int16_t>, [](uint32_t v, uint32_t n) { return v * 100.0 + n - 20000; }},
        {"UInt32", 13, Put<uint32_t>, [](uint32_t v, uint32_t n) { return v * 1000003.0 + n; }},
        {"Float32", 4, Put<float>,
         [](uint32_t v, uint32_t n) { return (v + n / 256.0) / 128 - 1; }},
        {"Float64", 5, Put<double>, [](uint32_t v, uint32_t n) { return v * 0.25 + n * 1e-3 - 7; }},
    };
    const Kind *kind = &kinds[0];
    for (const Kind &k : kinds)
        if (type == k.name)
            kind = &k;
    const std::string raw = ScratchPath(name + ".raw");
    std::ofstream out(raw, std::ios::binary);
    for (int b = 0; b < bands; ++b)
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                // Gradients plus a hash, so that neighbouring pixels differ and averages vary.
                const uint32_t h = (x * 2654435761u) ^ (y * 40503u) ^ (b * 97u);
                const uint32_t v = (x / 3 + y / 2 + b * 60 + (h >> 27)) & 0xFF;
                // Holes fall on the same pixels in every band.
                const bool inHole = hole && (((x * 2654435761u) ^ (y * 40503u)) >> 22 & 15) == 0;
                kind->put(out, inHole ? *hole : kind->value(v, h & 0xFF));
            }
    std::ofstream header(ScratchPath(name + ".hdr"));
    header << "ENVI\nsamples = " << width << "\nlines = " << height << "\nbands = " << bands
           << "\nheader offset = 0\nfile type = ENVI Standard\ndata type = " << kind->code
           << "\ninterleave = bsq\nbyte order = 0\n";
    return raw;
}

std::string MakeGeoTiff(const std::string &name, const std::string &source,
                        const std::string &options, const std::string &overviews,
                        const std::string &placement) {
    const std::string path = ScratchPath(name + ".tif");
    std::remove(path.c_str());
    if (RunQuiet("gdal_translate -q -of GTiff " + placement + " " + options + " " +
                 ShellQuote(source) + " " + ShellQuote(path)) != 0)
        return "";
    if (!overviews.empty() &&
        RunQuiet("gdaladdo -q -r average " + ShellQuote(path) + " " + overviews) != 0)
        return "";
    return path;
}

std::vector<std::string> TestTiffs(const std::string &folder) {
    std::vector<std::string> files;
    for (const auto &entry :
         std::filesystem::directory_iterator(std::string(IOSID_TESTDATA) + "/" + folder))
        if (entry.path().extension() == ".tif" || entry.path().extension() == ".tiff")
            files.push_back(entry.path().string());
    std::sort(files.begin(), files.end());
    return files;
}

const std::vector<std::string> &GeoTiffFixtures() {
    // Coordinate systems given to byte.tif (tie point and pixel scale), so that GDAL writes
    // the keys.
    static const std::pair<const char *, const char *> generated[] = {
        {"peer_2227_ftus", "EPSG:2227"},
        {"peer_3857", "EPSG:3857"},
        {"peer_32756", "EPSG:32756"},
        {"peer_4269", "EPSG:4269"},
        {"peer_tmerc_towgs84",
         "+proj=tmerc +lat_0=10 +lon_0=20 +k=0.9 +x_0=1000 +y_0=2000 +ellps=GRS80 "
         "+towgs84=1,2,3,0,0,0,0 +units=m"},
        {"peer_longlat_7param", "+proj=longlat +ellps=intl +towgs84=-87,-98,-121,0.1,0.2,0.3,1.5"},
        {"peer_laea", "+proj=laea +lat_0=45 +lon_0=-100 +x_0=10 +y_0=20 +datum=WGS84 +units=m"},
        {"peer_stere_north",
         "+proj=stere +lat_0=90 +lat_ts=70 +lon_0=-45 +k=1 +x_0=0 +y_0=0 +datum=WGS84 +units=m"},
        {"peer_aea_usft", "+proj=aea +lat_1=29.5 +lat_2=45.5 +lat_0=23 +lon_0=-96 +x_0=0 +y_0=0 "
                          "+datum=NAD83 +units=us-ft"},
        {"peer_merc", "+proj=merc +lon_0=10 +k=0.99 +x_0=5 +y_0=6 +datum=WGS84 +units=m"},
        {"peer_lcc",
         "+proj=lcc +lat_1=33 +lat_2=45 +lat_0=39 +lon_0=-96 +x_0=0 +y_0=0 +datum=NAD27 +units=m"},
        {"peer_poly",
         "+proj=poly +lat_0=0 +lon_0=-54 +x_0=5000000 +y_0=10000000 +ellps=aust_SA +units=m"},
        {"peer_eqc", "+proj=eqc +lat_ts=30 +lat_0=0 +lon_0=10 +x_0=0 +y_0=0 +datum=WGS84"},
        {"peer_sinu_sphere", "+proj=sinu +lon_0=0 +R=6371007.181 +units=m"},
    };
    static std::vector<std::string> fixtures;
    if (!fixtures.empty())
        return fixtures;
    fixtures = TestTiffs("geotiff");
    const std::string byteTif = std::string(IOSID_TESTDATA) + "/geotiff/byte.tif";
    for (auto [name, srs] : generated) {
        fixtures.push_back(MakeGeoTiff(name, byteTif, "", "", "-a_srs " + ShellQuote(srs)));
        EXPECT_FALSE(fixtures.back().empty()) << "gdal_translate failed for " << srs;
    }
    fixtures.push_back(MakeGeoTiff("peer_gcps", byteTif,
                                   "-gcp 0 0 440720 3751320 -gcp 20 0 441920 3751320 -gcp 0 20 "
                                   "440720 3750120 -gcp 20 20 441925 3750118 -gcp 10 10 441321 "
                                   "3750719",
                                   "", "-a_srs EPSG:26711"));
    EXPECT_FALSE(fixtures.back().empty()) << "gdal_translate failed for the GCP file";
    return fixtures;
}

std::string FileName(const std::string &path) {
    return std::filesystem::path(path).filename().string();
}

void CopySample(const unsigned char *src, uint64_t srcBit, unsigned char *dst, uint64_t dstBit,
                unsigned bits) {
    if (bits % 8 == 0 && srcBit % 8 == 0 && dstBit % 8 == 0) {
        std::memcpy(dst + dstBit / 8, src + srcBit / 8, bits / 8);
        return;
    }
    for (unsigned i = 0; i < bits; ++i) {
        const uint64_t s = srcBit + i;
        const uint64_t d = dstBit + i;
        const unsigned bit = (src[s / 8] >> (7 - s % 8)) & 1;
        const auto mask = static_cast<unsigned char>(0x80 >> (d % 8));
        dst[d / 8] = bit ? (dst[d / 8] | mask) : (dst[d / 8] & ~mask);
    }
}

int MaxDifference(const Raster &a, const Raster &b) {
    if (a.width != b.width || a.height != b.height || a.spp != b.spp ||
        a.bytes.size() != b.bytes.size())
        return -1;
    int worst = 0;
    for (size_t i = 0; i < a.bytes.size(); ++i)
        worst = std::max(worst, std::abs(int{a.bytes[i]} - int{b.bytes[i]}));
    return worst;
}

} // namespace peer
