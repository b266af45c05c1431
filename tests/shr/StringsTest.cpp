#include "shr/Format.h"
#include "shr/Strings.h"

#include <gtest/gtest.h>

namespace {

TEST(Strings, RoundTripsAcrossPlanes) {
    const std::string cases[] = {"", "plain", "Zürich", "東京", "\xF0\x9F\x97\xBA map"};
    for (const auto& text : cases)
        EXPECT_EQ(shr::WtoA(shr::AtoW(text)), text) << text;
}

TEST(Strings, MalformedUtf8BecomesReplacement) {
    const std::pair<const char*, std::wstring> cases[] = {
        {"\xC3", L"\xFFFD"},         // truncated sequence
        {"a\xFF" "b", L"a\xFFFD" L"b"}, // invalid lead byte
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(shr::AtoW(input), expected) << input;
}

TEST(Format, GrowsPastInitialBuffer) {
    EXPECT_EQ(shr::FormatString(L"[%ls]", std::wstring(5000, L'x').c_str()).size(), 5002u);
    std::wstring s = L"a";
    shr::AppendFormatString(s, L"%d-%ls", 42, L"b");
    EXPECT_EQ(s, L"a42-b");
    EXPECT_EQ(shr::FormatStringA("%s=%u", "n", 7u), "n=7");
}

} // namespace
