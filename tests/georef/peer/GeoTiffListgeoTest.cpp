// GeoKeys of every peer fixture against listgeo, value for value.
#include "PeerFixtures.h"
#include "PeerTools.h"
#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffKeys.h"
#include "shr/Strings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>

using namespace georefpeer;

namespace {

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
    for (const std::string &path : Fixtures()) {
        SCOPED_TRACE(Name(path));
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
