// JPEG 2000 files the engine refuses, each with its reason: sizes that would make the decoder
// allocate without bound are refused before it runs, broken boxes and headers are named.
#include "SidInterface.h"

#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

struct Header {
    uint32_t width = 64, height = 48, tileWidth = 64, tileHeight = 48;
    uint16_t components = 1;
    uint8_t bits = 8, dx = 1, levels = 2, codeBlock = 4; // code-blocks of 2^(codeBlock + 2)
    bool coding = true;
};

void Put16(std::string &s, uint32_t v) {
    s += static_cast<char>(v >> 8);
    s += static_cast<char>(v);
}
void Put32(std::string &s, uint32_t v) {
    Put16(s, v >> 16);
    Put16(s, v & 0xFFFF);
}

// A main header (SOC, SIZ, COD, QCD) and an empty tile-part, as the standard lays them out.
std::string Codestream(const Header &h) {
    std::string s;
    Put16(s, 0xFF4F);
    Put16(s, 0xFF51);
    Put16(s, 38 + 3 * h.components);
    Put16(s, 0);
    for (uint32_t v : {h.width, h.height, 0u, 0u, h.tileWidth, h.tileHeight, 0u, 0u})
        Put32(s, v);
    Put16(s, h.components);
    for (uint16_t c = 0; c < h.components; ++c) {
        s += static_cast<char>(h.bits - 1);
        s += static_cast<char>(h.dx);
        s += static_cast<char>(1);
    }
    if (h.coding) {
        Put16(s, 0xFF52);
        Put16(s, 12);
        s += std::string("\0\0\0\x01\0", 5);
        s += static_cast<char>(h.levels);
        s += static_cast<char>(h.codeBlock);
        s += static_cast<char>(h.codeBlock);
        s += std::string("\0\x01", 2);
    }
    Put16(s, 0xFF5C); // no quantization: one exponent per sub-band
    Put16(s, 3 + 3 * h.levels + 1);
    s += static_cast<char>(0x40);
    s += std::string(3 * h.levels + 1, '\x40');
    Put16(s, 0xFF90);
    Put16(s, 10);
    Put16(s, 0);
    Put32(s, 14);
    s += std::string("\0\x01", 2);
    Put16(s, 0xFF93);
    Put16(s, 0xFFD9);
    return s;
}

std::string Box(const char *type, const std::string &payload) {
    std::string s;
    Put32(s, static_cast<uint32_t>(8 + payload.size()));
    return s + type + payload;
}

std::string Jp2(const std::string &header, const std::string &rest) {
    return Box("jP  ", "\r\n\x87\n") + Box("ftyp", std::string("jp2 \0\0\0\0jp2 ", 12)) +
           Box("jp2h", header) + rest;
}

struct RefusedCase {
    const char *name;
    std::string bytes;
    const char *reason; // a part of the reader's failure text
};

Header With(void (*change)(Header &)) {
    Header h;
    change(h);
    return h;
}

TEST(Jpeg2000Errors, RefusedFilesSayWhy) {
    const std::string good = Codestream(Header{});
    const RefusedCase cases[] = {
        {"huge_tile.j2k", Codestream(With([](Header &h) {
             h.width = h.height = h.tileWidth = h.tileHeight = 0x7FFFFFFF;
         })),
         "have too many code-blocks to decode"},
        {"wide_short_tile.j2k", Codestream(With([](Header &h) {
             h.width = h.tileWidth = 134217748; // code-blocks far smaller than the area says
             h.height = h.tileHeight = 20;
             h.components = 4;
         })),
         "have too many code-blocks to decode"},
        {"many_tiles.j2k", Codestream(With([](Header &h) {
             h.width = h.height = 100000;
             h.tileWidth = h.tileHeight = 16;
         })),
         "tiles (at most 65535 are allowed)"},
        {"tile_components.j2k", Codestream(With([](Header &h) {
             h.width = h.height = 4096;
             h.tileWidth = h.tileHeight = 32;
             h.components = 16;
         })),
         "tiles of 16 components are too many"},
        {"deep.j2k", Codestream(With([](Header &h) { h.bits = 24; })), "24-bit samples"},
        {"subsampled.j2k", Codestream(With([](Header &h) { h.dx = 2; })), "is subsampled"},
        {"no_coding.j2k", Codestream(With([](Header &h) { h.coding = false; })),
         "has no COD marker"},
        {"empty.j2k", Codestream(With([](Header &h) { h.width = 0; })), "is empty or too large"},
        {"cut_header.j2k", good.substr(0, 30), "runs past the codestream"},
        {"box_overrun.jp2", Jp2("", Box("jp2c", good)).substr(0, 60) + std::string(4, '\xFF'),
         "runs past the end of its container"},
        {"no_codestream.jp2", Jp2("", Box("free", "x")), "no codestream box"},
        {"bad_mapping.jp2", Jp2(Box("cmap", std::string("\0\x05\0\0", 4)), Box("jp2c", good)),
         "the component mapping names component 5 of 1"},
        {"palette_unmapped.jp2",
         Jp2(Box("pclr", std::string("\0\x02\x01\x07\x10\x20", 6)), Box("jp2c", good)),
         "a palette without a component mapping"},
    };
    for (const RefusedCase &c : cases) {
        SidInterface reader;
        EXPECT_FALSE(reader.Open(sidtest::Wide(sidtest::WriteScratch(c.name, c.bytes)))) << c.name;
        const std::wstring text = reader.GetErrorText();
        EXPECT_NE(text.find(sidtest::Wide(c.reason)), std::wstring::npos)
            << c.name << ": " << std::string(text.begin(), text.end());
    }
}

TEST(Jpeg2000Errors, HandMadeHeaderOpensWithItsLevels) {
    // The same builder's untouched header is a valid image: the refusals above are the
    // changes, not the builder.
    SidInterface reader;
    ASSERT_TRUE(reader.Open(sidtest::Wide(sidtest::WriteScratch("good.j2k", Codestream(Header{})))))
        << std::string(reader.GetErrorText().begin(), reader.GetErrorText().end());
    EXPECT_EQ(reader.GetWidth(), 64u);
    EXPECT_EQ(reader.GetMaxScale(), 4u);
}

} // namespace
