// The Windows build's JPEG decoding (the Windows Imaging Component) against GDAL's decoding of
// the same GDAL-made files, both made on the build host (JpegFixtures.cmake): YCbCr tiles with
// a mask and overviews, YCbCr and RGB strips, grey tiles with overviews, a four-sample COG.
#include "SidInterface.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes Load(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

// The whole image at 1/scale, samples red first as GDAL gives them (rows hold blue first).
Bytes ReadOurs(const std::string &path, uint32_t scale, int format, std::string &error) {
    SidInterface reader;
    reader.SetFormat(format);
    if (!reader.Open(sidtest::Wide(path)) || !reader.SetScale(scale)) {
        error = "open or scale failed";
        return {};
    }
    const size_t spp = format == 5 ? 4 : format == 4 ? 3 : 1;
    const size_t rowBytes = reader.GetWidth() * spp;
    Bytes image(rowBytes * reader.GetHeight()), row(size_t{reader.GetWidth()} * 4);
    for (uint32_t y = 0; y < reader.GetHeight(); ++y) {
        if (!reader.ReadScanline(y, row.data())) {
            error = "row " + std::to_string(y) + " failed";
            return {};
        }
        for (size_t i = 0; i < rowBytes; ++i) {
            const size_t s = i % spp;
            image[y * rowBytes + i] = row[i - s + (spp > 1 && s < 3 ? 2 - s : s)];
        }
    }
    return image;
}

TEST(JpegFixtures, WindowsCodecMatchesGdal) {
    const std::string dir = IOSID_JPEG_FIXTURES;
    const Bytes text = Load(dir + "/jpeg_fixtures.txt");
    std::istringstream lines(std::string(text.begin(), text.end()));
    std::string name;
    uint32_t scale = 0;
    int format = 0, tolerance = 0, files = 0;
    while (lines >> name >> scale >> format >> tolerance) {
        ++files;
        std::string error;
        const Bytes ours = ReadOurs(dir + "/" + name + ".tif", scale, format, error);
        ASSERT_TRUE(error.empty()) << name << ": " << error;
        const Bytes gdal = Load(dir + "/" + name + ".ref");
        ASSERT_EQ(ours.size(), gdal.size()) << name;
        int largest = 0;
        uint64_t total = 0;
        for (size_t i = 0; i < ours.size(); ++i) {
            const int d = std::abs(ours[i] - gdal[i]);
            largest = std::max(largest, d);
            total += static_cast<uint64_t>(d);
        }
        EXPECT_LE(largest, tolerance) << name;
        // Rounding apart, no shift: a wrong colour conversion moves most samples.
        EXPECT_LE(static_cast<double>(total) / static_cast<double>(ours.size()), 0.25) << name;
    }
    EXPECT_EQ(files, std::count(text.begin(), text.end(), '\n'));
}

} // namespace
