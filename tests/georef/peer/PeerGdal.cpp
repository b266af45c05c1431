// gdalinfo's view of a file, and a small WKT 1 reader for it.
#include "PeerTools.h"

#include <cctype>
#include <cstdlib>
#include <sstream>

namespace georefpeer {
namespace {

// gdalinfo's JSON reduced to lines by Python: "GT ...", "GCP ...", "POINT", "WKT ...".
const char *const kReduceJson =
    "import json,sys\n"
    "d=json.load(sys.stdin)\n"
    "gt=d.get('geoTransform')\n"
    "if gt: print('GT',' '.join(repr(float(v)) for v in gt))\n"
    "for g in d.get('gcps',{}).get('gcpList',[]):\n"
    "    print('GCP',repr(float(g['pixel'])),repr(float(g['line'])),repr(float(g['x'])),"
    "repr(float(g['y'])))\n"
    "if d.get('metadata',{}).get('',{}).get('AREA_OR_POINT')=='Point': print('POINT')\n"
    "cs=d.get('coordinateSystem') or d.get('gcps',{}).get('coordinateSystem') or {}\n"
    "w=cs.get('wkt','')\n"
    "if w: print('WKT',' '.join(w.split()))\n";

class WktReader {
public:
    explicit WktReader(const std::string &text) : text_(text) {}

    bool Node(WktNode &node) {
        Skip();
        while (pos_ < text_.size() && (std::isalnum(Peek()) || Peek() == '_'))
            node.keyword.push_back(text_[pos_++]);
        Skip();
        if (node.keyword.empty() || (Peek() != '[' && Peek() != '('))
            return false;
        ++pos_;
        for (;;) {
            Skip();
            if (Peek() == '"') {
                node.values.push_back(Quoted());
            } else if (std::isalpha(Peek())) {
                const size_t start = pos_;
                WktNode child;
                if (Node(child)) {
                    node.children.push_back(child);
                } else { // a bare word such as EAST
                    pos_ = start;
                    node.values.push_back(Word());
                }
            } else {
                node.values.push_back(Word());
            }
            Skip();
            if (Peek() == ',') {
                ++pos_;
                continue;
            }
            if (Peek() == ']' || Peek() == ')') {
                ++pos_;
                return true;
            }
            return false;
        }
    }

private:
    char Peek() const { return pos_ < text_.size() ? text_[pos_] : '\0'; }
    void Skip() {
        while (pos_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[pos_])))
            ++pos_;
    }
    std::string Quoted() {
        std::string value;
        ++pos_;
        while (pos_ < text_.size() && text_[pos_] != '"')
            value.push_back(text_[pos_++]);
        ++pos_;
        return value;
    }
    std::string Word() {
        std::string value;
        while (pos_ < text_.size() && text_[pos_] != ',' && text_[pos_] != ']' &&
               text_[pos_] != ')')
            value.push_back(text_[pos_++]);
        return value;
    }

    const std::string &text_;
    size_t pos_ = 0;
};

} // namespace

bool ReadGdalInfo(const std::string &path, GdalInfo &info, std::string &error) {
    bool ok = false;
    const std::string command = "gdalinfo -json -wkt_format WKT1 " + ShellQuote(path) +
                                " 2>/dev/null | python3 -c " + ShellQuote(kReduceJson);
    std::istringstream in(RunCommand(command, &ok));
    if (!ok) {
        error = "gdalinfo failed on " + path;
        return false;
    }
    std::string tag;
    while (in >> tag) {
        if (tag == "GT") {
            info.hasGeoTransform = true;
            for (double &v : info.geoTransform)
                in >> v;
        } else if (tag == "GCP") {
            GdalInfo::Gcp gcp{};
            in >> gcp.pixel >> gcp.line >> gcp.x >> gcp.y;
            info.gcps.push_back(gcp);
        } else if (tag == "POINT") {
            info.rasterType = 2;
        } else if (tag == "WKT") {
            std::getline(in, info.wkt);
        }
    }
    return true;
}

bool ParseWkt(const std::string &text, WktNode &root) { return WktReader(text).Node(root); }

const WktNode *WktNode::Child(const std::string &name) const {
    for (const WktNode &child : children) {
        if (child.keyword == name)
            return &child;
    }
    return nullptr;
}

double WktNode::Number(size_t index) const {
    return index < values.size() ? std::strtod(values[index].c_str(), nullptr) : 0.0;
}

std::map<std::string, double> WktNode::Parameters() const {
    std::map<std::string, double> parameters;
    for (const WktNode &child : children) {
        if (child.keyword == "PARAMETER" && !child.values.empty())
            parameters[child.values[0]] = child.Number(1);
    }
    return parameters;
}

int WktNode::EpsgCode() const {
    const WktNode *authority = Child("AUTHORITY");
    return authority && authority->values.size() == 2 && authority->values[0] == "EPSG"
               ? std::atoi(authority->values[1].c_str())
               : 0;
}

} // namespace georefpeer
