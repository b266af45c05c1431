// SidIO and the buffered file beneath it: opening, short reads and the end-of-file flag,
// seek directions, refused writes, duplicates, and the null-buffer precondition.
#include "SidIO.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

using namespace LizardTech;

namespace {

std::wstring HundredBytes() {
    std::string bytes;
    for (int i = 0; i < 100; ++i)
        bytes.push_back(static_cast<char>(i));
    return sidtest::Wide(sidtest::WriteScratch("sidio_100.bin", bytes));
}

TEST(SidIO, OpeningClosingAndRefusals) {
    SidIO missing(sidtest::Wide(sidtest::ScratchPath("no_such_file.sid")), true);
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.getLastError(), 1u);
    SidIO stream(HundredBytes(), true);
    EXPECT_TRUE(stream.isOpen());
    EXPECT_EQ(stream.getLastError(), 0u);
    EXPECT_EQ(stream.open(), 145012u); // already open
    EXPECT_EQ(stream.getLastError(), 145012u);
    EXPECT_TRUE(stream.isOpen());
    const lt_uint8 data[3] = {1, 2, 3};
    EXPECT_EQ(stream.write(data, 3), 0u);
    EXPECT_EQ(stream.getLastError(), 1u);
    EXPECT_THROW(stream.read(nullptr, 4), gsl::fail_fast);

    SidIO later(HundredBytes(), false);
    lt_uint8 buffer[4];
    EXPECT_EQ(later.read(buffer, 4), 0u); // closed: refused
    EXPECT_EQ(later.getLastError(), 1u);
    EXPECT_EQ(later.seek(0, LTIO_SEEK_DIR_BEG), 1u);
    EXPECT_FALSE(later.isEOF());
    EXPECT_EQ(later.open(), 0u);
    EXPECT_TRUE(later.isOpen());
    EXPECT_EQ(later.close(), 0u);
    EXPECT_FALSE(later.isOpen());
    EXPECT_EQ(later.close(), 0u); // closing a closed stream is fine
}

TEST(SidIO, ShortReadSetsEndOfFileForGood) {
    SidIO stream(HundredBytes(), true);
    ASSERT_EQ(stream.seek(60, LTIO_SEEK_DIR_BEG), 0u);
    lt_uint8 buffer[100] = {};
    EXPECT_FALSE(stream.isEOF());
    EXPECT_EQ(stream.read(buffer, 100), 40u);
    EXPECT_EQ(buffer[0], 60);
    EXPECT_EQ(buffer[39], 99);
    EXPECT_EQ(stream.getLastError(), 0u);
    EXPECT_TRUE(stream.isEOF());
    EXPECT_EQ(stream.seek(0, LTIO_SEEK_DIR_BEG), 0u);
    EXPECT_TRUE(stream.isEOF());
    EXPECT_EQ(stream.read(buffer, 10), 10u);
    EXPECT_TRUE(stream.isEOF());
    EXPECT_EQ(stream.seek(0, LTIO_SEEK_DIR_END), 0u);
    EXPECT_EQ(stream.read(buffer, 10), 0u);
    EXPECT_EQ(stream.getLastError(), 1u);
}

TEST(SidIO, SeekDirections) {
    SidIO stream(HundredBytes(), true);
    struct Case {
        lt_int64 offset;
        int dir;
        LT_STATUS status;
        lt_int64 position;
    };
    const Case cases[] = {
        {10, LTIO_SEEK_DIR_BEG, 0, 10},
        {5, LTIO_SEEK_DIR_CUR, 0, 15},
        {-20, LTIO_SEEK_DIR_END, 0, 80},
        {3, 1, 1, 80},
        {3, 5, 1, 80},
        {-200, LTIO_SEEK_DIR_CUR, 1, 80}, // before the start: the file refuses, nothing moves
    };
    for (const Case &c : cases) {
        EXPECT_EQ(stream.seek(c.offset, static_cast<LTIOSeekDir>(c.dir)), c.status) << c.dir;
        EXPECT_EQ(stream.getLastError(), c.status);
        EXPECT_EQ(stream.tell(), c.position) << c.dir;
    }
}

TEST(SidIO, DuplicateIsAClosedStreamOnTheSamePath) {
    SidIO stream(HundredBytes(), true);
    lt_uint8 buffer[100];
    stream.seek(90, LTIO_SEEK_DIR_BEG);
    stream.read(buffer, 100);
    std::unique_ptr<LTIOStreamInf> copy(stream.duplicate());
    ASSERT_NE(copy, nullptr);
    EXPECT_FALSE(copy->isOpen());
    EXPECT_FALSE(copy->isEOF());
    EXPECT_EQ(copy->getLastError(), 0u);
    EXPECT_EQ(copy->open(), 0u);
    EXPECT_EQ(copy->read(buffer, 100), 100u);
    EXPECT_EQ(buffer[99], 99);
}

// The buffered file's own refusals; its reads and seeks are driven through SidIO above.
TEST(BufferedFile, RefusalsThrowOrReturnFalse) {
    shr::CBufferedFile file;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THROW(file.GetPosition(), std::runtime_error);
    const std::wstring none = sidtest::Wide(sidtest::ScratchPath("none.bin"));
    EXPECT_FALSE(file.OpenNoThrow(none, "rb", shr::ShareRead, false));
    EXPECT_THROW(file.Open(none, "rb", shr::ShareRead), std::runtime_error);
    ASSERT_TRUE(file.OpenNoThrow(HundredBytes(), "rb", shr::ShareRead, false));
    EXPECT_FALSE(file.OpenNoThrow(HundredBytes(), "rb", shr::ShareRead, false));
    EXPECT_EQ(file.Seek(95, shr::OriginBegin), 95);
    EXPECT_EQ(file.GetPosition(), 95);
    EXPECT_THROW(file.Seek(0, 7), std::runtime_error);
    EXPECT_NO_THROW(file.Close());
    EXPECT_FALSE(file.IsOpen());
    EXPECT_TRUE(file.CloseNoThrow(true));
}

} // namespace
