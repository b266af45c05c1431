// Status texts: a table for the codes, and a per-thread detail of the latest failure.
#include "LTIStatus.h"

#include <utility>

namespace LizardTech {
namespace {

struct StatusText {
    LT_STATUS status;
    const char *text;
};

constexpr StatusText kStatusTexts[] = {
    {LT_STS_Failure, "operation failed"},
    {LT_STS_BadParam, "invalid argument"},
    {LT_STS_NotInitialized, "the object has not been initialized"},
    {LT_STS_OutOfMemory, "out of memory"},
    {LTI_STS_StreamNotOpen, "the input stream could not be opened"},
    {LTI_STS_StreamReadFailed, "reading the input stream failed"},
    {LTI_STS_NotAnImage, "the file is not an image this reader recognizes"},
    {LTI_STS_MrSIDEngineMissing,
     "this is a MrSID image; decoding it needs the vendor's MrSID Decode SDK, which is not "
     "included in this build"},
    {LTI_STS_Jpeg2000EngineMissing,
     "this is a JPEG 2000 image; this build has no JPEG 2000 decoding engine (the native "
     "build reads JPEG 2000 with OpenJPEG)"},
    {LTI_STS_UnsupportedImage, "the image uses a layout this reader does not support"},
    {LTI_STS_CorruptImage, "the image is corrupt"},
    {LTI_STS_DecodeFailed, "decoding the image data failed"},
    {LTI_STS_BadScene, "the scene lies outside the image or has an unsupported magnification"},
    {LTI_STS_BadSceneBuffer, "the scene buffer does not match the scene"},
    {LTI_STS_UnsupportedColorSpace, "the colour space cannot be converted"},
    {LTI_STS_UnsupportedDataType, "the sample data type is not supported"},
    {LTI_STS_MetadataIndexOutOfRange, "metadata index out of range"},
};

struct LastStatus {
    LT_STATUS status = LT_STS_Success;
    std::string detail;
    std::string text; // what getLastStatusString handed out last
};

LastStatus &Last() {
    thread_local LastStatus last;
    return last;
}

const char *GeneralText(LT_STATUS status) {
    for (const auto &entry : kStatusTexts)
        if (entry.status == status)
            return entry.text;
    return "unknown status";
}

} // namespace

const char *getLastStatusString(LT_STATUS status) {
    if (status == LT_STS_Success)
        return "";
    LastStatus &last = Last();
    last.text = GeneralText(status);
    if (last.status == status && !last.detail.empty())
        last.text += ": " + last.detail;
    return last.text.c_str();
}

LT_STATUS setLastStatus(LT_STATUS status, const std::string &detail) {
    LastStatus &last = Last();
    last.status = status;
    last.detail = detail;
    return status;
}

} // namespace LizardTech
