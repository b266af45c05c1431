// JPEG 2000 files written by GDAL's JP2OpenJPEG driver, read through our engine and through
// gdal_translate at every reduction, whole and by region, sample for sample (the reader's
// conversions to output rows are unit-tested over the synthetic engine); and their
// georeferencing (GeoJP2, GMLJP2, world file) against gdalinfo.
#include "../StripTiff.h"
#include "OurReader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

using namespace peer;

namespace {

// gdal_translate `source` into JPEG 2000 with the JP2OpenJPEG driver and `args` (creation
// options, georeferencing); `extension` is "jp2" or "j2k". Returns the path, or "" on failure.
std::string MakeJpeg2000(const std::string &name, const std::string &source,
                         const std::string &args, const std::string &extension = "jp2") {
    const std::string path = ScratchPath(name + "." + extension);
    std::remove(path.c_str());
    std::remove((path + ".aux.xml").c_str());
    if (RunQuiet("gdal_translate -q -of JP2OpenJPEG " + args + " " + source + " " + path) != 0)
        return "";
    return path;
}

// Reads through the engine alone (no colour or range conversion): pixel-interleaved samples
// of the image's own type and bands. `region` (left, top, right, bottom) as for ReadOurs.
Raster ReadEngine(LizardTech::MrSIDImageReader *reader, uint32_t scale, const uint32_t *region) {
    using namespace LizardTech;
    Raster image;
    const uint32_t whole[4] = {0, 0, reader->getWidth() - 1, reader->getHeight() - 1};
    const uint32_t *r = region ? region : whole;
    const LTIPixel &pixel = reader->getPixelProps();
    const uint32_t bytes = pixel.getNumBytesPerSample(), bands = pixel.getNumBands();
    image.spp = static_cast<uint16_t>(bands);
    image.bps = static_cast<uint16_t>(bytes * 8);
    image.Allocate((r[2] - r[0] + 1) / scale, (r[3] - r[1] + 1) / scale);
    LTISceneBuffer buffer(pixel, image.width, image.height);
    const LTIScene scene(r[0] / scale, r[1] / scale, image.width, image.height, 1.0 / scale);
    if (const LT_STATUS status = reader->read(scene, buffer))
        return image.error = std::string("read: ") + getLastStatusString(status), image;
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t b = 0; b < bands; ++b) {
            const uint8_t *row = buffer.getRow(static_cast<lt_uint16>(b), y);
            for (uint32_t x = 0; x < image.width; ++x)
                std::copy_n(row + size_t{x} * bytes, bytes,
                            &image.bytes[image.SampleBit(x, y, b) / 8]);
        }
    return image;
}

// The whole image at `scale` read again in three strips that cut tiles, as the reader's strips
// do: the lower rows of a tile kept from one scene must serve the next.
void ExpectStripsMatch(LizardTech::MrSIDImageReader *reader, uint32_t scale, const Raster &whole) {
    const uint32_t rows = whole.height / 3 + 1;
    for (uint32_t y = 0; y < whole.height; y += rows) {
        const uint32_t n = std::min(rows, whole.height - y);
        const uint32_t region[4] = {0, y * scale, whole.width * scale - 1, (y + n) * scale - 1};
        const Raster strip = ReadEngine(reader, scale, region);
        ASSERT_TRUE(strip.error.empty()) << strip.error;
        EXPECT_TRUE(std::equal(strip.bytes.begin(), strip.bytes.end(),
                               whole.bytes.begin() + y * whole.RowBytes()))
            << "rows from " << y << " at scale " << scale;
    }
}

#define LOSSLESS "-co REVERSIBLE=YES -co QUALITY=100 "

struct PixelCase {
    const char *name;
    const char *source; // a fixture under the test data, or "" for a generated one
    uint32_t width, height;
    int bands;
    const char *type;
    const char *options;
    const char *extension;
    uint32_t maxScale;  // 2^(RESOLUTIONS - 1)
    uint32_t gdalScale; // the largest reduction GDAL offers as an overview
    const char *gdalArgs = "";
};

