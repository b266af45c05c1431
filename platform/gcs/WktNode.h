// The tree of a well-known-text (WKT 1) definition: KEYWORD[value, value, KEYWORD[...]].
#pragma once
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace gcsfile {

// A value that is not a nested node: a quoted text, a number or a bare word (AXIS
// directions such as EAST).
struct WktAtom {
    enum class Kind { Text, Number, Word };
    Kind kind = Kind::Text;
    std::string text; // the text, the number as written, or the word
    double number = 0.0;
};

struct WktNode {
    std::string keyword;           // upper case, as PROJCS, GEOGCS, PARAMETER
    std::vector<WktAtom> atoms;    // the non-node values, in order
    std::vector<WktNode> children; // the nested nodes, in order
    size_t offset = 0;             // where the keyword starts in the text, for messages

    // The first child with this keyword (upper case), or null.
    const WktNode *Find(std::string_view keyword) const;
    // Every child with this keyword, in order.
    std::vector<const WktNode *> FindAll(std::string_view keyword) const;
    // The index-th atom if it is quoted text, else null.
    const std::string *Text(size_t index) const;
    // The index-th atom if it is a number, else false.
    bool Number(size_t index, double &value) const;
};

// Limits that keep hostile input from exhausting the stack or memory.
constexpr size_t kMaxWktLength = 1 << 20;
constexpr int kMaxWktDepth = 32;

// Parses one node and the whitespace around it. False with a message that names the
// character position for malformed text, text after the node, too deep nesting or
// text longer than kMaxWktLength. Text after the node is allowed only when it starts
// with '|', the separator of GeoTIFF citations.
bool ParseWkt(std::string_view text, WktNode &root, std::wstring &message);

} // namespace gcsfile
