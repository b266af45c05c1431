// Metadata records and their database.
#include "LTIMetadata.h"

#include "LTIUtils.h"

#include <cstring>

namespace LizardTech {

LTIMetadataRecord::LTIMetadataRecord(std::string tagName, LTIMetadataDataType type,
                                     const void *data, lt_uint32 count)
    : tagName_(std::move(tagName)), type_(type), count_(count) {
    const size_t size = size_t{LTIUtils::getNumBytes(static_cast<LTIDataType>(type))} * count;
    data_.resize(size < 8 ? 8 : size);
    if (data != nullptr && size > 0)
        std::memcpy(data_.data(), data, size);
}

LTIMetadataRecord::LTIMetadataRecord(std::string tagName, const std::string &text)
    : tagName_(std::move(tagName)), type_(LTI_METADATA_DATATYPE_ASCII), count_(1),
      data_(text.begin(), text.end()) {
    data_.push_back(0);
}

LT_STATUS LTIMetadataDatabase::getDataByIndex(lt_uint32 index,
                                              const LTIMetadataRecord *&record) const {
    if (index >= records_.size()) {
        record = nullptr;
        return LTI_STS_MetadataIndexOutOfRange;
    }
    record = &records_[index];
    return LT_STS_Success;
}

const LTIMetadataRecord *LTIMetadataDatabase::find(const std::string &tagName) const {
    for (const auto &record : records_)
        if (tagName == record.getTagName())
            return &record;
    return nullptr;
}

} // namespace LizardTech
