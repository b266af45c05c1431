// TiffImageRead: its own error record with the fixed lines, image count and tag lookup.
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "support/TiffWriter.h"

#include <gtest/gtest.h>

#include <stdexcept>

using tiff::TiffImageRead;

namespace {

const wchar_t kFile[] = L"Subsystems/TiffImage/TiffImageRead";

TEST(TiffImageRead, FailuresAndTheirRecords) {
    TiffImageRead file;
    EXPECT_FALSE(file.OpenFile(L""));
    EXPECT_EQ(file.Error().file, kFile);
    EXPECT_EQ(file.Error().line, 175);
    EXPECT_EQ(file.Error().code, -1);

    // The reader's record is copied as it is.
    EXPECT_FALSE(file.OpenFile(L"/nonexistent/x.tif"));
    EXPECT_EQ(file.Error().file, L"Subsystems/TiffImage/TiffRead");
    EXPECT_EQ(file.Error().code, -2);
    EXPECT_EQ(file.Error().line, file.Reader().ErrorLine());

    struct ThrowingSource : tiff::TiffSource {
        bool Length(uint64_t &length) override { return length = 1000, true; }
        bool Seek(uint64_t) override { throw std::runtime_error("stream broke"); }
        size_t Read(void *, size_t) override { return 0; }
    };
    EXPECT_FALSE(file.OpenSource(std::make_unique<ThrowingSource>(), L"throws"));
    EXPECT_EQ(file.Error().file, kFile);
    EXPECT_EQ(file.Error().line, 192);
    EXPECT_EQ(file.Error().code, -99);

    file.Close();
    EXPECT_FALSE(file.Error().IsSet()); // closing forgets the failure
    EXPECT_EQ(file.GetImageCount(), 0u);
    EXPECT_EQ(file.Error().line, 325);
    EXPECT_EQ(file.Error().code, -7);
}

// Two directories, the first with a duplicated width: the first of duplicates is found.
TEST(TiffImageRead, CountsImagesAndFindsTags) {
    testsupport::TiffWriter b(false, false);
    b.AddUInts(b.AddDirectory(), 256, 3, {10});
    b.AddUInts(b.Dir(0), 256, 3, {20});
    b.AddUInts(b.AddDirectory(), 256, 3, {1});
    auto bytes = b.Build();
    bytes.resize(64, 0);
    TiffImageRead file;
    ASSERT_TRUE(file.OpenSource(tiff::MakeMemorySource(bytes), L"two"));
    EXPECT_EQ(file.GetImageCount(), 2u);
    EXPECT_FALSE(file.Error().IsSet());
    EXPECT_EQ(file.FindTag(0, 256)->GetUInt(), 10u);
    EXPECT_EQ(file.FindTag(1, 256)->GetUInt(), 1u);
    EXPECT_EQ(file.FindTag(2, 256), nullptr); // past the directory count
}

} // namespace
