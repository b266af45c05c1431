// Every current EPSG system PROJ knows, written as a GeoTIFF carrying only its code, must come
// back from the extraction under that same code. About 5,700 tiny files, a few seconds; they
// stay in the tests' scratch folder under epsg_sweep/ for `iosid georef --json`.
#include "georef/GeoTiffExtract.h"
#include "support/GeoTiffTags.h"
#include "support/peer/PeerProj.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

namespace {

struct SweepCase {
    PJ_TYPE type;
    uint16_t modelType;
    uint16_t codeKey; // ProjectedCSTypeGeoKey or GeographicTypeGeoKey
    // Codes the library leaves out (no single projection: the UTM zone chosen per point, a
    // grid of squares; or based on a 3D system); they must stay unrecognised, not mistaken.
    std::set<int> leftOut;
};

const SweepCase kCases[] = {
    {PJ_TYPE_PROJECTED_CRS, 1, 3072, {32600, 32700, 22300, 9895}},
    {PJ_TYPE_GEOGRAPHIC_2D_CRS, 2, 2048, {}},
};

TEST(EpsgRecognition, EveryCurrentSystemComesBackUnderItsOwnCode) {
    // Fresh files: rewriting existing ones makes the file system flush each on close.
    const std::string directory = testsupport::ScratchPath("epsg_sweep");
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(directory);
    for (const SweepCase &c : kCases) {
        int swept = 0;
        std::string misses;
        for (const int code : peer::proj::Codes(c.type, /*deprecated=*/false)) {
            if (code <= 0 || code > 0xFFFF)
                continue; // no GeoKey can hold it
            testsupport::GeoTiffTags builder;
            builder.Keys({{1024, 0, 1, c.modelType},
                          {1025, 0, 1, 1},
                          {c.codeKey, 0, 1, static_cast<uint16_t>(code)}});
            const std::wstring path = builder.Write("epsg_sweep/" + std::to_string(code) + ".tif");
            gcs::GCSDef system;
            ASSERT_TRUE(georef::GeoTiffExtract(path, 1, system)) << code;
            ++swept;
            if (system.GetPOSC() != (c.leftOut.count(code) ? 0 : code))
                misses += " " + std::to_string(code) + "->" + std::to_string(system.GetPOSC());
        }
        EXPECT_GT(swept, 0) << "PROJ lists no codes";
        EXPECT_EQ(misses, "") << "model type " << c.modelType;
    }
}

} // namespace
