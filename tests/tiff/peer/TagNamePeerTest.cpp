// The tag-name table against libtiff's names: every tag libtiff names, ours names the same in
// capitals, apart from the few the table spells after TIFF 6.0 or its own custom.
#include "Subsystems/TiffImage/TiffUtil.h"
#include "support/peer/Peer.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <map>

TEST(TagNames, AgreeWithLibtiff) {
    const std::map<uint32_t, std::wstring> kOwnSpelling = {
        {254, L"NEWSUBFILETYPE"}, {255, L"SUBFILETYPE"}, {263, L"THRESHOLDING"},
        {34377, L"PHOTOSHOPIMAGERESOURCES"}, {34665, L"EXIFID"}};
    const auto names = peer::LibtiffTagNames(std::string(IOSID_TESTDATA) + "/sample/relief.tif");
    int compared = 0;
    for (const auto &[tag, theirs] : names) {
        const std::wstring &ours = tiff::TiffTagName(static_cast<int32_t>(tag));
        if (ours == L"UNKNOWN")
            continue; // libtiff knows more tags than the table lists
        std::wstring expected;
        for (char c : theirs)
            expected.push_back(static_cast<wchar_t>(std::towupper(static_cast<unsigned char>(c))));
        if (const auto own = kOwnSpelling.find(tag); own != kOwnSpelling.end())
            expected = own->second;
        EXPECT_EQ(ours, expected) << tag << " " << theirs;
        ++compared;
    }
    EXPECT_GE(compared, 69);
}