const PixelCase kPixelCases[] = {
    {"rgb_tiled", "", 1001, 603, 3, "Byte",
     LOSSLESS "-co RESOLUTIONS=4 -co BLOCKXSIZE=256 -co BLOCKYSIZE=256", "jp2", 8, 8},
    {"grey_one_tile", "", 700, 500, 1, "Byte",
     LOSSLESS "-co RESOLUTIONS=3 -co BLOCKXSIZE=700 -co BLOCKYSIZE=500", "jp2", 4, 4},
    {"rgba_alpha", "", 520, 390, 4, "Byte",
     LOSSLESS "-co ALPHA=YES -co RESOLUTIONS=3 -co BLOCKXSIZE=128 -co BLOCKYSIZE=128", "jp2", 4, 4},
    {"grey16", "", 600, 400, 1, "UInt16",
     LOSSLESS "-co RESOLUTIONS=3 -co BLOCKXSIZE=256 -co BLOCKYSIZE=200", "jp2", 4, 4},
    {"rgb_lossy", "", 1280, 960, 3, "Byte",
     "-co QUALITY=20 -co RESOLUTIONS=5 -co BLOCKXSIZE=200 -co BLOCKYSIZE=160", "jp2", 16, 8},
    {"grey_codestream", "", 300, 220, 1, "Byte", LOSSLESS "-co CODEC=J2K -co RESOLUTIONS=2", "j2k",
     2, 2},
    {"palette", "tiff/palette-1c-8b.tiff", 0, 0, 0, "", LOSSLESS "-co RESOLUTIONS=2", "jp2", 2, 1,
     "-expand rgb"},
};

std::string ScaledWindow(const uint32_t *r, uint32_t scale) {
    const uint32_t w = (r[2] - r[0] + 1) / scale, h = (r[3] - r[1] + 1) / scale;
    std::string args = "-srcwin " + std::to_string(r[0] / scale) + " " +
                       std::to_string(r[1] / scale) + " " + std::to_string(w) + " " +
                       std::to_string(h);
    int level = -1;
    for (uint32_t s = scale; s > 1; s /= 2)
        ++level;
    return level < 0 ? args : "-oo OVERVIEW_LEVEL=" + std::to_string(level) + " " + args;
}

class Jpeg2000Pixels : public ::testing::TestWithParam<PixelCase> {
protected:
    std::string make(const PixelCase &c) {
        const std::string source = *c.source ? std::string(IOSID_TESTDATA) + "/" + c.source
                                             : MakeEnviSource(std::string("jp2_") + c.name, c.width,
                                                              c.height, c.bands, c.type);
        return MakeJpeg2000(std::string("jp2_") + c.name, source, c.options, c.extension);
    }
};

// One reader serves every read: the coarsest level, then finest to coarsest, so that state a
// change of level or region left behind would show.
TEST_P(Jpeg2000Pixels, EveryReductionAndRegionMatchesGdal) {
    const PixelCase &c = GetParam();
    const std::string path = make(c);
    ASSERT_FALSE(path.empty()) << "gdal could not write " << c.name;
    const sidtest::OpenReader engine(Wide(path));
    ASSERT_EQ(engine.status, LizardTech::LT_STS_Success);
    const uint32_t width = engine.reader->getWidth(), height = engine.reader->getHeight();
    const uint32_t whole[4] = {0, 0, width - 1, height - 1};
    // Off every tile and level grid.
    const uint32_t left = width / 7 | 1, top = height / 9 | 1;
    const uint32_t inner[4] = {left, top, left + width / 2, top + height / 2};
    std::vector<uint32_t> scales = {c.maxScale};
    for (uint32_t scale = 1; scale <= c.maxScale; scale *= 2)
        scales.push_back(scale);
    for (const uint32_t scale : scales)
        for (const uint32_t *region : {whole, inner}) {
            const Raster ours = ReadEngine(engine.reader, scale, region);
            ASSERT_TRUE(ours.error.empty()) << ours.error << " at scale " << scale;
            if (region == whole)
                ExpectStripsMatch(engine.reader, scale, ours);
            if (scale > c.gdalScale)
                continue; // GDAL offers no overview this small
            const Raster peer = GdalRead(path, ScaledWindow(region, scale) + " " + c.gdalArgs);
            ASSERT_TRUE(peer.error.empty()) << peer.error;
            EXPECT_EQ(MaxDifference(ours, peer), 0)
                << c.name << " scale " << scale << " region " << region[0];
        }
    // Beyond the coarsest level the reader stops at it.
    EXPECT_TRUE(ReadEngine(engine.reader, c.maxScale * 2, nullptr).error.size() > 0);
}

