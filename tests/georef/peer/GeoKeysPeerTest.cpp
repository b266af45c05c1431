// GeoKeys of every peer fixture, and the key names, against libgeotiff's (the library behind
// listgeo).
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoKeyNames.h"
#include "georef/GeoTiffKeys.h"
#include "shr/Strings.h"
#include "support/peer/Peer.h"

#include <geotiff/geotiff.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

// libgeotiff's own TIFF opener; xtiffio.h is not included because libtiff's TIFF type clashes
// with our tiff namespace.
extern "C" void *XTIFFOpen(const char *name, const char *mode);
extern "C" void XTIFFClose(void *tif);

namespace {

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

void ExpectSameKey(const georef::GeoKeyBundle &bundle, uint32_t index, GTIF *peer) {
    const auto id = static_cast<geokey_t>(bundle.GetKeyId(index));
    SCOPED_TRACE(id);
    int size = 0;
    tagtype_t type = TYPE_UNKNOWN;
    const int count = GTIFKeyInfo(peer, id, &size, &type);
    ASSERT_GT(count, 0) << "libgeotiff has no such key";
    EXPECT_EQ(bundle.GetCount(index), static_cast<uint32_t>(count));
    switch (bundle.GetKind(index)) {
    case georef::kGeoKeyShort: {
        uint16_t value = 0;
        ASSERT_EQ(type, TYPE_SHORT);
        ASSERT_EQ(GTIFKeyGet(peer, id, &value, 0, 1), 1);
        EXPECT_EQ(bundle.GetShort(index), value);
        break;
    }
    case georef::kGeoKeyDouble: {
        ASSERT_EQ(type, TYPE_DOUBLE);
        std::vector<double> values(static_cast<size_t>(count));
        ASSERT_EQ(GTIFKeyGet(peer, id, values.data(), 0, count), count);
        for (int k = 0; k < count; ++k)
            EXPECT_EQ(bundle.GetDouble(index, k), values[static_cast<size_t>(k)]) << k;
        break;
    }
    default: {
        ASSERT_EQ(type, TYPE_ASCII);
        std::vector<char> text(static_cast<size_t>(count) + 1, '\0');
        GTIFKeyGetASCII(peer, id, text.data(), count + 1);
        // libgeotiff drops the "|" that ends each text.
        std::string ours = bundle.GetTextString(index);
        if (!ours.empty() && ours.back() == '|')
            ours.pop_back();
        EXPECT_EQ(ours, std::string(text.data()));
    }
    }
}

TEST(GeoTiffPeer, KeysMatchLibgeotiff) {
    for (const std::string &path : peer::GeoTiffFixtures()) {
        SCOPED_TRACE(peer::FileName(path));
        void *tif = XTIFFOpen(path.c_str(), "r");
        ASSERT_NE(tif, nullptr);
        GTIF *peer = GTIFNew(tif);
        ASSERT_NE(peer, nullptr);
        int versions[3] = {}, keyCount = 0;
        GTIFDirectoryInfo(peer, versions, &keyCount);
        georef::GeoKeyBundle bundle;
        ASSERT_TRUE(georef::GeoTiffExtractKeys(shr::AtoW(path), 1, bundle));
        std::multiset<uint32_t> uncounted = EntriesPastHeaderCount(path);
        int compared = 0;
        for (uint32_t i = 1; i < bundle.GetEntryCount(); ++i) {
            auto extra = uncounted.find(bundle.GetKeyId(i));
            if (extra != uncounted.end()) {
                uncounted.erase(extra);
                continue;
            }
            ExpectSameKey(bundle, i, peer);
            ++compared;
        }
        EXPECT_EQ(compared, keyCount);
        GTIFFree(peer);
        XTIFFClose(tif);
    }
}

TEST(GeoKeyNames, AgreeWithLibgeotiff) {
    // libgeotiff spells these after GeoTIFF 1.1 or its own aliases; 3096 and 5120 are 1.1
    // keys this module does not name.
    const std::map<uint32_t, std::string> kNewerSpelling = {
        {2062, "GeogTOWGS84GeoKey"},          {3078, "ProjStdParallel1GeoKey"},
        {3080, "ProjNatOriginLongGeoKey"},    {3081, "ProjNatOriginLatGeoKey"},
        {3092, "ProjScaleAtNatOriginGeoKey"}, {3096, "ProjRectifiedGridAngleGeoKey"},
        {5120, "CoordinateEpochGeoKey"}};
    int named = 0;
    for (uint32_t id = 0; id < 65536; ++id) {
        const std::string theirs = GTIFKeyName(static_cast<geokey_t>(id));
        const char *ours = georef::GeoKeyName(id);
        const auto newer = kNewerSpelling.find(id);
        if (theirs.rfind("Unknown-", 0) == 0 || newer != kNewerSpelling.end()) {
            EXPECT_EQ(ours != nullptr, newer != kNewerSpelling.end() && id != 3096 && id != 5120)
                << id;
            EXPECT_TRUE(newer == kNewerSpelling.end() || newer->second == theirs) << id;
            continue;
        }
        ++named;
        ASSERT_NE(ours, nullptr) << id << " " << theirs;
        EXPECT_EQ(std::string(ours) + "GeoKey", theirs) << id;
    }
    EXPECT_GT(named, 40);
}

} // namespace
