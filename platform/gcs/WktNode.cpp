// A bounded recursive-descent reader of WKT 1 text into WktNode trees.
#include "gcs/WktNode.h"

#include <cctype>
#include <charconv>
#include <cmath>

#include "shr/Format.h"

namespace gcsfile {

const WktNode *WktNode::Find(std::string_view name) const {
    for (const WktNode &child : children) {
        if (child.keyword == name)
            return &child;
    }
    return nullptr;
}

std::vector<const WktNode *> WktNode::FindAll(std::string_view name) const {
    std::vector<const WktNode *> found;
    for (const WktNode &child : children) {
        if (child.keyword == name)
            found.push_back(&child);
    }
    return found;
}

const std::string *WktNode::Text(size_t index) const {
    if (index >= atoms.size() || atoms[index].kind != WktAtom::Kind::Text)
        return nullptr;
    return &atoms[index].text;
}

bool WktNode::Number(size_t index, double &value) const {
    if (index >= atoms.size() || atoms[index].kind != WktAtom::Kind::Number)
        return false;
    value = atoms[index].number;
    return true;
}

namespace {

bool IsWordStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool IsWordChar(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool IsNumberStart(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) || c == '-' || c == '+' || c == '.';
}

class WktReader {
public:
    explicit WktReader(std::string_view text) : text_(text) {}

    bool ReadDocument(WktNode &root);
    const std::wstring &Message() const { return message_; }

private:
    bool ReadNode(WktNode &node, int depth);
    bool ReadValue(WktNode &node, int depth);
    bool ReadText(std::string &out);
    bool ReadNumber(WktAtom &atom);
    std::string ReadWord();
    void SkipSpace();
    bool AtEnd() const { return pos_ >= text_.size(); }
    char Peek() const { return AtEnd() ? '\0' : text_[pos_]; }
    bool Fail(const wchar_t *what);

    std::string_view text_;
    size_t pos_ = 0;
    std::wstring message_;
};

bool WktReader::Fail(const wchar_t *what) {
    if (AtEnd())
        message_ = shr::FormatString(L"Malformed WKT: %ls at the end of the text.", what);
    else
        message_ = shr::FormatString(L"Malformed WKT: %ls at character %zu.", what, pos_ + 1);
    return false;
}

void WktReader::SkipSpace() {
    while (!AtEnd() && std::isspace(static_cast<unsigned char>(text_[pos_])))
        ++pos_;
}

bool WktReader::ReadDocument(WktNode &root) {
    if (text_.size() > kMaxWktLength) {
        message_ = shr::FormatString(L"The WKT text is %zu characters long; at most %zu are read.",
                                     text_.size(), kMaxWktLength);
        return false;
    }
    SkipSpace();
    if (!ReadNode(root, 1))
        return false;
    SkipSpace();
    // GeoTIFF citations end with NUL or continue after '|'.
    if (AtEnd() || Peek() == '|' || Peek() == '\0')
        return true;
    return Fail(L"unexpected text after the definition");
}

bool WktReader::ReadNode(WktNode &node, int depth) {
    if (depth > kMaxWktDepth)
        return Fail(L"nesting too deep");
    node.offset = pos_;
    if (!IsWordStart(Peek()))
        return Fail(L"expected a keyword");
    node.keyword = ReadWord();
    for (char &c : node.keyword)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    SkipSpace();
    const char open = Peek();
    if (open != '[' && open != '(')
        return Fail(L"expected '[' or '(' after the keyword");
    const char close = open == '[' ? ']' : ')';
    ++pos_;
    SkipSpace();
    if (Peek() == close) { // KEYWORD[] holds nothing but is well formed
        ++pos_;
        return true;
    }
    for (;;) {
        SkipSpace();
        if (!ReadValue(node, depth))
            return false;
        SkipSpace();
        if (Peek() == ',') {
            ++pos_;
            continue;
        }
        if (Peek() == close) {
            ++pos_;
            return true;
        }
        return Fail(close == ']' ? L"expected ',' or ']'" : L"expected ',' or ')'");
    }
}

bool WktReader::ReadValue(WktNode &node, int depth) {
    const char c = Peek();
    if (c == '"') {
        WktAtom atom;
        if (!ReadText(atom.text))
            return false;
        node.atoms.push_back(std::move(atom));
        return true;
    }
    if (IsNumberStart(c)) {
        WktAtom atom;
        if (!ReadNumber(atom))
            return false;
        node.atoms.push_back(std::move(atom));
        return true;
    }
    if (!IsWordStart(c))
        return Fail(L"expected a value");
    // A word followed by a bracket is a nested node; otherwise a bare word such as EAST.
    size_t after = pos_;
    while (after < text_.size() && IsWordChar(text_[after]))
        ++after;
    while (after < text_.size() && std::isspace(static_cast<unsigned char>(text_[after])))
        ++after;
    if (after < text_.size() && (text_[after] == '[' || text_[after] == '(')) {
        node.children.emplace_back();
        return ReadNode(node.children.back(), depth + 1);
    }
    WktAtom atom;
    atom.kind = WktAtom::Kind::Word;
    atom.text = ReadWord();
    node.atoms.push_back(std::move(atom));
    return true;
}

// "text", where "" stands for one quote character.
bool WktReader::ReadText(std::string &out) {
    ++pos_;
    for (;;) {
        const size_t quote = text_.find('"', pos_);
        if (quote == std::string_view::npos) {
            pos_ = text_.size();
            return Fail(L"unterminated quoted text");
        }
        out.append(text_.substr(pos_, quote - pos_));
        pos_ = quote + 1;
        if (Peek() != '"')
            return true;
        out.push_back('"');
        ++pos_;
    }
}

bool WktReader::ReadNumber(WktAtom &atom) {
    size_t end = pos_;
    while (end < text_.size() &&
           (IsWordChar(text_[end]) || text_[end] == '.' || text_[end] == '-' || text_[end] == '+'))
        ++end;
    const std::string_view token = text_.substr(pos_, end - pos_);
    // from_chars is locale independent, unlike strtod, but takes no leading '+'.
    std::string_view digits = token;
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-' && digits[1] != '+')
        digits.remove_prefix(1);
    double value = 0.0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec != std::errc() || result.ptr != digits.data() + digits.size() ||
        !std::isfinite(value))
        return Fail(L"invalid number");
    atom.kind = WktAtom::Kind::Number;
    atom.text = std::string(token);
    atom.number = value;
    pos_ = end;
    return true;
}

std::string WktReader::ReadWord() {
    const size_t start = pos_;
    while (!AtEnd() && IsWordChar(text_[pos_]))
        ++pos_;
    return std::string(text_.substr(start, pos_ - start));
}

} // namespace

bool ParseWkt(std::string_view text, WktNode &root, std::wstring &message) {
    root = WktNode{};
    WktReader reader(text);
    if (reader.ReadDocument(root))
        return true;
    root = WktNode{};
    message = reader.Message();
    return false;
}

} // namespace gcsfile
