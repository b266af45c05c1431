// Bounded, typed reads of one TIFF tag's values for the GeoTIFF readers.
#pragma once
#include <cstddef>
#include <cstdint>

namespace tiff {
struct TiffEntry;
}

namespace georef {

// A view of a tag's values in machine order. Reads past the bytes the reader holds give 0, so
// a count that overstates the data can never read outside it.
class TiffTagValues {
public:
    // A missing entry gives an empty view of type 0.
    explicit TiffTagValues(const tiff::TiffEntry *entry);

    bool Exists() const { return exists_; }
    uint16_t Type() const { return type_; }
    uint64_t Count() const { return count_; }

    uint16_t Word(uint64_t index) const;      // SHORT values
    double Double(uint64_t index) const;      // DOUBLE values
    unsigned char Byte(uint64_t index) const; // BYTE and ASCII values

private:
    bool Read(uint64_t index, size_t size, void *dest) const;

    bool exists_ = false;
    uint16_t type_ = 0;
    uint64_t count_ = 0;
    const unsigned char *data_ = nullptr;
    size_t available_ = 0; // bytes behind data_
};

} // namespace georef
