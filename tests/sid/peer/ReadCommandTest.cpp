// The `iosid read` command end to end: the JSON summary, agreement with `iosid georef`, and exit
// statuses for bad requests. Its PNG output is compared with GDAL in DynamicRangePeerTest; the
// writers' formats in the host tests.
#include "OurReader.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <fstream>
#include <string>

using namespace peer;

namespace {

std::string Iosid(const std::string &args) { return std::string(IOSID_PROGRAM) + " read " + args; }

std::string Pyramid() {
    static const std::string tiff = [] {
        const std::string source = MakeEnviSource("cli_rgb", 900, 700, 3, "Byte");
        return MakeGeoTiff("cli_rgb", source, "-co TILED=YES -co COMPRESS=DEFLATE", "2 4");
    }();
    return tiff;
}

TEST(ReadCommand, JsonSummaryCarriesSizeScaleAndWarp) {
    const std::string tiff = Pyramid();
    const std::string out = RunCommand(Iosid(tiff + " -o " + ScratchPath("cli.raw") +
                                             " --scale 2 --region 100,50,899,649 --json"));
    // The warp spans corner pixel to corner pixel: (899 - 100) / 2 = 399 output pixels.
    for (const char *field :
         {"\"width\": 400", "\"height\": 300", "\"bitsPerPixel\": 24", "\"scale\": 2",
          "\"maxScale\": 4", "\"posc\": 32611", "\"pixel\": [399, 299]"})
        EXPECT_NE(out.find(field), std::string::npos) << field << " in " << out;
}

nlohmann::json Json(const std::string &command) {
    return nlohmann::json::parse(RunCommand(std::string(IOSID_PROGRAM) + " " + command), nullptr,
                                 false);
}

// The reader's four-corner warp maps pixel centres (full image at scale 1: output pixel =
// image pixel); `iosid georef` gives the raster-to-model coefficients of the same tags.
TEST(ReadCommand, AgreesWithGeorefOnEveryFixture) {
    int warps = 0, codes = 0;
    for (const std::string &file : TestTiffs("geotiff")) {
        const nlohmann::json read =
            Json("read " + file + " -o " + ScratchPath("agree.raw") + " --json");
        const nlohmann::json georef = Json("georef --json " + file);
        const nlohmann::json keys = Json("geokeys --json " + file);
        ASSERT_FALSE(read.is_discarded() || georef.is_discarded() || keys.is_discarded()) << file;
        const nlohmann::json &points = read["georeferencing"]["points"];
        // The reader names a system only by the file's ProjectedCSType code; the GeoTIFF module
        // also recognises systems by their parameters, so only the reader's codes must agree.
        if (read["georeferencing"]["posc"] != 0) {
            EXPECT_EQ(read["georeferencing"]["posc"], georef["code"]) << file;
            ++codes;
        }
        if (points.empty())
            continue;
        const nlohmann::json &c = georef["warp"]["coefficients"];
        ASSERT_TRUE(c.is_array()) << file;
        const double half = keys["params"].value("GTRasterType", 0) == 2 ? 0.0 : 0.5;
        for (const nlohmann::json &point : points) {
            const double u = point["pixel"][0].get<double>() + half;
            const double v = point["pixel"][1].get<double>() + half;
            const double x = point["map"][0], y = point["map"][1];
            const double tolerance = 1e-9 * (1 + std::fabs(x) + std::fabs(y));
            EXPECT_NEAR(x, c[0].get<double>() * u + c[1].get<double>() * v + c[2].get<double>(),
                        tolerance)
                << file;
            EXPECT_NEAR(y, c[3].get<double>() * u + c[4].get<double>() * v + c[5].get<double>(),
                        tolerance)
                << file;
        }
        ++warps;
    }
    EXPECT_GE(warps, 3);
    EXPECT_GE(codes, 10);
}

TEST(ReadCommand, ExitStatuses) {
    const std::string tiff = Pyramid();
    const std::string out = ScratchPath("cli_bad.png");
    EXPECT_EQ(peer::Run(Iosid(ScratchPath("missing.tif") + " -o " + out)).status, 2);
    EXPECT_EQ(peer::Run(Iosid(tiff)).status, 64);
    EXPECT_EQ(peer::Run(Iosid(tiff + " -o " + out + " --scale 3")).status, 64);
    const std::string message = peer::Run(Iosid(ScratchPath("missing.tif") + " -o " + out)).err;
    EXPECT_NE(message.find("Failed opening MrSID file:"), std::string::npos) << message;
}

// A codestream cut short opens (its main header is whole) and fails in a tile the workers decode
// side by side: the codec's reason reaches the user and no partial output is left.
TEST(ReadCommand, DecodeFailureLeavesNoOutput) {
    const std::string whole = ScratchPath("cli_tiles.j2k"), cut = ScratchPath("cli_cut.j2k");
    ASSERT_EQ(RunQuiet("gdal_translate -q -of JP2OpenJPEG -co CODEC=J2K -co REVERSIBLE=YES "
                       "-co BLOCKXSIZE=64 -co BLOCKYSIZE=64 -outsize 256 256 " +
                       std::string(IOSID_TESTDATA) + "/tiff/rgb-3c-8b.tiff " + whole),
              0);
    const std::string bytes = ReadFile(whole);
    std::ofstream(cut, std::ios::binary) << bytes.substr(0, bytes.size() * 6 / 10);
    const std::string out = ScratchPath("cli_cut.raw");
    const auto result = peer::Run(Iosid(cut + " -o " + out));
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.err.find("could not be decoded"), std::string::npos) << result.err;
    EXPECT_FALSE(std::ifstream(out).good()) << out << " was left behind";
}

} // namespace
