// Status codes of the decode-engine seam and their texts. A failing operation may record a
// detail (the engine's own reason) that getLastStatusString returns with the code's text.
#pragma once
#include "LTITypes.h"

#include <string>

namespace LizardTech {

enum : LT_STATUS {
    LT_STS_Success = 0,
    LT_STS_Failure = 1,
    LT_STS_BadParam = 2,
    LT_STS_NotInitialized = 3,
    LT_STS_OutOfMemory = 4,
    LTI_STS_StreamNotOpen = 50001,
    LTI_STS_StreamReadFailed = 50002,
    LTI_STS_NotAnImage = 50003,
    LTI_STS_MrSIDEngineMissing = 50004,
    LTI_STS_Jpeg2000EngineMissing = 50005,
    LTI_STS_UnsupportedImage = 50006,
    LTI_STS_CorruptImage = 50007,
    LTI_STS_DecodeFailed = 50008,
    LTI_STS_BadScene = 50009,
    LTI_STS_BadSceneBuffer = 50010,
    LTI_STS_UnsupportedColorSpace = 50011,
    LTI_STS_UnsupportedDataType = 50012,
    LTI_STS_MetadataIndexOutOfRange = 50013,
};

// The text of `status`: the detail recorded with it on this thread by the last failure of
// that code, else the code's general text; "" for success. Valid until the next failure on
// this thread.
const char *getLastStatusString(LT_STATUS status);

// Records `detail` as the reason of the latest failure with `status` (on this thread) and
// returns `status`, so engines can write `return setLastStatus(code, reason);`.
LT_STATUS setLastStatus(LT_STATUS status, const std::string &detail);

} // namespace LizardTech
