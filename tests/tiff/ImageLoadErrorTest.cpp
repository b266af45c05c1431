// Image loader: bad or unsupported layouts and bad strip data end with their status codes.
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "support/ImageModel.h"

#include <gtest/gtest.h>

using testsupport::Bytes;
using testsupport::Directory;
using testsupport::ImageModel;
using tiff::CTiffReader;
using tiff::TiffImageLoader;

using testsupport::TiffWriter;

namespace {

using Edit = std::function<void(TiffWriter &, Directory &)>;

Edit Set(uint16_t tag, std::vector<uint64_t> values, uint16_t type = 3) {
    return [=](TiffWriter &b, Directory &d) { b.SetUInts(d, tag, type, values); };
}

Edit Remove(uint16_t tag) {
    return [=](TiffWriter &, Directory &d) {
        std::erase_if(d.entries, [&](const auto &e) { return e.tag == tag; });
    };
}

enum class Stage { Open, Read };

struct ErrorCase {
    const char *name;
    std::function<void(ImageModel &)> set;
    Stage stage;
    int32_t code;
    const wchar_t *file; // source file of the record, without the folder
};

const ErrorCase kCases[] = {
    {"width 0", [](ImageModel &m) { m.edit = Set(256, {0}); }, Stage::Open, -5, L"TiffImageInfo"},
    {"no height", [](ImageModel &m) { m.edit = Remove(257); }, Stage::Open, -5, L"TiffImageInfo"},
    {"bits 0", [](ImageModel &m) { m.edit = Set(258, {0}); }, Stage::Open, -5, L"TiffImageInfo"},
    {"bits 65", [](ImageModel &m) { m.edit = Set(258, {65}); }, Stage::Open, -5, L"TiffImageInfo"},
    {"samples 0", [](ImageModel &m) { m.edit = Set(277, {0}); }, Stage::Open, -5, L"TiffImageInfo"},
    {"mixed sample sizes",
     [](ImageModel &m) {
         m.spp = 3;
         m.edit = Set(258, {8, 8, 16});
     },
     Stage::Open, -6, L"TiffImageInfo"},
    {"planar configuration 3", [](ImageModel &m) { m.edit = Set(284, {3}); }, Stage::Open, -5,
     L"TiffImageInfo"},
    {"tile width without length",
     [](ImageModel &m) {
         m.tiled = true;
         m.chunkHeight = 16;
         m.edit = Remove(323);
     },
     Stage::Open, -5, L"TiffImageInfo"},
    {"rows per strip 0", [](ImageModel &m) { m.edit = Set(278, {0}, 4); }, Stage::Open, -5,
     L"TiffImageInfo"},
    {"subsampled YCbCr without JPEG", [](ImageModel &m) { m.edit = Set(262, {6}); }, Stage::Open,
     -6, L"TiffImageInfo"},
    {"JPEG", [](ImageModel &m) { m.edit = Set(259, {7}); }, Stage::Open, -6, L"TiffImageLoad"},
    {"LogLuv", [](ImageModel &m) { m.edit = Set(259, {34676}); }, Stage::Open, -6,
     L"TiffImageLoad"},
    {"reversed fill order under Deflate",
     [](ImageModel &m) {
         m.compression = 8;
         m.edit = Set(266, {2});
     },
     Stage::Open, -6, L"TiffImageLoad"},
    {"no strip offsets", [](ImageModel &m) { m.edit = Remove(273); }, Stage::Open, -5,
     L"TiffChunkGrid"},
    {"too few strip offsets",
     [](ImageModel &m) {
         m.edit = Set(273, {8, 8}, 4);
     },
     Stage::Open, -5, L"TiffChunkGrid"},
    {"too few byte counts",
     [](ImageModel &m) {
         m.edit = Set(279, {8, 8}, 4);
     },
     Stage::Open, -5, L"TiffChunkGrid"},
    {"Deflate without byte counts",
     [](ImageModel &m) {
         m.compression = 8;
         m.edit = Remove(279);
     },
     Stage::Open, -5, L"TiffChunkGrid"},
    {"tile of 16 GiB",
     [](ImageModel &m) {
         m.tiled = true;
         m.chunkHeight = 16;
         m.edit = [](TiffWriter &b, Directory &d) {
             b.SetUInts(d, 322, 4, {65536});
             b.SetUInts(d, 323, 4, {65536});
             b.SetUInts(d, 258, 3, {32});
         };
     },
     Stage::Open, -4, L"TiffChunkGrid"},
    {"strip offset past the end",
     [](ImageModel &m) {
         m.edit = Set(273, {8, 8, 8, 8, 8, 8, 100000}, 4);
     },
     Stage::Read, -3, L"TiffChunkGrid"},
    {"uncompressed strip too short",
     [](ImageModel &m) { m.editChunks = [](std::vector<Bytes> &chunks) { chunks[3].resize(50); }; },
     Stage::Read, -5, L"TiffChunkGrid"},
    {"PackBits strip too short for its rows",
     [](ImageModel &m) {
         m.width = 100000;
         m.height = 2;
         m.chunkHeight = 1;
         m.compression = 32773;
         m.editChunks = [](std::vector<Bytes> &chunks) { chunks[1] = {0x00, 0x01}; };
     },
     Stage::Read, -5, L"TiffChunkGrid"},
    {"corrupt Deflate data",
     [](ImageModel &m) {
         m.compression = 8;
         m.editChunks = [](std::vector<Bytes> &chunks) {
             for (auto &byte : chunks[2])
                 byte ^= 0x5A;
         };
     },
     Stage::Read, -5, L"TiffDecodeStrip"},
};

class LoadErrorTest : public ::testing::TestWithParam<ErrorCase> {};

TEST_P(LoadErrorTest, RecordsTheStatus) {
    const ErrorCase &c = GetParam();
    ImageModel m;
    c.set(m);
    CTiffReader reader;
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"bad"));
    TiffImageLoader loader(reader);
    const bool opened = loader.Open(0);
    ASSERT_EQ(opened, c.stage == Stage::Read) << reader.Error().code;
    if (opened) {
        Bytes image(static_cast<size_t>(loader.Info().ImageBytes()));
        EXPECT_FALSE(loader.ReadImage(image.data()));
    }
    EXPECT_EQ(reader.Error().code, c.code);
    EXPECT_EQ(reader.Error().file, std::wstring(L"Subsystems/TiffImage/") + c.file);
}

