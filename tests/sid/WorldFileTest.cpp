// World files: which names are tried and which texts are taken.
#include "engines/WorldFile.h"

#include <gtest/gtest.h>

namespace {

TEST(WorldFile, CandidatesFollowTheImageExtension) {
    const std::vector<std::wstring> jp2 = engines::WorldFileCandidates(L"d.x/img.jp2");
    const std::vector<std::wstring> expected = {L"d.x/img.j2w", L"d.x/img.J2W", L"d.x/img.jp2w",
                                                L"d.x/img.JP2W", L"d.x/img.wld", L"d.x/img.WLD"};
    EXPECT_EQ(jp2, expected);
    // A dot in a folder name is no extension.
    const std::vector<std::wstring> bare = engines::WorldFileCandidates(L"d.x/img");
    EXPECT_EQ(bare, (std::vector<std::wstring>{L"d.x/img.wld", L"d.x/img.WLD"}));
}

TEST(WorldFile, OnlySixNumbersOfAnInvertibleMapAreTaken) {
    const struct {
        const char *text;
        bool taken;
    } cases[] = {
        {"2\n0.5\n-0.25\n-3\n100.5\n200.25\n", true},
        {"2 0 0 -3 100 200", true},
        {"2\n0\n0\n-3\n100\n", false},             // five numbers
        {"2\n0\n0\n-3\n100\n200\nextra\n", false}, // trailing text
        {"2\n4\n1\n2\n100\n200\n", false},          // singular: every pixel on one line
        {"2\n0\n0\n-3\n1e999\n200\n", false},       // not finite
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        LizardTech::LTIGeoCoord geo;
        ASSERT_EQ(engines::ParseWorldFile(c.text, geo), c.taken);
        if (!c.taken || geo.getXRot() == 0)
            continue;
        // x = A i + B j + C, y = D i + E j + F for pixel centres.
        double x = 0, y = 0;
        geo.pixelToGeo(1, 2, 1.0, x, y);
        EXPECT_DOUBLE_EQ(x, 100.5 + 2 * 1 - 0.25 * 2);
        EXPECT_DOUBLE_EQ(y, 200.25 + 0.5 * 1 - 3 * 2);
    }
}

} // namespace
