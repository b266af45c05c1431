// GeoKeys of every peer fixture against listgeo, value for value.
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffKeys.h"
#include "shr/Strings.h"
#include "support/peer/Peer.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>

namespace {

// One key as listgeo prints it, its names turned back into numbers with libgeotiff's own
// tables.
struct ListgeoKey {
    int id = 0;
    std::string type; // "Short", "Double" or "Ascii"
    int count = 0;
    int shortValue = -1;
    std::vector<std::string> doubles; // as printed ("%.15g")
    std::string text;                 // unescaped
};

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

// The keys of `path` as listgeo reports them; `error` explains a failure.
bool ListgeoKeys(const std::string &path, std::vector<ListgeoKey> &keys, std::string &error) {
    if (!Names().Ok()) {
        error = "libgeotiff.so.5 (Debian geotiff-bin) could not be loaded";
        return false;
    }
    bool ok = false;
    std::istringstream in(
        peer::RunCommand("listgeo -no_norm " + peer::ShellQuote(path) + " 2>&1", &ok));
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

std::string Format15(double value) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.15g", value);
    return buffer;
}

// ---- keys against listgeo ------------------------------------------------------------------

void ExpectSameKey(const georef::GeoKeyBundle &bundle, uint32_t index, const ListgeoKey &peer) {
    EXPECT_EQ(bundle.GetKeyId(index), static_cast<uint32_t>(peer.id));
    EXPECT_EQ(bundle.GetCount(index), static_cast<uint32_t>(peer.count)) << peer.id;
    switch (bundle.GetKind(index)) {
    case georef::kGeoKeyShort:
        EXPECT_EQ(peer.type, "Short") << peer.id;
        EXPECT_EQ(bundle.GetShort(index), peer.shortValue) << peer.id;
        break;
    case georef::kGeoKeyDouble:
        EXPECT_EQ(peer.type, "Double") << peer.id;
        ASSERT_EQ(peer.doubles.size(), bundle.GetCount(index)) << peer.id;
        for (uint32_t k = 0; k < bundle.GetCount(index); ++k)
            EXPECT_EQ(Format15(bundle.GetDouble(index, int(k))), peer.doubles[k]) << peer.id;
        break;
    default: {
        EXPECT_EQ(peer.type, "Ascii") << peer.id;
        // libgeotiff drops the "|" that ends each text.
        std::string text = bundle.GetTextString(index);
        if (!text.empty() && text.back() == '|')
            text.pop_back();
        EXPECT_EQ(text, peer.text) << peer.id;
    }
    }
}

// Ids of the entries past the count the directory's header states. libgeotiff stops at that
// count; our decoding ignores the header and reads every entry the tag holds (cassini_soldner.tif
// pads its directory with an entry of zeros).
std::multiset<uint32_t> EntriesPastHeaderCount(const std::string &path) {
    std::multiset<uint32_t> ids;
    tiff::TiffImageRead file;
    const tiff::TiffEntry *tag = nullptr;
    if (file.OpenFile(shr::AtoW(path)))
        tag = file.FindTag(0, tiff::kTagGeoKeyDirectory);
    if (!tag || tag->type != tiff::kTypeShort || tag->count < 4)
        return ids;
    const uint16_t *words = reinterpret_cast<const uint16_t *>(tag->Data());
    for (uint64_t first = 4 + 4 * uint64_t{words[3]}; first < tag->count; first += 4)
        ids.insert(words[first]);
    return ids;
}

TEST(GeoTiffPeer, KeysMatchListgeo) {
    for (const std::string &path : peer::GeoTiffFixtures()) {
        SCOPED_TRACE(peer::FileName(path));
        std::vector<ListgeoKey> peer;
        std::string error;
        ASSERT_TRUE(ListgeoKeys(path, peer, error)) << error;
        georef::GeoKeyBundle bundle;
        ASSERT_TRUE(georef::GeoTiffExtractKeys(shr::AtoW(path), 1, bundle));
        // Our bundle is sorted by id; listgeo keeps the file's order.
        std::stable_sort(peer.begin(), peer.end(),
                         [](const ListgeoKey &a, const ListgeoKey &b) { return a.id < b.id; });
        std::multiset<uint32_t> uncounted = EntriesPastHeaderCount(path);
        std::vector<uint32_t> ours;
        for (uint32_t i = 1; i < bundle.GetEntryCount(); ++i) {
            auto extra = uncounted.find(bundle.GetKeyId(i));
            if (extra != uncounted.end())
                uncounted.erase(extra);
            else
                ours.push_back(i);
        }
        ASSERT_EQ(ours.size(), peer.size());
        for (size_t i = 0; i < ours.size(); ++i)
            ExpectSameKey(bundle, ours[i], peer[i]);
    }
}

} // namespace
