// The host framework as filters use it: the order of the filter's virtual operations, and the
// cached bitmap. (Option strings are read in ImportOptionsTest.)
#include "RecordingManager.h"
#include "SidImportFilter.h"
#include "shr/Strings.h"

#include "../sid/TestEngine.h"
#include "../sid/TestFiles.h"

#include "imagelib/CachedSidBitmap.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

#if defined(__GNUC__) && !defined(_MSC_VER)
// Slot of a virtual operation in the Itanium C++ ABI: a member pointer to a virtual function
// holds 1 + its byte offset in the vtable. The destructor takes slots 0 and 1 there.
template <class F> size_t Slot(F member) {
    ptrdiff_t raw = 0;
    std::memcpy(&raw, &member, sizeof raw);
    return static_cast<size_t>(raw - 1) / sizeof(void *) - 1;
}

TEST(FilterInterface, OperationsKeepTheirSlots) {
    using F = SidImportFilter;
    // clang-format off
    const size_t slots[] = {Slot(&F::GetTypeTag), Slot(&F::GetPropertyPages), Slot(&F::SetOptions),
        Slot(&F::GetOptionsInStringForm), Slot(&F::GetOptionStringDelimiter), Slot(&F::CanProduce),
        Slot(&F::CanImportFile), Slot(&F::GetFileInfo), Slot(&F::HasDelayedImport),
        Slot(&F::Import), Slot(&F::ImportFromMemory), Slot(&F::ImportObject)};
    // clang-format on
    for (size_t i = 0; i < std::size(slots); ++i)
        EXPECT_EQ(slots[i], i + 1) << "operation " << i;
}
#endif

// The cached bitmap's rows against the reader at full resolution, read out of order with a
// cache far smaller than the image. Grey goes through the colour transformer.
TEST(CachedSidBitmap, RowsMatchTheReaderWithinABoundedCache) {
    using namespace LizardTech;
    for (const auto &[space, bands, readerFormat, expected] :
         {std::tuple{LTI_COLORSPACE_RGBA, 4, 5, shr::ColorFormatBgra32},
          std::tuple{LTI_COLORSPACE_GRAYSCALE, 1, 4, shr::ColorFormatBgr24}}) {
        sidtest::TestImage image;
        image.width = 1500, image.height = 700, image.colorSpace = space, image.bands = bands;
        sidtest::TestEngineScope engine(image);
        const std::wstring file = sidtest::Wide(sidtest::WriteScratch("bitmap.bin", "TEST"));
        imagelib::CachedSidBitmap bitmap(L"", L"", false);
        ASSERT_TRUE(bitmap.Open(file, 1, false)) << shr::WtoA(bitmap.GetErrorText());
        EXPECT_EQ(bitmap.GetColorFormat(), expected);
        EXPECT_EQ(bitmap.GetName(), L"bitmap.bin");
        SidInterface reader;
        reader.SetFormat(readerFormat);
        ASSERT_TRUE(reader.Open(file));
        const size_t bytes = shr::RowBytes(expected, 1500);
        std::vector<uint8_t> ours(bytes), theirs(1500 * 4);
        for (uint32_t row : {0u, 1u, 255u, 256u, 511u, 699u, 3u}) {
            ASSERT_TRUE(bitmap.ReadRow(row, ours.data()));
            ASSERT_TRUE(reader.ReadScanline(row, theirs.data()));
            EXPECT_EQ(0, std::memcmp(ours.data(), theirs.data(), bytes)) << row;
            EXPECT_LE(bitmap.GetCachedBlockCount(), 6u); // 1 MiB of 256 × 256 blocks
        }
        EXPECT_FALSE(bitmap.ReadRow(700, ours.data()));
    }
    imagelib::CachedSidBitmap missing(L"", L"", false);
    EXPECT_FALSE(missing.Open(L"/nonexistent/file.sid", 0, false));
    EXPECT_NE(std::wstring(missing.GetErrorText()).find(L"/nonexistent/file.sid"),
              std::wstring::npos);
}

} // namespace
