// Metadata of an image: named records holding a scalar, an array or a text, kept in a
// database in the order the engine found them.
#pragma once
#include "LTIStatus.h"

#include <string>
#include <vector>

namespace LizardTech {

class LTIMetadataRecord {
public:
    // A numeric record: `count` values of `type` (native byte order) copied from `data`.
    LTIMetadataRecord(std::string tagName, LTIMetadataDataType type, const void *data,
                      lt_uint32 count);
    // A text record (LTI_METADATA_DATATYPE_ASCII).
    LTIMetadataRecord(std::string tagName, const std::string &text);

    const char *getTagName() const { return tagName_.c_str(); }
    LTIMetadataDataType getDataType() const { return type_; }
    bool isScalar() const { return count_ == 1 && type_ != LTI_METADATA_DATATYPE_ASCII; }
    lt_uint32 getNumValues() const { return count_; }
    // The first value (for a scalar, the value); read it as the record's data type.
    const void *getScalarData() const { return data_.data(); }
    // All values; for a text record, the NUL-terminated text.
    const void *getArrayData() const { return data_.data(); }

private:
    std::string tagName_;
    LTIMetadataDataType type_;
    lt_uint32 count_;
    std::vector<lt_uint8> data_; // 8-byte aligned by the allocator
};

class LTIMetadataDatabase {
public:
    lt_uint32 getIndexCount() const { return static_cast<lt_uint32>(records_.size()); }
    // Hands out record `index`; LTI_STS_MetadataIndexOutOfRange past the end.
    LT_STATUS getDataByIndex(lt_uint32 index, const LTIMetadataRecord *&record) const;
    // The first record with `tagName`, or null.
    const LTIMetadataRecord *find(const std::string &tagName) const;
    void add(LTIMetadataRecord record) { records_.push_back(std::move(record)); }

private:
    std::vector<LTIMetadataRecord> records_;
};

} // namespace LizardTech
