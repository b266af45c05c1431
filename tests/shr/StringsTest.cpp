// Wide/narrow conversion round trips and malformed input.
#include "shr/Format.h"
#include "shr/Strings.h"

#include <gtest/gtest.h>

namespace {

TEST(Strings, RoundTripsAcrossPlanes) {
    const std::string cases[] = {"", "plain", "Zürich", "東京", "\xF0\x9F\x97\xBA map"};
    for (const auto& text : cases) {
        EXPECT_EQ(shr::WtoA(shr::AtoW(text)), text) << text;
    }
    EXPECT_EQ(shr::AtoW("\xF0\x9F\x97\xBA").size(), sizeof(wchar_t) == 2 ? 2u : 1u);
}

TEST(Strings, MalformedUtf8BecomesReplacement) {
    const struct {
        const char* input;
        std::wstring expected;
    } cases[] = {
        {"\xC3", L"\xFFFD"},         // truncated sequence
        {"\xC0\xAF", L"\xFFFD"},     // overlong slash
        {"a\xFF" "b", L"a\xFFFD" L"b"}, // invalid lead byte
        {"\xED\xA0\x80", L"\xFFFD"}, // encoded surrogate
    };
    for (const auto& c : cases)
        EXPECT_EQ(shr::AtoW(c.input), c.expected) << c.input;
}

TEST(Format, GrowsPastInitialBuffer) {
    const std::wstring longText(5000, L'x');
    EXPECT_EQ(shr::FormatString(L"[%ls]", longText.c_str()).size(), 5002u);
    std::wstring s = L"a";
    shr::AppendFormatString(s, L"%d-%ls", 42, L"b");
    EXPECT_EQ(s, L"a42-b");
    EXPECT_EQ(shr::FormatStringA("%s=%u", "n", 7u), "n=7");
}

} // namespace
