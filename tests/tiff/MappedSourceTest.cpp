// File sources: the mapped source seeks and reads exactly as the stream source does and lends
// its bytes. Images loaded through the
// mapping are compared with libtiff in peer/, through a copying source in ImageLoadTest.
#include "Subsystems/TiffImage/TiffRead.h"
#include "Subsystems/TiffImage/TiffSource.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

using testsupport::Bytes;
using tiff::TiffSource;

namespace {

std::wstring Scratch(const std::string &name, const Bytes &bytes) {
    return testsupport::Wide(testsupport::WriteScratch("mapped_source_" + name, bytes));
}

Bytes Pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + i / 251 + 3);
    return bytes;
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
    {Step::Seek, 1001, true, 0, 0}, // past the end, as a C stream allows
    {Step::Read, 4, true, 0, 0},
    {Step::Seek, 20, true, 0, 0},
    {Step::Seek, uint64_t{1} << 63, false, 0, 0}, // beyond a stream's range: position kept
    {Step::Read, 3, true, 3, 20},
    {Step::Seek, 0, true, 0, 0},
    {Step::Read, 2000, true, 1000, 0},
};

TEST(FileSource, MappedSeeksAndReadsLikeAStream) {
    const Bytes bytes = Pattern(kScriptFileSize);
    for (bool mapped : {false, true}) {
        const std::wstring path = Scratch(mapped ? "mapped" : "stream", bytes);
        auto source = mapped ? tiff::OpenMappedFileSource(path) : tiff::OpenStreamFileSource(path);
        ASSERT_NE(source, nullptr);
        for (size_t i = 0; i < std::size(kScript); ++i) {
            const Step &s = kScript[i];
            SCOPED_TRACE(::testing::Message() << "mapped " << mapped << ", step " << i);
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
}

TEST(MappedSource, LendsExactlyTheFileBytes) {
    const Bytes bytes = Pattern(5000);
    auto mapped = tiff::OpenMappedFileSource(Scratch("view", bytes));
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
}

// A sparse file of the largest length the reader accepts is mapped, and offsets near its end
// are still bounded exactly.
TEST(FileSource, LargestFileIsMapped) {
    testsupport::TiffWriter b(false, false);
    b.AddUInts(b.AddDirectory(), 256, 3, {5});
    const std::string path = testsupport::WriteScratch("mapped_source_sparse", b.Build());
    const std::wstring wide = testsupport::Wide(path);
    constexpr uint64_t kLength = 0xFFFFFFFFull;
    std::error_code error;
    std::filesystem::resize_file(path, kLength, error);
    if (error)
        GTEST_SKIP() << "no sparse file of 4 GiB: " << error.message();
    {
        ASSERT_NE(tiff::OpenFileSource(wide)->View(kLength - 1, 1), nullptr);
        tiff::CTiffReader reader;
        ASSERT_TRUE(reader.Open(wide)) << reader.ErrorCode();
        unsigned char tail[4] = {1, 1, 1, 1};
        EXPECT_TRUE(reader.ReadBytes(kLength - 4, tail, 4, L"test", 1));
        EXPECT_EQ(tail[0] | tail[3], 0);
        EXPECT_FALSE(reader.ReadBytes(kLength - 3, tail, 4, L"test", 2));
        EXPECT_EQ(reader.ErrorCode(), -3);
    }
    std::filesystem::remove(path, error);
}

} // namespace
