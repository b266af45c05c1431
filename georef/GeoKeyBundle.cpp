// GeoKeyBundle: sorted key entries over a store of doubles and a "|"-separated text store.
#include "georef/GeoKeyBundle.h"

#include <algorithm>
#include <limits>

namespace georef {
namespace {

constexpr uint32_t kMaxStoreOffset = 0xFFFF; // offsets live in a 16-bit word

} // namespace

void GeoKeyBundle::Clear() {
    directory_.clear();
    doubles_.clear();
    text_.clear();
}

const GeoKeyBundle::Entry *GeoKeyBundle::At(uint32_t index) const {
    return index < directory_.size() ? &directory_[index] : nullptr;
}

uint32_t GeoKeyBundle::GetEntryCount() const { return static_cast<uint32_t>(directory_.size()); }

uint32_t GeoKeyBundle::GetKeyId(uint32_t index) const {
    const Entry *entry = At(index);
    return entry ? entry->id : 0;
}

GeoKeyKind GeoKeyBundle::GetKind(uint32_t index) const {
    const Entry *entry = At(index);
    if (!entry)
        return kGeoKeyNone;
    if (entry->location == tiff::kTagGeoDoubleParams)
        return kGeoKeyDouble;
    if (entry->location == tiff::kTagGeoAsciiParams)
        return kGeoKeyText;
    return kGeoKeyShort;
}

uint32_t GeoKeyBundle::FindKey(uint32_t keyId) const {
    for (uint32_t i = 0; i < directory_.size(); ++i) {
        if (directory_[i].id == keyId)
            return i;
    }
    return kNotFound;
}

uint32_t GeoKeyBundle::GetCount(uint32_t index) const {
    const Entry *entry = At(index);
    return entry ? entry->count : 0;
}

uint16_t GeoKeyBundle::GetShort(uint32_t index) const {
    if (GetKind(index) != kGeoKeyShort)
        return kNoShort;
    return directory_[index].value;
}

double GeoKeyBundle::GetDouble(uint32_t index, int k) const {
    const Entry *entry = At(index);
    if (!entry)
        return std::numeric_limits<double>::max();
    if (GetKind(index) != kGeoKeyDouble || k < 0 || static_cast<uint32_t>(k) >= entry->count)
        return 0.0;
    const size_t position = size_t{entry->value} + static_cast<size_t>(k);
    return position < doubles_.size() ? doubles_[position] : 0.0;
}

const char *GeoKeyBundle::GetText(uint32_t index) const {
    if (GetKind(index) != kGeoKeyText || directory_[index].value > text_.size())
        return nullptr;
    return text_.data() + directory_[index].value;
}

std::string GeoKeyBundle::GetTextString(uint32_t index) const {
    const char *text = GetText(index);
    if (!text)
        return {};
    const size_t offset = directory_[index].value;
    const size_t length = std::min<size_t>(directory_[index].count, text_.size() - offset);
    return std::string(text, length);
}

bool GeoKeyBundle::GetEntry(uint32_t index, uint16_t words[4]) const {
    const Entry *entry = At(index);
    if (!entry)
        return false;
    words[0] = entry->id;
    words[1] = entry->location;
    words[2] = entry->count;
    words[3] = entry->value;
    return true;
}

uint32_t GeoKeyBundle::InsertEntry(uint16_t keyId) {
    if (directory_.empty())
        directory_.push_back(Entry{1, 1, 2, 0});
    if (batch_) {
        directory_.push_back(Entry{keyId, 0, 1, 0});
        return static_cast<uint32_t>(directory_.size() - 1);
    }
    // After the header and after any entries with the same id.
    auto position = std::upper_bound(directory_.begin() + 1, directory_.end(), keyId,
                                     [](uint16_t id, const Entry &e) { return id < e.id; });
    position = directory_.insert(position, Entry{keyId, 0, 1, 0});
    return static_cast<uint32_t>(position - directory_.begin());
}

void GeoKeyBundle::EndBatch() {
    batch_ = false;
    if (directory_.size() > 2)
        std::stable_sort(directory_.begin() + 1, directory_.end(),
                         [](const Entry &a, const Entry &b) { return a.id < b.id; });
}

uint32_t GeoKeyBundle::AddShort(uint16_t keyId, uint16_t value) {
    const uint32_t index = InsertEntry(keyId);
    directory_[index].value = value;
    return index;
}

uint32_t GeoKeyBundle::AddDouble(uint16_t keyId, double value) {
    return AddDoubles(keyId, 1, &value);
}

uint32_t GeoKeyBundle::AddDoubles(uint16_t keyId, int count, const double *values) {
    if (doubles_.size() > kMaxStoreOffset || count > 0xFFFF)
        return kNotFound;
    const uint32_t index = InsertEntry(keyId);
    directory_[index] =
        Entry{keyId, tiff::kTagGeoDoubleParams, static_cast<uint16_t>(std::max(count, 0)),
              static_cast<uint16_t>(doubles_.size())};
    if (count >= 1 && values)
        doubles_.insert(doubles_.end(), values, values + count);
    return index;
}

uint32_t GeoKeyBundle::AddText(uint16_t keyId, const std::string &text) {
    const size_t separator = text_.size() > 1 ? 1 : 0;
    if (text_.size() + separator > kMaxStoreOffset || text.size() > 0xFFFF)
        return kNotFound;
    const uint32_t index = InsertEntry(keyId);
    // More than one character, not "not empty": a single leading character takes no bar.
    if (separator)
        text_.push_back('|');
    directory_[index] = Entry{keyId, tiff::kTagGeoAsciiParams, static_cast<uint16_t>(text.size()),
                              static_cast<uint16_t>(text_.size())};
    text_ += text;
    return index;
}

} // namespace georef