INSTANTIATE_TEST_SUITE_P(Files, Jpeg2000Pixels, ::testing::ValuesIn(kPixelCases),
                         [](const auto &info) { return std::string(info.param.name); });

// Georeferencing: the engine's pixel-centre map and EPSG key against gdalinfo.
struct GeoCase {
    const char *name;
    const char *args;
    const char *worldFile = nullptr; // written beside the image as NAME.j2w
};

const GeoCase kGeoCases[] = {
    {"geojp2_utm", "-a_srs EPSG:32611 -a_ullr 500000 4100000 530000 4080000 -co GMLJP2=NO"},
    {"gml_utm", "-a_srs EPSG:32611 -a_ullr 500000 4100000 530000 4080000 -co GeoJP2=NO"},
    {"both_utm", "-a_srs EPSG:26915 -a_ullr 400000 5000000 403000 4998000"},
    {"gml_latlong", "-a_srs EPSG:4326 -a_ullr 10 50 11 49.5 -co GeoJP2=NO"},
    {"geojp2_latlong", "-a_srs EPSG:4269 -a_ullr -100 40 -99 39.5 -co GMLJP2=NO"},
    // Neither box: the world file gives the map, rotation terms in their places.
    {"world", "-co GeoJP2=NO -co GMLJP2=NO", "2\n0.5\n-0.25\n-3\n1000.5\n2000.25\n"},
};

TEST(Jpeg2000Georeference, MapAndSystemMatchGdalinfo) {
    const std::string source = MakeEnviSource("jp2_geo", 300, 200, 1, "Byte");
    for (const GeoCase &c : kGeoCases) {
        const std::string path =
            MakeJpeg2000(std::string("jp2_") + c.name, source, LOSSLESS + std::string(c.args));
        ASSERT_FALSE(path.empty()) << c.name;
        if (c.worldFile)
            std::ofstream(path.substr(0, path.size() - 3) + "j2w") << c.worldFile;
        GdalInfo info;
        WktNode root;
        std::string error;
        ASSERT_TRUE(ReadGdalInfo(path, info, error) && info.hasGeoTransform) << c.name;
        ASSERT_TRUE(info.wkt.empty() || ParseWkt(info.wkt, root)) << c.name;
        const double *gt = info.geoTransform;
        const sidtest::OpenReader engine(Wide(path));
        ASSERT_EQ(engine.status, LizardTech::LT_STS_Success) << c.name;
        int epsg = 0;
        for (const char *key : {"GEOTIFF_NUM::3072::ProjectedCSTypeGeoKey",
                                "GEOTIFF_NUM::2048::GeographicTypeGeoKey"})
            if (const auto *r = engine.reader->getMetadata().find(key))
                epsg = *static_cast<const uint16_t *>(r->getScalarData());
        EXPECT_EQ(epsg, info.wkt.empty() ? 0 : root.EpsgCode()) << c.name;
        LizardTech::LTIGeoCoord geo = engine.reader->getGeoCoord();
        for (const double corner : {0.0, 1.0}) {
            const double i = corner * 299, j = corner * 199;
            double x = 0, y = 0;
            geo.pixelToGeo(i, j, 1.0, x, y);
            const double ex = gt[0] + (i + 0.5) * gt[1] + (j + 0.5) * gt[2];
            const double ey = gt[3] + (i + 0.5) * gt[4] + (j + 0.5) * gt[5];
            EXPECT_NEAR(x, ex, 1e-9 * (1 + std::fabs(ex))) << c.name << " corner " << corner;
            EXPECT_NEAR(y, ey, 1e-9 * (1 + std::fabs(ey))) << c.name << " corner " << corner;
        }
    }
}

} // namespace
