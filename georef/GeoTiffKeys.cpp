// GeoTiffExtractKeys: GeoKeyDirectoryTag with its double and ASCII stores into a bundle.
#include "georef/GeoTiffKeys.h"

#include "Subsystems/TiffImage/TiffImageRead.h"
#include "georef/GeoKeyBundle.h"
#include "georef/GeoTiffFile.h"
#include "georef/GeoTiffStatus.h"
#include "georef/TiffTagValues.h"

#include <vector>

namespace georef {
namespace {

// The header's key count is a 16-bit word, so no directory can describe more keys; the cap
// also bounds the cost of keeping the keys sorted.
constexpr uint64_t kMaxKeyEntries = 0xFFFF;

struct KeyStores {
    TiffTagValues directory;
    TiffTagValues doubles; // usable only when Exists()
    TiffTagValues text;    // usable only when Exists()
};

TiffTagValues UsableStore(const tiff::TiffEntry *entry, uint16_t typeA, uint16_t typeB) {
    if (entry && (entry->type == typeA || entry->type == typeB) && entry->count > 0)
        return TiffTagValues(entry);
    return TiffTagValues(nullptr);
}

constexpr const wchar_t *kSourceFile = L"georef/GeoTiffKeys";

bool AddDoubleKey(const KeyStores &stores, const uint16_t words[4], GeoKeyBundle &bundle,
                  shr::ErrorRecord *error) {
    const uint64_t count = words[2], offset = words[3];
    if (offset + count > stores.doubles.Count())
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffKeyPastTag);
    std::vector<double> values(count);
    for (uint64_t k = 0; k < count; ++k)
        values[k] = stores.doubles.Double(offset + k);
    if (bundle.AddDoubles(words[0], static_cast<int>(count), values.data()) ==
        GeoKeyBundle::kNotFound)
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffStoreFull);
    return true;
}

bool AddTextKey(const KeyStores &stores, const uint16_t words[4], GeoKeyBundle &bundle,
                shr::ErrorRecord *error) {
    const uint64_t count = words[2], offset = words[3];
    if (offset + count > stores.text.Count())
        return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffKeyPastTag);
    // The count includes the "|" terminator; the text ends early at a NUL.
    std::string text;
    for (uint64_t k = 0; k < count; ++k) {
        const char c = static_cast<char>(stores.text.Byte(offset + k));
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
    case kGeoDoubleParamsTag:
        return !stores.doubles.Exists() || AddDoubleKey(stores, words, bundle, error);
    case kGeoAsciiParamsTag:
        return !stores.text.Exists() || AddTextKey(stores, words, bundle, error);
    default:
        return true; // stored in some other tag: not supported, skipped
    }
}

// The header (words 0-3) is neither checked nor used. Words of a partial last entry past the
// tag's end read as 0. False at the first key that fails; the keys before it stay.
bool AddAllKeys(const KeyStores &stores, GeoKeyBundle &bundle, shr::ErrorRecord *error) {
    const uint64_t n = stores.directory.Count();
    for (uint64_t first = 4, keys = 0; first < n; first += 4, ++keys) {
        if (keys == kMaxKeyEntries)
            return RecordGeoTiffError(error, kSourceFile, __LINE__, kGeoTiffTooManyKeys);
        const uint16_t words[4] = {stores.directory.Word(first), stores.directory.Word(first + 1),
                                   stores.directory.Word(first + 2),
                                   stores.directory.Word(first + 3)};
        if (!AddKey(stores, words, bundle, error))
            return false;
    }
    return true;
}

} // namespace

bool GeoTiffExtractKeys(tiff::TiffImageRead &file, int image, GeoKeyBundle &bundle,
                        shr::ErrorRecord *error) {
    const unsigned index = static_cast<unsigned>(image - 1);
    const tiff::TiffEntry *directory = file.FindTag(index, kGeoKeyDirectoryTag);
    if (!directory || directory->type != tiff::kTypeShort || directory->count < 4)
        return true;
    const KeyStores stores{
        TiffTagValues(directory),
        UsableStore(file.FindTag(index, kGeoDoubleParamsTag), tiff::kTypeDouble, tiff::kTypeDouble),
        UsableStore(file.FindTag(index, kGeoAsciiParamsTag), tiff::kTypeByte, tiff::kTypeAscii)};
    bundle.Clear();
    bundle.BeginBatch();
    const bool ok = AddAllKeys(stores, bundle, error);
    bundle.EndBatch();
    return ok;
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
