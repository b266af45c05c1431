// GeoKeyBundle: an in-memory GeoKey directory with its double and text stores.
#pragma once
#include "Subsystems/TiffImage/TiffTags.h"

#include <cstdint>
#include <string>
#include <vector>

namespace georef {

// What an entry's value is, by its location word.
enum GeoKeyKind : uint32_t {
    kGeoKeyShort = 0,  // the value word holds the value (location 0)
    kGeoKeyDouble = 1, // location 34736: the value word indexes the doubles
    kGeoKeyText = 2,   // location 34737: the value word is the text's first character
    kGeoKeyNone = 3,   // no such entry
};

// Entry 0 is the header {1, 1, 2, 0}, made when the first key is added; the key entries after
// it stay sorted by id, equal ids in the order they were added.
class GeoKeyBundle {
public:
    static constexpr uint32_t kNotFound = 0xFFFFFFFF;
    static constexpr uint16_t kNoShort = 65535;

    void Clear();

    // Entries, header included.
    uint32_t GetEntryCount() const;
    // 0 when out of range.
    uint32_t GetKeyId(uint32_t index) const;
    GeoKeyKind GetKind(uint32_t index) const;
    // Index of the first entry with this id, or kNotFound.
    uint32_t FindKey(uint32_t keyId) const;
    // 0 when out of range.
    uint32_t GetCount(uint32_t index) const;
    // kNoShort when out of range or not a short entry.
    uint16_t GetShort(uint32_t index) const;
    // Element k of a double entry; the largest double when the index is out of range, 0.0
    // when the entry holds no such element.
    double GetDouble(uint32_t index, int k = 0) const;
    // The entry's first character in the text store (not NUL-terminated at the entry's end),
    // or nullptr when it is not a text entry.
    const char *GetText(uint32_t index) const;
    // The entry's text, at most its count of characters; empty when not a text entry.
    std::string GetTextString(uint32_t index) const;
    // The four raw words of an entry (id, location, count, value or offset).
    bool GetEntry(uint32_t index, uint16_t words[4]) const;

    // Each returns the new entry's index. AddDoubles and AddText return kNotFound and add
    // nothing when the store has grown past what a 16-bit offset word can address.
    uint32_t AddShort(uint16_t keyId, uint16_t value);
    uint32_t AddDouble(uint16_t keyId, double value);
    uint32_t AddDoubles(uint16_t keyId, int count, const double *values);
    uint32_t AddText(uint16_t keyId, const std::string &text);

    // Defers keeping the key entries sorted until EndBatch, which sorts them as adding them
    // one by one would have (equal ids in the order added); makes adding n keys O(n log n).
    // Indices returned in between are positions before that sort.
    void BeginBatch() { batch_ = true; }
    void EndBatch();

    const std::vector<double> &Doubles() const { return doubles_; }
    const std::string &TextStore() const { return text_; }

private:
    struct Entry {
        uint16_t id = 0;
        uint16_t location = 0;
        uint16_t count = 0;
        uint16_t value = 0;
    };

    const Entry *At(uint32_t index) const;
    uint32_t InsertEntry(uint16_t keyId);

    std::vector<Entry> directory_;
    std::vector<double> doubles_;
    std::string text_;
    bool batch_ = false;
};

} // namespace georef
