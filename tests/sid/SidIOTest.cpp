// SidIO over the buffered file: short reads and the end-of-file flag that stays set.
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

} // namespace
