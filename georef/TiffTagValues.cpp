// Bounded, typed reads of one TIFF tag's values.
#include "georef/TiffTagValues.h"

#include "Subsystems/TiffImage/TiffRead.h"

#include <cstring>

namespace georef {

TiffTagValues::TiffTagValues(const tiff::TiffEntry *entry) {
    if (!entry)
        return;
    exists_ = true;
    type_ = entry->type;
    count_ = entry->count;
    data_ = entry->Data();
    if (!data_)
        return;
    available_ = entry->IsInline() ? (entry->bigTiff ? 8u : 4u) : entry->values.size();
}

bool TiffTagValues::Read(uint64_t index, size_t size, void *dest) const {
    if (!data_ || index >= count_ || index >= available_ / size)
        return false;
    std::memcpy(dest, data_ + index * size, size);
    return true;
}

uint16_t TiffTagValues::Word(uint64_t index) const {
    uint16_t word = 0;
    return Read(index, sizeof word, &word) ? word : 0;
}

double TiffTagValues::Double(uint64_t index) const {
    double value = 0.0;
    return Read(index, sizeof value, &value) ? value : 0.0;
}

unsigned char TiffTagValues::Byte(uint64_t index) const {
    unsigned char byte = 0;
    return Read(index, 1, &byte) ? byte : 0;
}

} // namespace georef
