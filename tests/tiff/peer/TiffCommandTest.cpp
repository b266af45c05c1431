// iosid tiff-dump and tiff-decode end to end: output bytes against libtiff, JSON, exit statuses
// and the one-line failure report.
#include "support/peer/Peer.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <regex>
#include <string>

#ifdef IOSID_PROGRAM

namespace {

using peer::CommandResult;
using peer::ReadFile;

CommandResult Iosid(const std::string &args) { return peer::Run(IOSID_PROGRAM " " + args); }

std::string Fixture(const char *name) { return std::string(IOSID_TESTDATA) + "/" + name; }

TEST(TiffCommands, DecodeWritesWhatLibtiffDecodes) {
    const std::pair<const char *, unsigned> images[] = {{"tiff/rgb-3c-16b.tiff", 0},
                                                        {"tiff/miniswhite-1c-1b.tiff", 0},
                                                        {"tiff/tiff_with_subifd_chain.tif", 1}};
    for (const auto &[name, image] : images) {
        const std::string out = peer::ScratchPath("cli.raw");
        const CommandResult run = Iosid("tiff-decode " + Fixture(name) + " --image " +
                                        std::to_string(image) + " -o " + out);
        peer::Raster theirs;
        std::string message;
        ASSERT_TRUE(peer::LibtiffRead(Fixture(name), image, theirs, message)) << message;
        ASSERT_EQ(run.status, 0) << name << ": " << run.err;
        EXPECT_EQ(ReadFile(out), std::string(theirs.bytes.begin(), theirs.bytes.end())) << name;
        EXPECT_NE(run.out.find("width: " + std::to_string(theirs.width) + "\n"), std::string::npos);
        EXPECT_NE(run.out.find("bits per sample: " + std::to_string(theirs.bps) + "\n"),
                  std::string::npos);
    }
    const CommandResult first = Iosid("tiff-decode " + Fixture("geotiff/byte.tif") + " -o " +
                                      peer::ScratchPath("cli.raw") + " --json");
    ASSERT_EQ(first.status, 0);
    EXPECT_NE(
        first.out.find("\"width\":20,\"height\":20,\"samplesPerPixel\":1,\"bitsPerSample\":8"),
        std::string::npos)
        << first.out;
}

TEST(TiffCommands, FailuresPrintOneLine) {
    struct Case {
        std::string args;
        std::string pattern;
    } cases[] = {
        {"tiff-decode " + Fixture("tiff/testfax4.tiff") + " -o " + peer::ScratchPath("x.raw"),
         "iosid: [^\n]*testfax4.tiff: Subsystems/TiffImage/TiffImageLoad line [0-9]+: status -6\n"},
        {"tiff-dump " + peer::ScratchPath("none.tif"),
         "iosid: [^\n]*none.tif: Subsystems/TiffImage/TiffRead line [0-9]+: status -2\n"},
    };
    for (const Case &c : cases) {
        const CommandResult run = Iosid(c.args);
        EXPECT_EQ(run.status, 2) << c.args;
        EXPECT_TRUE(std::regex_match(run.err, std::regex(c.pattern))) << run.err;
    }
    EXPECT_EQ(Iosid("tiff-decode " + Fixture("geotiff/byte.tif")).status, 64); // no -o
    EXPECT_EQ(Iosid("tiff-dump").status, 64);
}

TEST(TiffCommands, DumpListsEveryEntry) {
    const CommandResult text = Iosid("tiff-dump " + Fixture("geotiff/byte.tif"));
    ASSERT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("34735 GEOKEYDIRECTORYTAG"), std::string::npos);
    EXPECT_NE(text.out.find("count 24: 1 1 0 5 1024 0 1 1 1025 0 1 1 1026 34737 21 0 ..."),
              std::string::npos);
    EXPECT_NE(text.out.find("\"NAD27 / UTM zone 11N|\""), std::string::npos);
    const CommandResult json =
        Iosid("tiff-dump --json " + Fixture("tiff/custom_dir_EXIF_GPS.tiff"));
    ASSERT_EQ(json.status, 0);
    EXPECT_FALSE(nlohmann::json::parse(json.out, nullptr, false)["directories"].empty());
}

} // namespace

#endif
