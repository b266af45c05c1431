// GeoTiffExtractKeys: GeoKeyDirectoryTag with its double and ASCII stores into a bundle.
#include "georef/GeoTiffKeys.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "Subsystems/TiffImage/TiffTags.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffFile.h"
#include "georef/GeoTiffStatus.h"

#include <vector>

namespace georef {
namespace {

// The header's key count is a 16-bit word, so no directory can describe more keys; the cap
// also bounds the cost of keeping the keys sorted.
constexpr uint64_t kMaxKeyEntries = 0xFFFF;

// The value stores are null when absent or unusable. Values past those the reader holds read
// as 0, so a count that overstates the data never reads outside it.
struct KeyStores {
    const tiff::TiffEntry &directory;
    const tiff::TiffEntry *doubles;
    const tiff::TiffEntry *text;
};

const tiff::TiffEntry *UsableStore(const tiff::TiffEntry *entry, uint16_t typeA, uint16_t typeB) {
    if (entry && (entry->type == typeA || entry->type == typeB) && entry->count > 0)
        return entry;
    return nullptr;
}

constexpr const wchar_t *kSourceFile = L"georef/GeoTiffKeys";

bool AddDoubleKey(const KeyStores &stores, const uint16_t words[4], GeoKeyBundle &bundle,
                  shr::ErrorRecord *error) {
    const uint64_t count = words[2], offset = words[3];
    if (offset + count > stores.doubles->count)
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffKeyPastTag);
    std::vector<double> values(count);
    for (uint64_t k = 0; k < count; ++k)
        values[k] = stores.doubles->GetDouble(offset + k);
    if (bundle.AddDoubles(words[0], static_cast<int>(count), values.data()) ==
        GeoKeyBundle::kNotFound)
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffStoreFull);
    return true;
}

bool AddTextKey(const KeyStores &stores, const uint16_t words[4], GeoKeyBundle &bundle,
                shr::ErrorRecord *error) {
    const uint64_t count = words[2], offset = words[3];
    if (offset + count > stores.text->count)
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffKeyPastTag);
    // The count includes the "|" terminator; the text ends early at a NUL.
    std::string text;
    for (uint64_t k = 0; k < count; ++k) {
        const char c = static_cast<char>(stores.text->GetUInt(offset + k));
        if (c == '\0')
            break;
        text.push_back(c);
    }
    if (bundle.AddText(words[0], text) == GeoKeyBundle::kNotFound)
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffStoreFull);
    return true;
}

// False when the key points past its store.
bool AddKey(const KeyStores &stores, const uint16_t words[4], GeoKeyBundle &bundle,
            shr::ErrorRecord *error) {
    switch (words[1]) {
    case 0:
        bundle.AddShort(words[0], words[3]); // the count is not checked: one value
        return true;
    case tiff::kTagGeoDoubleParams:
        return !stores.doubles || AddDoubleKey(stores, words, bundle, error);
    case tiff::kTagGeoAsciiParams:
        return !stores.text || AddTextKey(stores, words, bundle, error);
    default:
        return true; // stored in some other tag: not supported, skipped
    }
}

// The header (words 0-3) is neither checked nor used. Words of a partial last entry past the
// tag's end read as 0. False at the first key that fails; the keys before it stay.
bool AddAllKeys(const KeyStores &stores, GeoKeyBundle &bundle, shr::ErrorRecord *error) {
    const tiff::TiffEntry &dir = stores.directory;
    const uint64_t n = dir.count;
    for (uint64_t first = 4, keys = 0; first < n; first += 4, ++keys) {
        if (keys == kMaxKeyEntries)
            return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffTooManyKeys);
        uint16_t words[4];
        for (uint64_t k = 0; k < 4; ++k)
            words[k] = static_cast<uint16_t>(dir.GetUInt(first + k));
        if (!AddKey(stores, words, bundle, error))
            return false;
    }
    return true;
}

} // namespace

bool GeoTiffExtractKeys(const tiff::TiffDirectory &dir, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error) {
    const tiff::TiffEntry *directory = dir.Find(tiff::kTagGeoKeyDirectory);
    if (!directory || directory->type != tiff::kTypeShort || directory->count < 4)
        return true;
    const KeyStores stores{
        *directory,
        UsableStore(dir.Find(tiff::kTagGeoDoubleParams), tiff::kTypeDouble, tiff::kTypeDouble),
        UsableStore(dir.Find(tiff::kTagGeoAsciiParams), tiff::kTypeByte, tiff::kTypeAscii)};
    bundle.Clear();
    bundle.BeginBatch();
    const bool ok = AddAllKeys(stores, bundle, error);
    bundle.EndBatch();
    return ok;
}

bool GeoTiffExtractKeys(tiff::TiffImageRead &file, int image, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error) {
    const auto &directories = file.Reader().Directories();
    const auto index = static_cast<unsigned>(image - 1);
    if (image < 1 || index >= directories.size())
        return true; // no such image: no key directory
    return GeoTiffExtractKeys(directories[index], bundle, error);
}
bool GeoTiffExtractKeys(const std::wstring &path, int image, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error) {
    tiff::TiffImageRead file;
    if (!OpenGeoTiffFile(file, path, error))
        return false;
    const bool ok = GeoTiffExtractKeys(file, image, bundle, error);
    file.Close();
    return ok;
}

} // namespace georef