INSTANTIATE_TEST_SUITE_P(Loader, LoadErrorTest, ::testing::ValuesIn(kCases), [](const auto &info) {
    std::string name;
    for (char ch : std::string(info.param.name))
        name += std::isalnum(static_cast<unsigned char>(ch)) ? ch : '_';
    return name;
});

TEST(LoadErrors, CallerMistakes) {
    ImageModel m;
    CTiffReader reader;
    TiffImageLoader loader(reader);
    EXPECT_FALSE(loader.Open(0)); // the reader has no file
    EXPECT_EQ(reader.Error().code, -7);
    ASSERT_TRUE(reader.Open(tiff::MakeMemorySource(m.Build()), L"m"));
    Bytes buffer(2000);
    EXPECT_FALSE(loader.ReadWindow(0, 0, 1, 1, buffer.data()));
    EXPECT_EQ(reader.Error().code, -7);
    EXPECT_FALSE(loader.Open(1)); // no such directory
    EXPECT_EQ(reader.Error().code, -1);
    ASSERT_TRUE(loader.Open(0));
    struct Box {
        uint32_t x, y, w, h;
    } outside[] = {{30, 0, 8, 1}, {0, 20, 1, 2}, {38, 0, 0, 0}, {1, 1, 0xFFFFFFFF, 1}};
    for (const Box &b : outside) {
        EXPECT_FALSE(loader.ReadWindow(b.x, b.y, b.w, b.h, buffer.data()));
        EXPECT_EQ(reader.Error().code, -1);
    }
    EXPECT_FALSE(loader.ReadWindow(0, 0, 37, 2, buffer.data(), 36)); // stride below a row
    EXPECT_FALSE(loader.ReadWindow(0, 0, 1, 1, nullptr));
    EXPECT_TRUE(loader.ReadWindow(37, 21, 0, 0, buffer.data())); // empty window at the corner
}

// A list tag whose values were never loaded (an unknown type, or a count the file cannot hold)
// is read as holding none, whatever count it claims.
TEST(LoadErrors, ListTagsClaimingMoreValuesThanHeldReadAsEmpty) {
    const struct {
        uint16_t type;
        uint64_t count;
    } cases[] = {{99, 0x7FFFFFFF}, {0, 0xFFFFFFFF}, {3, 0x7FFFFFFF}};
    for (const auto &c : cases) {
        ImageModel m;
        m.edit = [&](TiffWriter &b, Directory &d) { b.AddRaw(d, 338, c.type, c.count, 8); };
        CTiffReader reader;
        const Bytes file = m.Build();
        if (!reader.Open(tiff::MakeMemorySource(file), L"m")) {
            // Values the file cannot hold are refused by the reader itself.
            EXPECT_EQ(c.type, 3) << reader.ErrorCode();
            continue;
        }
        TiffImageLoader loader(reader);
        ASSERT_TRUE(loader.Open(0)) << c.type;
        EXPECT_TRUE(loader.Info().extraSamples.empty()) << c.type;
        Bytes image(37 * 21);
        ASSERT_TRUE(loader.ReadImage(image.data()));
        EXPECT_EQ(image, m.Expected(0, 0, 37, 21));
    }
}

} // namespace
