// File sources: the mapped source seeks and reads exactly as the stream source does, lends its
// bytes, and is chosen by OpenFileSource only for files it can map; images load the same
// through every source, with the last strip or tile ending the file on a page boundary.
#include "Subsystems/TiffImage/TiffImageLoad.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "shr/Strings.h"
#include "support/ImageModel.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#ifndef _WIN32
#include <sys/mman.h>
#endif

using testsupport::Bytes;
using testsupport::ImageModel;
using tiff::CTiffReader;
using tiff::TiffSource;

namespace {

namespace fs = std::filesystem;

// A file in the tests' scratch folder holding `bytes`; its wide path.
std::wstring Scratch(const std::string &name, const Bytes &bytes) {
    return testsupport::Wide(testsupport::WriteScratch("mapped_source_" + name, bytes));
}

Bytes Pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 251 + 3);
    return bytes;
}

enum class Kind { Stream, Mapped };

const char *NameOf(Kind kind) { return kind == Kind::Stream ? "Stream" : "Mapped"; }
void PrintTo(Kind kind, std::ostream *os) { *os << NameOf(kind); }

std::unique_ptr<TiffSource> OpenAs(Kind kind, const std::wstring &path) {
    return kind == Kind::Stream ? tiff::OpenStreamFileSource(path)
                                : tiff::OpenMappedFileSource(path);
}

// One operation on a source and what it must give: Seek's result, or Read's count and the file
// offset its bytes come from.
struct Step {
    enum Op { Length, Seek, Read } op;
    uint64_t arg;
    bool ok;
    size_t count;
    uint64_t from;
};

constexpr size_t kScriptFileSize = 1000;

const Step kScript[] = {
    {Step::Read, 10, true, 10, 0}, // a new source reads from the start
    {Step::Length, 0, true, 0, 0},
    {Step::Read, 5, true, 5, 10}, // asking for the length keeps the position
    {Step::Seek, 995, true, 0, 0},
    {Step::Read, 10, true, 5, 995}, // short read at the end
    {Step::Read, 1, true, 0, 0},
    {Step::Seek, 1000, true, 0, 0},
    {Step::Read, 4, true, 0, 0},
    {Step::Seek, 1001, true, 0, 0}, // past the end, as a C stream allows
    {Step::Read, 4, true, 0, 0},
    {Step::Seek, uint64_t{1} << 33, true, 0, 0},
    {Step::Read, 4, true, 0, 0},
    {Step::Seek, 20, true, 0, 0},
    {Step::Seek, uint64_t{1} << 63, false, 0, 0}, // beyond a stream's range: position kept
    {Step::Read, 3, true, 3, 20},
    {Step::Seek, UINT64_MAX, false, 0, 0},
    {Step::Read, 2, true, 2, 23},
    {Step::Seek, 0, true, 0, 0},
    {Step::Read, 0, true, 0, 0},
    {Step::Read, 2000, true, 1000, 0},
    {Step::Read, 1, true, 0, 0},
};

class FileSourceTest : public ::testing::TestWithParam<Kind> {};

TEST_P(FileSourceTest, SeeksAndReadsLikeAStream) {
    const Bytes bytes = Pattern(kScriptFileSize);
    auto source = OpenAs(GetParam(), Scratch(NameOf(GetParam()), bytes));
    ASSERT_NE(source, nullptr);
    for (size_t i = 0; i < std::size(kScript); ++i) {
        const Step &s = kScript[i];
        SCOPED_TRACE(::testing::Message() << "step " << i);
        if (s.op == Step::Length) {
            uint64_t length = 0;
            EXPECT_TRUE(source->Length(length));
            EXPECT_EQ(length, kScriptFileSize);
        } else if (s.op == Step::Seek) {
            EXPECT_EQ(source->Seek(s.arg), s.ok);
        } else {
            Bytes got(static_cast<size_t>(s.arg) + 1, 0xEE);
            ASSERT_EQ(source->Read(got.data(), static_cast<size_t>(s.arg)), s.count);
            EXPECT_TRUE(std::equal(got.begin(), got.begin() + s.count, bytes.begin() + s.from));
            EXPECT_EQ(got[s.count], 0xEE) << "written past the count";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sources, FileSourceTest, ::testing::Values(Kind::Stream, Kind::Mapped),
                         [](const auto &info) { return NameOf(info.param); });

TEST(MappedSource, LendsExactlyTheFileBytes) {
    const Bytes bytes = Pattern(5000);
    const std::wstring path = Scratch("view", bytes);
    auto mapped = tiff::OpenMappedFileSource(path);
    ASSERT_NE(mapped, nullptr);
    const unsigned char *all = mapped->View(0, bytes.size());
    ASSERT_NE(all, nullptr);
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), all));
    EXPECT_EQ(mapped->View(4999, 1), all + 4999);
    EXPECT_EQ(mapped->View(5000, 0), all + 5000);
    struct {
        uint64_t position;
        size_t size;
    } const outside[] = {{5000, 1}, {4999, 2}, {5001, 0}, {UINT64_MAX, 1}, {1, SIZE_MAX}};
    for (const auto &o : outside)
        EXPECT_EQ(mapped->View(o.position, o.size), nullptr) << o.position << "+" << o.size;
    // Views leave the position alone.
    unsigned char first[2] = {};
    EXPECT_EQ(mapped->Read(first, 2), 2u);
    EXPECT_EQ(first[1], bytes[1]);

    auto stream = tiff::OpenStreamFileSource(path);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(stream->View(0, 1), nullptr);
}

