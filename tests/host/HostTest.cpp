// The host's own parts: the image writers (output checks, rows written as received, no file left
// by a failed write), the settings store (missing and damaged files, persisted and run-only
// values, concurrent saves each merging what the others saved) and the progress line.
#include "ImageWriter.h"
#include "SettingsStore.h"
#include "TerminalProgress.h"

#ifdef IOSID_HOST_HAVE_TIFF
#include "gcs/GCSDef.h"
#include "gcs/KnownLists.h"
#include "gcs/UCSDef.h"
#include "support/peer/Peer.h"

#include <tiffio.h>
#endif

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using namespace iosid::host;

fs::path FreshFolder(const std::string &name) {
    const fs::path folder = fs::path(IOSID_BUILD_DIR) / "host" / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

std::vector<uint8_t> ReadBytes(const fs::path &path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

// Rows of a deterministic pattern in the host's layout for `format`.
std::vector<std::vector<uint8_t>> PatternRows(RowFormat format, uint32_t width, uint32_t height) {
    std::vector<std::vector<uint8_t>> rows(height);
    for (uint32_t y = 0; y < height; ++y) {
        rows[y].resize(RowBytes(format, width));
        for (size_t i = 0; i < rows[y].size(); ++i)
            rows[y][i] = static_cast<uint8_t>(i * 37 + y * 11 + (i * y) % 7);
    }
    return rows;
}

TEST(CheckOutputWritable, RefusesWhatCannotBeWritten) {
    const fs::path folder = FreshFolder("check");
    fs::create_directories(folder / "dir.raw");
    // Path and reason; empty: accepted.
    const std::pair<fs::path, std::string> cases[] = {
        {folder / "OUT.RAW", ""},
        {folder / "out", "unknown output extension"},
        {folder / "dir.raw", "is a directory"},
    };
    for (const auto &[path, reason] : cases) {
        SCOPED_TRACE(path);
        try {
            CheckOutputWritable(path.string());
            EXPECT_EQ(reason, "");
        } catch (const std::runtime_error &error) {
            EXPECT_NE(reason, "");
            EXPECT_NE(std::string(error.what()).find(reason), std::string::npos) << error.what();
        }
    }
    // The check leaves nothing behind.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1);
}

// Rows arrive in the file as received, on Commit; each way a write can fail leaves neither the
// output nor a temporary file. The writers share the row sequence and the replaced file, so the
// raw writer stands for all; row padding is checked by GDAL in PeersReadTheRowsWritten.
TEST(ImageWriter, RowsWrittenOnCommitAndNoFileOnFailure) {
    const fs::path folder = FreshFolder("failed");
    // Absurdly wide images are refused before anything is allocated.
    const std::vector<std::pair<const char *, uint32_t>> sizes = {
        {"z.raw", 0xFFFFFFFFu},
#ifdef IOSID_HOST_HAVE_TIFF
        {"z.tif", 3000000},
#endif
    };
    for (const auto &[file, width] : sizes)
        EXPECT_THROW(
            CreateImageWriter((folder / file).string(), width, 4, RowFormat::Bgr24, {}, {}),
            std::runtime_error)
            << file << " " << width;
    const struct {
        const char *file;
        uint32_t rowsGiven;
        bool rowOutOfOrder, commit;
        const char *reason; // empty: no error
    } cases[] = {
        {"abandoned.raw", 2, false, false, ""},
        {"skipped.raw", 2, true, false, "row 3 arrived where row 2"},
        {"early.raw", 3, false, true, "only 3 of 4 rows"},
        {"done.raw", 4, false, true, ""}, // the only file written
    };
    const auto rows = PatternRows(RowFormat::Bgr24, 7, 4);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        const fs::path path = folder / c.file;
        std::vector<uint8_t> expected;
        try {
            auto writer = CreateImageWriter(path.string(), 7, 4, RowFormat::Bgr24, {}, {});
            for (uint32_t y = 0; y < c.rowsGiven; ++y) {
                writer->WriteRow(y, rows[y].data());
                expected.insert(expected.end(), rows[y].begin(), rows[y].end());
            }
            if (c.rowOutOfOrder)
                writer->WriteRow(c.rowsGiven + 1, rows[0].data());
            EXPECT_FALSE(fs::exists(path)); // not before Commit
            if (c.commit)
                writer->Commit();
            EXPECT_STREQ(c.reason, "");
        } catch (const std::runtime_error &error) {
            EXPECT_NE(std::string(error.what()).find(c.reason), std::string::npos) << error.what();
            EXPECT_NE(std::string(error.what()).find(c.file), std::string::npos) << error.what();
        }
        const bool written = c.commit && *c.reason == 0;
        EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), written ? 1 : 0);
        EXPECT_EQ(ReadBytes(path), written ? expected : std::vector<uint8_t>{});
    }
}

