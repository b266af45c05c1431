// Tag-name table: lookups, order-dependent entries and the shared "UNKNOWN".
#include "Subsystems/TiffImage/TiffUtil.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <set>
#include <thread>

using tiff::TiffTagName;

namespace {

TEST(TagNames, Lookups) {
    struct Case {
        int32_t tag;
        const wchar_t *name;
    } cases[] = {
        {347, L"JPEGTABLES"}, // stands last, after 42113
        {32781, L"IMAGEID"},  // follows 32996
        {33550, L"MODELPIXELSCALETAGEXACT"},
        {0, L"UNKNOWN"}, // the terminator is never a match
        {34264, L"UNKNOWN"},
        {-1, L"UNKNOWN"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(TiffTagName(c.tag), c.name) << c.tag;
}

// Every row is reachable by lookup: no tag appears twice, and no row hides behind another.
TEST(TagNames, EveryRowIsFound) {
    size_t count = 0;
    const tiff::TiffTagNameRow *rows = tiff::TiffTagNameRows(count);
    std::set<int32_t> tags;
    for (size_t i = 0; i < count; ++i) {
        tags.insert(rows[i].tag);
        for (wchar_t ch : rows[i].name)
            EXPECT_TRUE(std::iswupper(ch) || std::iswdigit(ch) || ch == L'_') << rows[i].tag;
        EXPECT_EQ(TiffTagName(rows[i].tag), rows[i].name);
    }
    EXPECT_EQ(tags.size(), count);
    EXPECT_EQ(rows[count].tag, 0); // the terminator
}

TEST(TagNames, ReferencesAreSharedAndThreadSafe) {
    EXPECT_EQ(&TiffTagName(1), &TiffTagName(2));
    EXPECT_EQ(&TiffTagName(256), &TiffTagName(256));
    std::vector<const std::wstring *> seen(8);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&, i] { seen[i] = &TiffTagName(static_cast<int32_t>(70000 + i)); });
    for (auto &t : threads)
        t.join();
    for (const auto *p : seen)
        EXPECT_EQ(p, &TiffTagName(1));
}

} // namespace
