// Field type sizes and the value accessors of directory entries.
#include "TiffRead.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace tiff {
namespace {

template <class T> T Load(const unsigned char *p) {
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

bool IsSignedInteger(uint16_t type) {
    return type == kTypeSByte || type == kTypeSShort || type == kTypeSLong || type == kTypeSLong8;
}

// Rationals as (numerator, denominator), whatever order the element holds them in.
template <class T> std::pair<T, T> LoadRational(const unsigned char *p, bool exchanged) {
    const T first = Load<T>(p);
    const T second = Load<T>(p + 4);
    return exchanged ? std::pair<T, T>(second, first) : std::pair<T, T>(first, second);
}

} // namespace

uint32_t TiffTypeSize(uint16_t type) {
    switch (type) {
    case kTypeByte:
    case kTypeAscii:
    case kTypeSByte:
    case kTypeUndefined:
        return 1;
    case kTypeShort:
    case kTypeSShort:
        return 2;
    case kTypeLong:
    case kTypeSLong:
    case kTypeFloat:
    case kTypeIfd:
        return 4;
    case kTypeRational:
    case kTypeSRational:
    case kTypeDouble:
    case kTypeLong8:
    case kTypeSLong8:
    case kTypeIfd8:
        return 8;
    default:
        return 0;
    }
}

uint64_t TiffEntry::DataSize() const {
    const uint64_t size = TiffTypeSize(type);
    if (size != 0 && count > std::numeric_limits<uint64_t>::max() / size)
        return std::numeric_limits<uint64_t>::max();
    return size * count;
}

uint64_t TiffEntry::Offset() const {
    if (bigTiff)
        return Load<uint64_t>(value);
    return Load<uint32_t>(value);
}

const unsigned char *TiffEntry::Data() const {
    if (IsInline())
        return value;
    return values.empty() ? nullptr : values.data();
}

namespace {

// The same test as IsInline, for a known type size, without computing the data size again.
bool HoldsInline(const TiffEntry &entry, uint32_t size) {
    return entry.count <= (entry.bigTiff ? 8u : 4u) / size;
}

// Address of value i of an entry, or nullptr when it is not held.
const unsigned char *ElementAt(const TiffEntry &entry, uint64_t i) {
    if (i >= entry.HeldCount())
        return nullptr;
    const uint32_t size = TiffTypeSize(entry.type);
    return (HoldsInline(entry, size) ? entry.value : entry.values.data()) + i * size;
}

} // namespace

uint64_t TiffEntry::HeldCount() const {
    const uint32_t size = TiffTypeSize(type);
    if (size == 0)
        return 0;
    if (HoldsInline(*this, size))
        return count;
    return std::min<uint64_t>(count, values.size() / size);
}

double TiffEntry::GetDouble(uint64_t i) const {
    const unsigned char *p = ElementAt(*this, i);
    if (p == nullptr)
        return 0.0;
    switch (type) {
    case kTypeRational: {
        const auto [num, den] = LoadRational<uint32_t>(p, rationalHalvesExchanged);
        return den == 0 ? 0.0 : static_cast<double>(num) / den;
    }
    case kTypeSRational: {
        const auto [num, den] = LoadRational<int32_t>(p, rationalHalvesExchanged);
        return den == 0 ? 0.0 : static_cast<double>(num) / den;
    }
    case kTypeFloat:
        return Load<float>(p);
    case kTypeDouble:
        return Load<double>(p);
    default:
        return IsSignedInteger(type) ? static_cast<double>(GetInt(i))
                                     : static_cast<double>(GetUInt(i));
    }
}

uint64_t TiffEntry::GetUInt(uint64_t i) const {
    const unsigned char *p = ElementAt(*this, i);
    if (p == nullptr)
        return 0;
    switch (type) {
    case kTypeByte:
    case kTypeAscii:
    case kTypeUndefined:
        return *p;
    case kTypeShort:
        return Load<uint16_t>(p);
    case kTypeLong:
    case kTypeIfd:
        return Load<uint32_t>(p);
    case kTypeLong8:
    case kTypeIfd8:
        return Load<uint64_t>(p);
    default: {
        if (IsSignedInteger(type)) {
            const int64_t v = GetInt(i);
            return v < 0 ? 0 : static_cast<uint64_t>(v);
        }
        const double d = GetDouble(i);
        // Negative, NaN and out-of-range numbers have no unsigned value.
        if (!(d >= 0.0) || d >= 18446744073709551616.0)
            return 0;
        return static_cast<uint64_t>(d);
    }
    }
}

int64_t TiffEntry::GetInt(uint64_t i) const {
    const unsigned char *p = ElementAt(*this, i);
    if (p == nullptr)
        return 0;
    switch (type) {
    case kTypeSByte:
        return static_cast<int8_t>(*p);
    case kTypeSShort:
        return Load<int16_t>(p);
    case kTypeSLong:
        return Load<int32_t>(p);
    case kTypeSLong8:
        return Load<int64_t>(p);
    case kTypeRational:
    case kTypeSRational:
    case kTypeFloat:
    case kTypeDouble: {
        const double d = GetDouble(i);
        if (!(d >= -9223372036854775808.0 && d < 9223372036854775808.0))
            return 0;
        return static_cast<int64_t>(d);
    }
    default: {
        const uint64_t v = GetUInt(i);
        return v > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())
                   ? 0
                   : static_cast<int64_t>(v);
    }
    }
}

std::string TiffEntry::GetAscii() const {
    if (TiffTypeSize(type) != 1)
        return {};
    const unsigned char *data = Data();
    if (data == nullptr)
        return {};
    const uint64_t held = IsInline() ? count : values.size();
    const auto *text = reinterpret_cast<const char *>(data);
    const size_t length = static_cast<size_t>(held);
    const void *nul = std::memchr(text, 0, length);
    return std::string(text, nul ? static_cast<const char *>(nul) - text : length);
}

const TiffEntry *TiffDirectory::Find(uint16_t tag) const {
    for (const auto &entry : entries) {
        if (entry.tag == tag)
            return &entry;
    }
    return nullptr;
}

uint64_t TiffDirectory::GetUInt(uint16_t tag, uint64_t fallback) const {
    const TiffEntry *entry = Find(tag);
    return entry != nullptr && entry->count > 0 ? entry->GetUInt(0) : fallback;
}

} // namespace tiff
