// The `iosid read` command end to end: PNG and raw outputs in every format against the reader
// and GDAL, the JSON summary, and exit statuses for bad requests.
#include "PeerTools.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

using namespace sidpeer;

namespace {

std::string Iosid(const std::string &args) { return std::string(IOSID_PROGRAM) + " read " + args; }

std::string Pyramid() {
    static const std::string tiff = [] {
        const std::string source = MakeSource("cli_rgb", 900, 700, 3, "Byte");
        return MakeGeoTiff("cli_rgb", source, "-co TILED=YES -co COMPRESS=DEFLATE", "2 4");
    }();
    return tiff;
}

std::string Slurp(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(ReadCommand, PngMatchesTheReaderInEveryFormat) {
    const std::string tiff = Pyramid();
    ASSERT_FALSE(tiff.empty());
    const uint32_t region[4] = {100, 50, 899, 649};
    struct Case {
        const char *bits;
        int format;
        uint32_t bands;
    };
    for (const Case &c : {Case{"24", 4, 3}, Case{"32", 5, 4}, Case{"8", 3, 1}}) {
        const std::string png = BuildPath(std::string("cli_") + c.bits + ".png");
        ASSERT_EQ(RunQuiet(Iosid(tiff + " -o " + png +
                                 " --scale 2 --region 100,50,899,649 --format " + c.bits)),
                  0)
            << c.bits;
        const Image ours = ReadOurs(tiff, 2, region, c.format);
        const Image peer = ReadGdal(png, "", c.bands);
        EXPECT_EQ(MaxDifference(ours, peer), 0) << c.bits;
        EXPECT_EQ(peer.width, 400u);
        EXPECT_EQ(peer.height, 300u);
    }
}

TEST(ReadCommand, PackedFormatsAndRawRows) {
    const std::string tiff = Pyramid();
    const std::string raw = BuildPath("cli_4bit.raw");
    ASSERT_EQ(RunQuiet(Iosid(tiff + " -o " + raw + " --scale 4 --format 4")), 0);
    EXPECT_EQ(Slurp(raw).size(), size_t{(225 + 1) / 2} * 175); // 4-bit rows padded to bytes
    const std::string png = BuildPath("cli_1bit.png");
    ASSERT_EQ(RunQuiet(Iosid(tiff + " -o " + png + " --format 1")), 0);
    const std::string info = Capture("gdalinfo " + png);
    EXPECT_NE(info.find("Size is 900, 700"), std::string::npos) << info;
    EXPECT_NE(info.find("NBITS=1"), std::string::npos) << info;
}

TEST(ReadCommand, JsonSummaryCarriesSizeScaleAndWarp) {
    const std::string tiff = Pyramid();
    const std::string out =
        Capture(Iosid(tiff + " -o " + BuildPath("cli.raw") + " --scale 2 --json"));
    // The warp spans corner pixel to corner pixel: (899 - 0) / 2 = 449 output pixels.
    for (const char *field :
         {"\"width\": 450", "\"height\": 350", "\"bitsPerPixel\": 24", "\"scale\": 2",
          "\"maxScale\": 4", "\"posc\": 32611", "\"pixel\": [449, 349]"})
        EXPECT_NE(out.find(field), std::string::npos) << field << " in " << out;
}

TEST(ReadCommand, ExitStatuses) {
    const std::string tiff = Pyramid();
    const std::string out = BuildPath("cli_bad.png");
    EXPECT_EQ(WEXITSTATUS(std::system(
                  Iosid(BuildPath("missing.tif") + " -o " + out + " 2>/dev/null").c_str())),
              2);
    EXPECT_EQ(WEXITSTATUS(std::system(Iosid(tiff + " 2>/dev/null").c_str())), 64);
    EXPECT_EQ(
        WEXITSTATUS(std::system(Iosid(tiff + " -o " + out + " --scale 3 2>/dev/null").c_str())),
        64);
    EXPECT_EQ(
        WEXITSTATUS(std::system(Iosid(tiff + " -o " + out + " --format 16 2>/dev/null").c_str())),
        64);
    EXPECT_EQ(WEXITSTATUS(
                  std::system(Iosid(tiff + " -o " + out + " --region 1,2,3 2>/dev/null").c_str())),
              64);
    const std::string message = Capture(Iosid(BuildPath("missing.tif") + " -o " + out + " 2>&1"));
    EXPECT_NE(message.find("Failed opening MrSID file:"), std::string::npos) << message;
}

} // namespace
