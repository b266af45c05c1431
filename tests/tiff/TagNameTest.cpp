// Tag-name table: every row is found by lookup (rows that stand out of order included), and
// anything else gets the one shared "UNKNOWN". Names are compared with libtiff's in peer/.
#include "Subsystems/TiffImage/TiffUtil.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <set>
#include <thread>

using tiff::TiffTagName;

namespace {

TEST(TagNames, EveryRowIsFoundAndTheRestAreUnknown) {
    size_t count = 0;
    const tiff::TiffTagNameRow *rows = tiff::TiffTagNameRows(count);
    std::set<int32_t> tags;
    for (size_t i = 0; i < count; ++i) {
        tags.insert(rows[i].tag);
        for (wchar_t ch : rows[i].name)
            EXPECT_TRUE(std::iswupper(ch) || std::iswdigit(ch) || ch == L'_') << rows[i].tag;
        EXPECT_EQ(TiffTagName(rows[i].tag), rows[i].name);
    }
    EXPECT_EQ(tags.size(), count); // no row hides behind another
    EXPECT_EQ(rows[count].tag, 0); // the terminator, never a match
    const std::wstring *unknown = nullptr;
    std::thread([&] { unknown = &TiffTagName(0); }).join();
    for (int32_t tag : {34264, -1, 70000})
        EXPECT_EQ(&TiffTagName(tag), unknown) << tag;
    EXPECT_EQ(*unknown, L"UNKNOWN");
}

} // namespace
