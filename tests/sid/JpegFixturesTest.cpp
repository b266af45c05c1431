// The Windows build's JPEG codec (the Windows Imaging Component) against GDAL's decoding of the
// same files, both made on the build host by JpegFixtures.cmake, whose table says which.
#include "SidInterface.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Load(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

TEST(JpegFixtures, WindowsCodecMatchesGdal) {
    const std::string dir = IOSID_JPEG_FIXTURES "/";
    const Bytes text = Load(dir + "jpeg_fixtures.txt");
    std::istringstream lines(std::string(text.begin(), text.end()));
    std::string name;
    uint32_t scale = 0;
    int format = 0, tolerance = 0, files = 0;
    while (lines >> name >> scale >> format >> tolerance) {
        ++files;
        SidInterface reader;
        reader.SetFormat(format);
        ASSERT_TRUE(reader.Open(sidtest::Wide(dir + name + ".tif")) && reader.SetScale(scale));
        const Bytes gdal = Load(dir + name + ".ref");
        const size_t spp = format == 5 ? 4 : format == 4 ? 3 : 1, w = reader.GetWidth() * spp;
        ASSERT_EQ(w * reader.GetHeight(), gdal.size()) << name;
        Bytes row(w);
        int largest = 0;
        uint64_t total = 0;
        for (uint32_t y = 0; y < reader.GetHeight(); ++y) {
            ASSERT_TRUE(reader.ReadScanline(y, row.data())) << name << " row " << y;
            for (size_t i = 0; i < w; ++i) { // rows hold blue first, GDAL red first
                const size_t s = i % spp, ours = i - s + (spp > 1 && s < 3 ? 2 - s : s);
                const int d = std::abs(row[ours] - gdal[y * w + i]);
                largest = std::max(largest, d);
                total += static_cast<uint64_t>(d);
            }
        }
        EXPECT_LE(largest, tolerance) << name;
        // Rounding apart, no shift: a wrong colour conversion moves most samples.
        EXPECT_LE(static_cast<double>(total) / static_cast<double>(gdal.size()), 0.25) << name;
    }
    EXPECT_EQ(files, std::count(text.begin(), text.end(), '\n'));
}

} // namespace
