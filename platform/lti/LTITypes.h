// Basic types and enumerations of the decode-engine seam: sample types, colour spaces, seek
// directions, metadata value types and the pipeline's memory and stream hints.
#pragma once
#include <cstdint>

namespace LizardTech {

using lt_uint8 = uint8_t;
using lt_int8 = int8_t;
using lt_uint16 = uint16_t;
using lt_int16 = int16_t;
using lt_uint32 = uint32_t;
using lt_int32 = int32_t;
using lt_uint64 = uint64_t;
using lt_int64 = int64_t;

// Status of every seam operation: 0 is success; see LTIStatus.h for the codes.
using LT_STATUS = uint32_t;

enum LTIDataType : int {
    LTI_DATATYPE_INVALID = 0,
    LTI_DATATYPE_UINT8 = 1,
    LTI_DATATYPE_SINT8 = 2,
    LTI_DATATYPE_UINT16 = 3,
    LTI_DATATYPE_SINT16 = 4,
    LTI_DATATYPE_UINT32 = 5,
    LTI_DATATYPE_SINT32 = 6,
    LTI_DATATYPE_FLOAT32 = 7,
    LTI_DATATYPE_FLOAT64 = 8,
};

// Colour spaces: low byte = band count, next byte = family, bit 16 = an alpha band last.
enum LTIColorSpace : int {
    LTI_COLORSPACE_INVALID = 0,
    LTI_COLORSPACE_GRAYSCALE = 0x0201,
    LTI_COLORSPACE_GRAYSCALEA = 0x10202,
    LTI_COLORSPACE_RGB = 0x0301,
    LTI_COLORSPACE_RGBA = 0x10301,
    LTI_COLORSPACE_CMYK = 0x0404,
    // Any number of bands with no colour meaning (the band count comes from the image).
    LTI_COLORSPACE_MULTISPECTRAL = 0x0500,
};

// Seek directions of LTIOStreamInf::seek.
enum LTIOSeekDir : int {
    LTIO_SEEK_DIR_BEG = 2,
    LTIO_SEEK_DIR_CUR = 3,
    LTIO_SEEK_DIR_END = 4,
};

// Value types of metadata records; the numeric types share the numbering of LTIDataType.
enum LTIMetadataDataType : int {
    LTI_METADATA_DATATYPE_INVALID = 0,
    LTI_METADATA_DATATYPE_UINT8 = LTI_DATATYPE_UINT8,
    LTI_METADATA_DATATYPE_SINT8 = LTI_DATATYPE_SINT8,
    LTI_METADATA_DATATYPE_UINT16 = LTI_DATATYPE_UINT16,
    LTI_METADATA_DATATYPE_SINT16 = LTI_DATATYPE_SINT16,
    LTI_METADATA_DATATYPE_UINT32 = LTI_DATATYPE_UINT32,
    LTI_METADATA_DATATYPE_SINT32 = LTI_DATATYPE_SINT32,
    LTI_METADATA_DATATYPE_FLOAT32 = LTI_DATATYPE_FLOAT32,
    LTI_METADATA_DATATYPE_FLOAT64 = LTI_DATATYPE_FLOAT64,
    LTI_METADATA_DATATYPE_ASCII = 9,
};

// Hints to MrSIDImageReader::initialize; the open engines decode with bounded memory whatever
// the hint, so they are accepted and recorded only.
enum MrSIDMemoryUsage : int {
    MRSID_MEMORY_USAGE_INVALID = 0,
    MRSID_MEMORY_USAGE_DEFAULT = 1,
    MRSID_MEMORY_USAGE_SMALL = 2,
    MRSID_MEMORY_USAGE_MEDIUM = 3,
    MRSID_MEMORY_USAGE_LARGE = 4,
};
enum MrSIDStreamUsage : int {
    MRSID_STREAM_USAGE_INVALID = 0,
    MRSID_STREAM_USAGE_KEEPOPEN = 1,
    MRSID_STREAM_USAGE_KEEPOPEN_DUP = 2,
    MRSID_STREAM_USAGE_CREATE = 3,
};

} // namespace LizardTech
