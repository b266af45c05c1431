// Every current EPSG system PROJ knows, written as a GeoTIFF carrying only its code, must come
// back from the extraction under that same code. About 5,700 tiny files, a few seconds; they
// stay in the tests' scratch folder under epsg_sweep/ for `iosid georef --json`.
#include "gcs/KnownLists.h"
#include "georef/GeoTiffExtract.h"
#include "shr/Strings.h"
#include "support/GeoTiffTags.h"
#include "support/peer/PeerProj.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr uint16_t kModelTypeKey = 1024, kRasterTypeKey = 1025;
constexpr uint16_t kGeographicTypeKey = 2048, kProjectedCSTypeKey = 3072;

struct SweepCase {
    const char *kind;
    PJ_TYPE type;
    uint16_t modelType;
    uint16_t codeKey;
    // Codes the library leaves out (no single projection: the UTM zone chosen per point, a
    // grid of squares; or based on a 3D system); they must stay unrecognised, not mistaken.
    std::set<int> leftOut;
};

const SweepCase kCases[] = {
    {"projected", PJ_TYPE_PROJECTED_CRS, 1, kProjectedCSTypeKey, {32600, 32700, 22300, 9895}},
    {"geographic", PJ_TYPE_GEOGRAPHIC_2D_CRS, 2, kGeographicTypeKey, {}},
};

// Current codes that fit a GeoKey (16 bits).
std::vector<int> CurrentCodes(PJ_TYPE type) {
    std::vector<int> codes = peer::proj::Codes(type, /*deprecated=*/false);
    codes.erase(
        std::remove_if(codes.begin(), codes.end(), [](int c) { return c <= 0 || c > 0xFFFF; }),
        codes.end());
    return codes;
}

std::wstring WriteFile(const SweepCase &c, int code) {
    testsupport::GeoTiffTags builder;
    builder.Keys({{kModelTypeKey, 0, 1, c.modelType},
                  {kRasterTypeKey, 0, 1, 1},
                  {c.codeKey, 0, 1, static_cast<uint16_t>(code)}});
    return builder.Write("epsg_sweep/" + std::to_string(code) + ".tif");
}

// Why the extracted system is not the list's entry for `code`.
std::string Why(const gcs::GCSDef &extracted, int code) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    const int index = list.FindByPOSCNumber(code);
    if (index == 0)
        return "not in the library's list";
    std::wstring difference;
    if (list.GetSystem(index)->Compare(extracted, true, &difference))
        return "equal to the entry, yet another code was preferred";
    return shr::WtoA(difference);
}

TEST(EpsgRecognition, EveryCurrentSystemComesBackUnderItsOwnCode) {
    // Fresh files: rewriting existing ones makes the file system flush each on close.
    const std::string directory = testsupport::ScratchPath("epsg_sweep");
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    for (const SweepCase &c : kCases) {
        const std::vector<int> codes = CurrentCodes(c.type);
        ASSERT_FALSE(codes.empty()) << c.kind << ": PROJ lists no codes";
        int leftOutSeen = 0, recognised = 0;
        std::ostringstream misses;
        for (const int code : codes) {
            gcs::GCSDef system;
            ASSERT_TRUE(georef::GeoTiffExtract(WriteFile(c, code), 1, system)) << code;
            if (c.leftOut.count(code) != 0) {
                ++leftOutSeen;
                EXPECT_EQ(system.GetPOSC(), 0) << c.kind << " " << code << " is left out";
                continue;
            }
            if (system.GetPOSC() == code) {
                ++recognised;
                continue;
            }
            misses << "\n  " << code << " -> " << system.GetPOSC() << ": " << Why(system, code);
        }
        const int total = static_cast<int>(codes.size());
        std::printf("%s: %d of %d current EPSG systems recognised under their own code\n", c.kind,
                    recognised, total);
        RecordProperty(std::string(c.kind) + "_recognised", recognised);
        EXPECT_EQ(leftOutSeen, static_cast<int>(c.leftOut.size())) << c.kind;
        EXPECT_EQ(recognised, total - leftOutSeen) << c.kind << " misses:" << misses.str();
    }
}

} // namespace