// The value `store` gives for `name`; -1: none.
int64_t Value(SettingsStore &store, const std::string &name, bool persist) {
    unsigned value = 0;
    return store.Get(name, value, persist) ? int64_t{value} : -1;
}

TEST(SettingsStore, DamagedFileWarnsAndIsNotOverwritten) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "empty"},
        {"{\"Scale\": 4", "not valid JSON"},
        {"[1, 2]", "not a JSON object"},
        {"{\"Scale\": 4294967296}", "Scale"},
        {"{\"Scale\": 2.5}", "Scale"},
    };
    const fs::path folder = FreshFolder("damaged");
    int index = 0;
    for (const auto &[contents, reason] : cases) {
        SCOPED_TRACE(contents);
        const fs::path path = folder / ("settings" + std::to_string(index++) + ".json");
        std::ofstream(path, std::ios::binary) << contents;
        SettingsStore store(path.string());
        const std::string warning = store.Load();
        EXPECT_NE(warning.find(path.string()), std::string::npos) << warning;
        EXPECT_NE(warning.find(reason), std::string::npos) << warning;
        EXPECT_EQ(warning.find('\n'), std::string::npos);
        EXPECT_EQ(Value(store, "Scale", true), -1);
        store.Set("Scale", 8, true);
        EXPECT_NO_THROW(store.Save());
        EXPECT_EQ(ReadBytes(path), std::vector<uint8_t>(contents.begin(), contents.end()));
    }
}

TEST(SettingsStore, MissingFileThenRunOnlyValuesShadowAndAreNotWritten) {
    const fs::path path = FreshFolder("runonly") / "sub" / "settings.json";
    SettingsStore first(path.string());
    EXPECT_EQ(first.Load(), ""); // missing: defaults, no warning
    unsigned kept = 7;
    EXPECT_FALSE(first.Get("Scale", kept, true));
    EXPECT_EQ(kept, 7u);
    first.Set("Scale", 2, true);
    first.Set("Format", 8, true);
    first.Save(); // creates the folder
    SettingsStore store(path.string());
    ASSERT_EQ(store.Load(), "");
    store.Set("Scale", 16, false);
    store.Set("ULX", 5, false);
    store.Set("Format", 24, true);
    for (bool persist : {false, true}) {
        SCOPED_TRACE(persist);
        EXPECT_EQ(Value(store, "Scale", persist), 16);
        EXPECT_EQ(Value(store, "ULX", persist), 5);
        EXPECT_EQ(Value(store, "Format", persist), 24);
        EXPECT_EQ(Value(store, "LRX", persist), -1);
    }
    store.Save();
    SettingsStore next(path.string());
    ASSERT_EQ(next.Load(), "");
    EXPECT_EQ(Value(next, "Scale", true), 2);
    EXPECT_EQ(Value(next, "ULX", true), -1);
    EXPECT_EQ(Value(next, "Format", true), 24);
    // A persisted value set later replaces the run's own.
    store.Set("Scale", 32, true);
    EXPECT_EQ(Value(store, "Scale", false), 32);
}