// Only a window of the file stays resident; blocks given back read the same when read again.
TEST(MappedSource, BlocksGivenBackReadTheSame) {
    const Bytes bytes = Pattern(40u << 20);
    auto mapped = tiff::OpenMappedFileSource(Scratch("large", bytes));
    ASSERT_NE(mapped, nullptr);
    Bytes again(bytes.size());
    for (int pass = 0; pass < 2; ++pass) {
        ASSERT_TRUE(mapped->Seek(0));
        ASSERT_EQ(mapped->Read(again.data(), again.size()), again.size());
        EXPECT_EQ(again, bytes) << "pass " << pass;
    }
    const unsigned char *first = mapped->View(0, 1u << 20);
    ASSERT_NE(first, nullptr);
    EXPECT_TRUE(std::equal(first, first + (1u << 20), bytes.begin()));
}

// OpenFileSource maps what it can and falls back to the stream for the rest.
TEST(FileSource, MapsWhatItCanAndStreamsTheRest) {
    struct {
        const char *name;
        std::wstring path;
        bool opens, mapped;
    } const cases[] = {
        {"regular", Scratch("regular", Pattern(100)), true, true},
        {"empty", Scratch("empty", {}), true, false},
        {"missing", shr::AtoW(std::string(IOSID_BUILD_DIR) + "/mapped_none.tif"), false, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        auto source = tiff::OpenFileSource(c.path);
        ASSERT_EQ(source != nullptr, c.opens);
        EXPECT_EQ(tiff::OpenMappedFileSource(c.path) != nullptr, c.mapped);
        if (source) {
            EXPECT_EQ(source->View(0, 0) != nullptr, c.mapped);
        }
    }
    EXPECT_EQ(tiff::OpenMappedFileSource(shr::AtoW(IOSID_BUILD_DIR)), nullptr);
}

// Sparse files around the largest length the reader accepts: that one is mapped, longer ones
// are streamed and refused with -9.
TEST(FileSource, LengthLimitOfTheMapping) {
    testsupport::TiffWriter b(false, false);
    b.AddUInts(b.AddDirectory(), 256, 3, {5});
    const Bytes header = b.Build();
    struct {
        uint64_t length;
        bool mapped;
        int32_t readerCode;
    } const cases[] = {{0xFFFFFFFFull, true, 0}, {0x100000000ull, false, -9}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.length);
        const std::string path = testsupport::WriteScratch("mapped_source_sparse", header);
        const std::wstring wide = testsupport::Wide(path);
        std::error_code error;
        fs::resize_file(path, c.length, error);
        if (error)
            GTEST_SKIP() << "no sparse file of " << c.length << " bytes: " << error.message();
        auto source = tiff::OpenFileSource(wide);
        ASSERT_NE(source, nullptr);
        uint64_t length = 0;
        EXPECT_TRUE(source->Length(length));
        EXPECT_EQ(length, c.length);
        const unsigned char *last = source->View(c.length - 1, 1);
        EXPECT_EQ(last != nullptr, c.mapped);
        if (last) {
            EXPECT_EQ(*last, 0);
        }
        CTiffReader reader;
        EXPECT_EQ(reader.Open(wide), c.readerCode == 0);
        EXPECT_EQ(reader.ErrorCode(), c.readerCode);
        if (c.readerCode == 0) {
            unsigned char tail[4] = {1, 1, 1, 1};
            EXPECT_TRUE(reader.ReadBytes(c.length - 4, tail, 4, L"test", 1));
            EXPECT_EQ(tail[0] | tail[3], 0);
            EXPECT_FALSE(reader.ReadBytes(c.length - 3, tail, 4, L"test", 2));
            EXPECT_EQ(reader.ErrorCode(), -3);
        }
        source.reset();
        reader.Close();
        fs::remove(path, error);
    }
}

constexpr size_t kPage = 4096;

