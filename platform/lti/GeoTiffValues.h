// How many values of a TIFF entry can really be read: its count, limited by the bytes it holds
// (a corrupt count on an inline or unknown-type entry would otherwise drive long loops).
#pragma once
#include "Subsystems/TiffImage/TiffRead.h"

#include <algorithm>

namespace LizardTech {

inline uint64_t ReadableValueCount(const tiff::TiffEntry *entry) {
    if (entry == nullptr)
        return 0;
    const uint32_t size = tiff::TiffTypeSize(entry->type);
    if (size == 0)
        return 0;
    const uint64_t held = entry->IsInline() ? (entry->bigTiff ? 8u : 4u) : entry->values.size();
    return std::min<uint64_t>(entry->count, held / size);
}

} // namespace LizardTech