TEST(SettingsStore, ConcurrentSavesKeepEveryValue) {
    const fs::path path = FreshFolder("concurrent") / "settings.json";
    constexpr int kThreads = 6, kRounds = 15;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int r = 0; r < kRounds; ++r) {
                SettingsStore store(path.string());
                ASSERT_EQ(store.Load(), "");
                store.Set("v" + std::to_string(t) + "_" + std::to_string(r), t * 100 + r, true);
                store.Save();
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    SettingsStore check(path.string());
    ASSERT_EQ(check.Load(), "");
    for (int t = 0; t < kThreads; ++t)
        for (int r = 0; r < kRounds; ++r)
            EXPECT_EQ(Value(check, "v" + std::to_string(t) + "_" + std::to_string(r), true),
                      t * 100 + r);
}

TEST(ProgressLine, ShowsProportionRateAndTimeLeft) {
    const std::string longText(200, 'x');
    const struct {
        const char *name;
        std::string text;
        double done, elapsed;
        int columns;
        std::vector<std::string> expected; // pieces the line must hold
    } cases[] = {
        {"quarter", "a", 0.25, 10, 100, {"a [#####...............]  25%", "2.5 %/s", "0:30 left"}},
        {"too early to estimate", "t", 0.5, 0.1, 80, {" 50%", "-- %/s", "-- left"}},
        {"nothing done yet", "t", 0.0, 5.0, 80, {"  0%", "-- left"}},
        {"hours left", "t", 0.01, 100.0, 80, {"  1%", "0.0 %/s", "2:45:00 left"}},
        {"done", "t", 1.0, 8.0, 80, {"[####################] 100%", "12.5 %/s", "0:00 left"}},
        {"long text shortened", longText, 0.5, 4.0, 70, {"xxx... [", "12.5 %/s", "0:04 left"}},
        {"narrow terminal", "Importing", 0.5, 3.0, 20, {}},
        {"no terminal width", "Importing", 0.5, 3.0, 0, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const std::string line = ProgressLine(c.text, c.done, c.elapsed, c.columns);
        EXPECT_LE(line.size(), static_cast<size_t>(c.columns)) << line;
        for (const std::string &piece : c.expected)
            EXPECT_NE(line.find(piece), std::string::npos)
                << "'" << piece << "' in '" << line << "'";
    }
}

#ifdef IOSID_HOST_HAVE_TIFF
// The sample a reader should see at (x, y) in `band`, by what the host's row format means.
int ExpectedSample(RowFormat format, const std::vector<uint8_t> &row, uint32_t x, int band) {
    switch (format) {
    case RowFormat::Bilevel1:
        return (row[x / 8] >> (7 - x % 8)) & 1;
    case RowFormat::Gray4:
        return (row[x / 2] >> (x % 2 ? 0 : 4)) & 15;
    default: // the 32-bit formats
        return row[4 * x + (band < 3 ? 2 - band : 3)];
    }
}

// Row formats and compressions the imports in ImportCommandTest do not write, read back by
// libtiff (layout) and GDAL (pixels).
TEST(TiffAndPngWriters, PeersReadTheRowsWritten) {
    using Compression = ImageWriterOptions::Compression;
    const struct {
        RowFormat format;
        Compression compression;
        const char *file;
        int bits, samples, photometric, compressionTag; // by libtiff; PNG: zero
    } cases[] = {
        {RowFormat::Bilevel1, Compression::None, "b1.tif", 1, 1, PHOTOMETRIC_MINISBLACK, 1},
        {RowFormat::Gray4, Compression::Lzw, "g4.tif", 4, 1, PHOTOMETRIC_MINISBLACK, 5},
        {RowFormat::Bgra32, Compression::Deflate, "c32a.tif", 8, 4, PHOTOMETRIC_RGB, 8},
        {RowFormat::Bgrx32, Compression::None, "c32x.tif", 8, 4, PHOTOMETRIC_RGB, 1},
#ifdef IOSID_HOST_HAVE_PNG
        {RowFormat::Bilevel1, Compression::None, "b1.png", 0, 0, 0, 0},
        {RowFormat::Bgra32, Compression::None, "c32a.png", 0, 0, 0, 0},
#endif
    };
    // Wider and taller than one tile, neither a multiple of it; odd, so packed rows are padded.
    const uint32_t width = 301, height = 261;
    const fs::path folder = FreshFolder("peers");
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        const fs::path path = folder / c.file;
        const auto rows = PatternRows(c.format, width, height);
        ImageWriterOptions options;
        options.compression = c.compression;
        auto writer = CreateImageWriter(path.string(), width, height, c.format, {}, options);
        for (uint32_t y = 0; y < height; ++y)
            writer->WriteRow(y, rows[y].data());
        writer->Commit();
        if (c.bits != 0) {
            peer::LibtiffLayout l;
            ASSERT_TRUE(peer::LibtiffDescribe(path.string(), 0, l));
            EXPECT_EQ((std::array<int, 6>{l.bps, l.spp, l.photometric, l.compression, l.extraSample,
                                          l.tiled}),
                      (std::array<int, 6>{c.bits, c.samples, c.photometric, c.compressionTag,
                                          c.samples == 4 ? EXTRASAMPLE_UNASSALPHA : 0, 1}));
        }
        const int bands = c.format >= RowFormat::Bgra32 ? 4 : 1;
        const peer::Raster samples = peer::GdalRead(path.string(), "-ot Byte");
        ASSERT_EQ(samples.bytes.size(), size_t{width} * height * bands) << samples.error;
        int mismatches = 0;
        for (uint32_t band = 0; band < uint32_t(bands); ++band)
            for (uint32_t y = 0; y < height; ++y)
                for (uint32_t x = 0; x < width; ++x)
                    mismatches += samples.bytes[samples.SampleBit(x, y, band) / 8] !=
                                  ExpectedSample(c.format, rows[y], x, int(band));
        EXPECT_EQ(mismatches, 0);
    }
}

