// Running the peers and reading their output.
#include "PeerTools.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace georefpeer {
namespace {

// libgeotiff's name tables, so listgeo's symbolic values turn back into codes.
struct GeoTiffNames {
    int (*keyCode)(const char *) = nullptr;
    int (*valueCode)(int, const char *) = nullptr;

    GeoTiffNames() {
        void *library = dlopen("libgeotiff.so.5", RTLD_NOW);
        if (!library)
            return;
        keyCode = reinterpret_cast<int (*)(const char *)>(dlsym(library, "GTIFKeyCode"));
        valueCode = reinterpret_cast<int (*)(int, const char *)>(dlsym(library, "GTIFValueCode"));
    }
    bool Ok() const { return keyCode && valueCode; }
};

const GeoTiffNames &Names() {
    static const GeoTiffNames names;
    return names;
}

std::string Trim(const std::string &text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

int NumberAfter(const std::string &text, const std::string &prefix) {
    return std::atoi(text.c_str() + prefix.size());
}

int KeyId(const std::string &name) {
    if (name.rfind("Unknown-", 0) == 0)
        return NumberAfter(name, "Unknown-");
    return Names().keyCode(name.c_str());
}

int ShortValue(int key, const std::string &value) {
    for (const char *prefix : {"Code-", "Unknown-"}) {
        if (value.rfind(prefix, 0) == 0)
            return NumberAfter(value, prefix);
    }
    return Names().valueCode(key, value.c_str());
}

// listgeo writes text between quotes with C-style escapes.
std::string Unescape(const std::string &quoted) {
    std::string text;
    for (size_t i = 1; i + 1 < quoted.size(); ++i) {
        if (quoted[i] != '\\' || i + 2 >= quoted.size()) {
            text.push_back(quoted[i]);
            continue;
        }
        const char c = quoted[++i];
        text.push_back(c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c);
    }
    return text;
}

// "   NameGeoKey (Type,count): value"; doubles may continue on the following lines.
bool ParseKeyLine(std::istream &in, const std::string &line, ListgeoKey &key) {
    const size_t open = line.find(" ("), comma = line.find(',', open),
                 close = line.find("):", comma);
    if (open == std::string::npos || comma == std::string::npos || close == std::string::npos)
        return false;
    key.id = KeyId(Trim(line.substr(0, open)));
    key.type = line.substr(open + 2, comma - open - 2);
    key.count = std::atoi(line.c_str() + comma + 1);
    const std::string value = Trim(line.substr(close + 2));
    if (key.type == "Short") {
        key.shortValue = ShortValue(key.id, value);
    } else if (key.type == "Ascii") {
        key.text = Unescape(value);
    } else {
        std::istringstream words(value);
        std::string word, more;
        while (words >> word)
            key.doubles.push_back(word);
        while (static_cast<int>(key.doubles.size()) < key.count && std::getline(in, more)) {
            std::istringstream next(more);
            while (next >> word)
                key.doubles.push_back(word);
        }
    }
    return key.id > 0;
}

} // namespace

std::string ShellQuote(const std::string &text) {
    std::string quoted = "'";
    for (char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

std::string RunCommand(const std::string &command, bool *ok) {
    std::string output;
    FILE *pipe = popen(command.c_str(), "r");
    if (!pipe) {
        if (ok)
            *ok = false;
        return output;
    }
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        output.append(buffer, n);
    const int status = pclose(pipe);
    if (ok)
        *ok = status == 0;
    return output;
}

bool ListgeoKeys(const std::string &path, std::vector<ListgeoKey> &keys, std::string &error) {
    if (!Names().Ok()) {
        error = "libgeotiff.so.5 (Debian geotiff-bin) could not be loaded";
        return false;
    }
    bool ok = false;
    std::istringstream in(RunCommand("listgeo -no_norm " + ShellQuote(path) + " 2>&1", &ok));
    if (!ok) {
        error = "listgeo failed on " + path;
        return false;
    }
    std::string line;
    bool inKeys = false;
    while (std::getline(in, line)) {
        if (line.find("Keyed_Information:") != std::string::npos) {
            inKeys = true;
        } else if (line.find("End_Of_Keys.") != std::string::npos) {
            return true;
        } else if (inKeys) {
            ListgeoKey key;
            if (!ParseKeyLine(in, line, key)) {
                error = "unreadable listgeo line: " + line;
                return false;
            }
            keys.push_back(key);
        }
    }
    return true; // no GeoTIFF keys at all
}

} // namespace georefpeer