// Moves the last strip or tile to the end of the file and pads before it so that the file ends
// on a page boundary: a decoder reading past its input would leave the mapping, and fault on
// the guard page that follows it.
Bytes WithLastChunkEndingThePage(Bytes file, bool bigEndian) {
    CTiffReader reader;
    EXPECT_TRUE(reader.Open(tiff::MakeMemorySource(file), L"model"));
    const tiff::TiffDirectory &dir = reader.Directories().at(0);
    const tiff::TiffEntry *offsets = dir.Find(273) ? dir.Find(273) : dir.Find(324);
    const tiff::TiffEntry *counts = dir.Find(279) ? dir.Find(279) : dir.Find(325);
    const uint64_t last = offsets->count - 1;
    const auto at = static_cast<size_t>(offsets->GetUInt(last));
    const auto size = static_cast<size_t>(counts->GetUInt(last));
    EXPECT_FALSE(offsets->IsInline());
    const Bytes chunk(file.begin() + at, file.begin() + at + size);
    file.resize((file.size() + size + kPage - 1) / kPage * kPage - size, 0);
    const uint64_t moved = file.size();
    file.insert(file.end(), chunk.begin(), chunk.end());
    const auto field = static_cast<size_t>(offsets->Offset() + last * 4); // LONG offsets
    for (size_t b = 0; b < 4; ++b)
        file[field + (bigEndian ? 3 - b : b)] = static_cast<unsigned char>(moved >> (8 * b));
    return file;
}

#ifdef _WIN32
// Views start on 64 KiB boundaries and end on a page: what follows the last page of a file whose
// length is not a multiple of 64 KiB cannot be read.
class GuardPage {
public:
    explicit GuardPage(size_t) {}
    bool Guard(const unsigned char *, size_t) { return true; }
};
#else
// Keeps the page after a file mapping unreadable, so that a decoder reading past the end of the
// file faults. Where the kernel puts the mapping is its own choice: a hole is reserved in front
// of an inaccessible page before the file is mapped, which top-down placement takes first, and
// otherwise the page after the mapping is claimed once its place is known.
class GuardPage {
public:
    explicit GuardPage(size_t size) {
        void *p = mmap(nullptr, size + kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (p == MAP_FAILED)
            return;
        munmap(p, size);
        reserved_ = static_cast<unsigned char *>(p) + size;
    }
    ~GuardPage() {
        if (reserved_)
            munmap(reserved_, kPage);
        if (claimed_)
            munmap(claimed_, kPage);
    }
    GuardPage(const GuardPage &) = delete;
    GuardPage &operator=(const GuardPage &) = delete;

    // True when the page after data[0, size) cannot be read.
    bool Guard(const unsigned char *data, size_t size) {
        auto *end = const_cast<unsigned char *>(data + size);
        if (end == reserved_)
            return true;
        void *p =
            mmap(end, kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
        if (p == end) {
            claimed_ = end;
            return true;
        }
        if (p != MAP_FAILED) // a kernel without the flag took it as a hint
            munmap(p, kPage);
        return false;
    }

private:
    unsigned char *reserved_ = nullptr;
    unsigned char *claimed_ = nullptr;
};
#endif

struct ImageCase {
    const char *name;
    std::function<void(ImageModel &)> set;
};

const ImageCase kImages[] = {{"packbits_strips", [](ImageModel &m) { m.compression = 32773; }},
                             {"lzw_strips",
                              [](ImageModel &m) {
                                  m.compression = 5;
                                  m.spp = 3;
                              }},
                             {"deflate_pred2_tiles_be", [](ImageModel &m) {
                                  m.compression = 8;
                                  m.predictor = 2;
                                  m.bps = 16;
                                  m.bigEndian = m.bigTiff = true;
                                  m.tiled = true;
                                  m.chunkHeight = 16;
                              }}};

// Images load alike through the stream and the mapping, with the last chunk ending the mapping.
TEST(FileSource, ImagesLoadAlikeThroughEverySource) {
    for (const ImageCase &ic : kImages) {
        SCOPED_TRACE(ic.name);
        ImageModel m;
        ic.set(m);
        const Bytes bytes = WithLastChunkEndingThePage(m.Build(), m.bigEndian);
        ASSERT_EQ(bytes.size() % kPage, 0u);
        const std::wstring path = Scratch(ic.name, bytes);
        const Bytes want = m.Expected(0, 0, m.width, m.height);
        for (Kind kind : {Kind::Stream, Kind::Mapped}) {
            SCOPED_TRACE(NameOf(kind));
            GuardPage guard(bytes.size());
            CTiffReader reader;
            ASSERT_TRUE(reader.Open(OpenAs(kind, path), path));
            EXPECT_EQ(reader.FileLength(), bytes.size());
            // Only the stream source has to copy.
            const unsigned char *view = reader.ViewBytes(0, bytes.size());
            EXPECT_EQ(view == nullptr, kind == Kind::Stream);
            // Only another readable mapping right after ours can leave it unguarded.
            if (view && !guard.Guard(view, bytes.size()))
                std::printf("note: the page after the %s mapping is in use; unguarded\n", ic.name);
            tiff::TiffImageLoader loader(reader);
            ASSERT_TRUE(loader.Open(0)) << reader.ErrorCode();
            Bytes got(want.size(), 0xA5);
            ASSERT_TRUE(loader.ReadImage(got.data())) << reader.ErrorCode();
            EXPECT_EQ(got, want);
        }
    }
}

} // namespace