// A warp tying whole-number pixel coordinates (pixel centres) to the map through an affine map
// with origin (x0, y0) at the centre of pixel (0, 0) and the given steps.
gcs::WarpDef CentreWarp(double x0, double y0, double dxCol, double dxRow, double dyCol,
                        double dyRow, uint32_t width, uint32_t height) {
    gcs::WarpDef warp;
    warp.SetMethod(gcs::WarpMethod::Affine);
    for (auto [col, row] :
         {std::pair<double, double>{0, 0}, {width, height}, {0, height}, {width, 0}})
        warp.AddControlPoint({col, row},
                             {x0 + col * dxCol + row * dxRow, y0 + col * dyCol + row * dyRow});
    return warp;
}

// A known system with `warp` tying pixels to it.
gcs::GCSDef KnownSystem(int32_t code, const gcs::WarpDef &warp) {
    const gcs::CSList &list = gcs::GCSKnownSystemsList;
    gcs::GCSDef system = *list.GetSystem(list.FindByPOSCNumber(code));
    system.SetWarp(&warp);
    return system;
}

// What gdalinfo reports for the written georeferencing: code or parameters, and the
// geotransform of the pixel corners.
TEST(TiffWriter, GdalReadsTheGeoreferencing) {
    const double feet = 3.280839895013123;
    // 10 m pixels whose first centre is at (500005, 4999995).
    const gcs::WarpDef northUp = CentreWarp(500005, 4999995, 10, 0, 0, -10, 40, 30);
    const gcs::WarpDef rotated = CentreWarp(1000, 2000, 2, 1, 1, -2, 40, 30);
    const std::array<double, 6> northUpCorners = {500000, 10, 0, 5000000, 0, -10};
    const std::array<double, 6> rotatedCorners = {1000 - 1.5, 2, 1, 2000 + 0.5, 1, -2};
    const gcs::GCSDef geographic = KnownSystem(4326, rotated);
    // A user-defined Lambert conic: its own first parallel and false easting.
    gcs::GCSDef lambert = KnownSystem(2154, northUp);
    gcs::ProjectionDef lambertProjection = *lambert.GetProjection();
    lambertProjection.SetParameter(gcs::ProjectionParameterID::Lat1, 45.5);
    lambertProjection.SetParameter(gcs::ProjectionParameterID::XOrg, 600000);
    lambert.SetProjection(&lambertProjection);
    lambert.SetPOSC(0);
    lambert.SetName(L"Lambert conic, own parallels");
    // A southern UTM zone in feet, given by its zone alone.
    gcs::GCSDef utm = KnownSystem(32633, northUp);
    const gcs::ProjectionDef utmProjection({.method = gcs::ProjectionMethod::UTM,
                                            .linearScale = feet,
                                            .lon0 = 15,
                                            .south = 1,
                                            .ellipsoid = utm.GetProjection()->GetEllipsoid()});
    utm.SetProjection(&utmProjection);
    utm.SetPOSC(0);
    gcs::UCSDef warpOnly;
    warpOnly.SetWarp(&rotated);
    // clang-format off
    const struct {
        const gcs::CSDef *system;           // null: pixel space
        std::array<double, 6> geoTransform; // expected; all zero: none
        int epsg;                           // of the PROJCS or GEOGCS node; -1: no WKT
        std::map<std::string, double> parameters;
    } cases[] = {
        {&geographic, rotatedCorners, 4326, {}},
        {&lambert, northUpCorners, 0,
         {{"standard_parallel_1", 45.5}, {"standard_parallel_2", 44}, {"latitude_of_origin", 46.5},
          {"central_meridian", 3}, {"false_easting", 600000}, {"false_northing", 6600000}}},
        {&utm, northUpCorners, 0,
         {{"scale_factor", 0.9996}, {"central_meridian", 15}, {"latitude_of_origin", 0},
          {"false_easting", 500000 * feet}, {"false_northing", 10000000 * feet}}},
        {&warpOnly, rotatedCorners, -1, {}},
        {nullptr, {}, -1, {}},
    }; // clang-format on
    const fs::path folder = FreshFolder("georef");
    for (const auto &c : cases) {
        const fs::path path = folder / ("g" + std::to_string(&c - cases) + ".tif");
        SCOPED_TRACE(path);
        OutputGeoreference georef;
        if (c.system)
            georef.system = c.system->Clone();
        auto writer = CreateImageWriter(path.string(), 40, 30, RowFormat::Gray8, georef, {});
        const std::vector<uint8_t> row(40, 128);
        for (uint32_t y = 0; y < 30; ++y)
            writer->WriteRow(y, row.data());
        writer->Commit();

        peer::GdalInfo info;
        std::string error;
        ASSERT_TRUE(peer::ReadGdalInfo(path.string(), info, error)) << error;
        const bool expectTransform = c.geoTransform != std::array<double, 6>{};
        ASSERT_EQ(info.hasGeoTransform, expectTransform);
        for (int k = 0; k < 6 && expectTransform; ++k)
            EXPECT_NEAR(info.geoTransform[k], c.geoTransform[k], 1e-6) << k;
        EXPECT_EQ(info.rasterType, 1);
        ASSERT_EQ(info.wkt.empty(), c.epsg == -1) << info.wkt;
        if (c.epsg == -1)
            continue;
        peer::WktNode root;
        ASSERT_TRUE(peer::ParseWkt(info.wkt, root)) << info.wkt;
        EXPECT_EQ(root.EpsgCode(), c.epsg) << info.wkt;
        const auto parameters = root.Parameters();
        for (const auto &[name, value] : c.parameters) {
            ASSERT_TRUE(parameters.count(name)) << name << " in " << info.wkt;
            EXPECT_NEAR(parameters.at(name), value, 1e-6) << name;
        }
    }
}
#endif

} // namespace
