// The plug-in end to end: loaded from its file by the iosid host, imports written as GeoTIFF and
// checked with GDAL (pixels, EPSG code, geotransform), the info table, and the exit statuses and
// messages of failures.
#include "support/peer/Peer.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <fstream>

using namespace peer;

namespace {

std::string Iosid(const std::string &args) { return std::string(IOSID_PROGRAM) + " " + args; }

struct Source {
    std::string path;
    uint32_t width, height;
};

Source Make(const char *name, uint32_t w, uint32_t h, int bands, const char *options,
            const char *overviews) {
    const std::string raw = MakeEnviSource(name, w, h, bands, "Byte");
    return {MakeGeoTiff(name, raw, std::string("-co TILED=YES ") + options, overviews), w, h};
}

const Source &Rgb() {
    static const Source s = Make("imp_rgb", 700, 500, 3, "-co COMPRESS=DEFLATE", "2 4 8");
    return s;
}

const Source &Rgba() {
    static const Source s = Make("imp_rgba", 300, 260, 4, "-co ALPHA=YES", "2");
    return s;
}

// What an output in `bits` holds for GDAL's RGB(A) pixels: grey is the mean of the colours;
// 16 levels and black-and-white are cut from it.
Raster Expected(const Raster &rgb, int bits) {
    if (bits >= 24)
        return rgb;
    Raster out = rgb;
    out.spp = 1;
    out.bytes.clear();
    for (size_t i = 0; i < rgb.bytes.size(); i += rgb.spp) {
        const int sum = rgb.bytes[i] + rgb.bytes[i + 1] + rgb.bytes[i + 2];
        out.bytes.push_back(bits == 8   ? uint8_t(sum / 3)
                            : bits == 4 ? uint8_t(sum / 3.0 * 15.0 / 255.0)
                                        : uint8_t(sum >= 384));
    }
    return out;
}

struct ImportCase {
    const char *name;
    const Source &(*source)();
    const char *flags;        // besides the input and output
    int bits;                 // what the output holds
    uint32_t scale;           // reduction used
    uint32_t region[4];       // used, full-resolution pixels
    const char *warning = ""; // on stderr
};

// clang-format off
const ImportCase kCases[] = {
    {"scale and format that the file does not offer", Rgb, "--scale 3 --format 32", 24, 1,
     {0, 0, 699, 499}, "scale 3 is not offered by this file; used 1\n"
                       "iosid import: format 32 was asked; the image came as 24 bits"},
    {"scale beyond the largest reduction", Rgb, "--scale 16 --region 0,0,695,495", 24, 8,
     {0, 0, 695, 495}, "scale 16 is not offered by this file; used 8"},
    {"grey region", Rgb, "--format 8 --scale 8 --region 64,32,575,479 --compress deflate", 8, 8,
     {64, 32, 575, 479}},
    {"16 levels", Rgb, "--format 4 --scale 2", 4, 2, {0, 0, 699, 499}},
    {"black and white", Rgb, "--format 1 --region 3,5,402,304", 1, 1, {3, 5, 402, 304}},
    {"alpha promoted", Rgba, "--scale 2", 32, 2, {0, 0, 299, 259}},
    {"options string", Rgb, "--options \"Scale=2;ULX=50;ULY=40;LRX=449;LRY=339\"", 24, 2,
     {50, 40, 449, 339}},
    {"linked whole file", Rgb, "--scale 4 --linked", 24, 1, {0, 0, 699, 499}},
};
// clang-format on

class ImportCommand : public ::testing::TestWithParam<ImportCase> {};

TEST_P(ImportCommand, OutputMatchesGdalPixelsAndGeoreferencing) {
    const ImportCase &c = GetParam();
    const Source &source = c.source();
    ASSERT_FALSE(source.path.empty());
    const std::string out = ScratchPath(std::string("imp_") + std::to_string(&c - kCases) + ".tif");
    std::remove(out.c_str());
    const std::string args = "import " + source.path + " -o " + out + " --defaults --quiet " +
                             "--settings " + ScratchPath("imp_settings.json") + " " + c.flags;
    const CommandResult run = peer::Run(Iosid(args));
    ASSERT_EQ(run.status, 0) << c.name << ": " << run.err;
    EXPECT_NE(run.err.find(c.warning), std::string::npos) << run.err;
    const uint32_t *r = c.region;
    const uint32_t w = (r[2] - r[0] + 1) / c.scale, h = (r[3] - r[1] + 1) / c.scale;
    const Raster peer = GdalRead(
        source.path, "-srcwin " + std::to_string(r[0]) + " " + std::to_string(r[1]) + " " +
                         std::to_string(r[2] - r[0] + 1) + " " + std::to_string(r[3] - r[1] + 1) +
                         " -outsize " + std::to_string(w) + " " + std::to_string(h));
    const Raster ours = GdalRead(out, "");
    EXPECT_EQ(MaxDifference(ours, Expected(peer, c.bits)), 0)
        << c.name << " size " << ours.width << "x" << ours.height;
    const auto info = nlohmann::json::parse(RunCommand("gdalinfo -json " + out));
    EXPECT_NE(info["coordinateSystem"]["wkt"].get<std::string>().find("ID[\"EPSG\",32611]"),
              std::string::npos)
        << c.name;
    // The four-corner warp ties the centres of the region's corner pixels to output pixels 0
    // and floor((right - left) / scale).
    const auto src = nlohmann::json::parse(RunCommand("gdalinfo -json " + source.path));
    const auto &g = src["geoTransform"];
    const double dx = g[1], dy = g[5];
    const double x0 = double(g[0]) + (r[0] + 0.5) * dx, y0 = double(g[3]) + (r[1] + 0.5) * dy;
    const double sx = (r[2] - r[0]) * dx / std::floor(double(r[2] - r[0]) / c.scale);
    const double sy = (r[3] - r[1]) * dy / std::floor(double(r[3] - r[1]) / c.scale);
    const double expected[6] = {x0 - sx / 2, sx, 0, y0 - sy / 2, 0, sy};
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(double(info["geoTransform"][i]), expected[i], 1e-6) << c.name << " " << i;
}

INSTANTIATE_TEST_SUITE_P(Cases, ImportCommand, ::testing::ValuesIn(kCases),
                         [](const auto &info) { return "case" + std::to_string(info.index); });

TEST(ImportCommandFailures, StatusMessageAndNoOutput) {
    const std::string text = ScratchPath("imp_not_an_image.txt");
    std::ofstream(text) << "plain text";
    const std::string out = ScratchPath("imp_failed.tif");
    const struct {
        std::string args;
        int status;
        std::string message; // on stderr
    } cases[] = {
        {"import " + text + " -o " + out, 2,
         "Unable to initiate SID import from file '" + text +
             "'.  The file may be missing or unreadable, or may not be a valid SID file.\n\n"
             "--- Additional error details ---\nFailed opening MrSID file:  " +
             text},
        {"import " + Rgb().path + " -o " + out + " --region 1,2,3", 64, "--region"},
        {"info " + Rgb().path + " --plugin " + ScratchPath("missing.so"), 2,
         "cannot load the plug-in"},
        {"info " + text, 2, "cannot read this file"},
    };
    for (const auto &c : cases) {
        std::remove(out.c_str());
        const std::string args = c.args + " --settings " + ScratchPath("imp_fail.json");
        const CommandResult run = peer::Run(Iosid(args));
        EXPECT_EQ(run.status, c.status) << args << "\n" << run.err;
        EXPECT_NE(run.err.find(c.message), std::string::npos) << c.args << "\n" << run.err;
        EXPECT_FALSE(std::ifstream(out).good()) << c.args;
    }
}

// Ctrl-C while decoding: exit 130, and neither the output nor its temporary file is left.
TEST(ImportCommandCancel, CtrlCStopsTheImportAndLeavesNothing) {
    const std::string big = Make("imp_big", 4000, 3000, 3, "-co COMPRESS=DEFLATE", "").path;
    ASSERT_FALSE(big.empty());
    const std::string dir = ScratchPath("imp_cancel");
    RunQuiet("rm -rf " + dir + " && mkdir -p " + dir);
    const std::string script =
        Iosid("import " + big + " -o " + dir + "/out.raw --quiet --settings " + dir + "/s.json 2>" +
              dir + "/err.txt") +
        " & pid=$!; for i in $(seq 1 1000); do ls " + dir +
        "/.out.raw.tmp-* >/dev/null 2>&1 && break; sleep 0.005; done; kill -INT $pid; "
        "wait $pid; echo $?";
    EXPECT_EQ(RunCommand("bash -c '" + script + "'"), "130\n");
    EXPECT_NE(ReadFile(dir + "/err.txt").find("cancelled"), std::string::npos);
    EXPECT_EQ(RunCommand("ls -A " + dir + " | grep out"), "");
}

// Every file that opens reports the reader's default 24-bit output, alpha or not; the sizes
// are numbers, the rest text.
TEST(InfoCommand, TableFromThePluginLoadedByPath) {
    for (const Source *s : {&Rgb(), &Rgba()}) {
        const auto info = nlohmann::json::parse(
            RunCommand(Iosid("info --json " + s->path + " --plugin " + std::string(IOSID_PLUGIN))));
        EXPECT_EQ(info["info"], (nlohmann::json{{"Color Format", "RGB"},
                                                {"File Format", "LizardTech MrSID Image"},
                                                {"Image Bits Per Pixel", 24},
                                                {"Image Height", s->height},
                                                {"Image Width", s->width}}));
    }
}

} // namespace
