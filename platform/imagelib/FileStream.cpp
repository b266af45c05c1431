// FileStream over shr::CBufferedFile; failures become status codes, never exceptions.
#include "imagelib/FileStream.h"

#include "lti/LTIStatus.h"
#include "shr/Strings.h"

using namespace LizardTech;

namespace imagelib {

FileStream::FileStream(std::wstring path) : path_(std::move(path)), id_(shr::WtoA(path_)) {}

FileStream::~FileStream() { file_.CloseNoThrow(false); }

LT_STATUS FileStream::open() {
    if (file_.IsOpen())
        return LT_STS_Success;
    eof_ = false;
    if (!file_.OpenNoThrow(path_, "rb", shr::ShareRead, false))
        return lastError_ = setLastStatus(LTI_STS_StreamNotOpen, "cannot open " + id_);
    return lastError_ = LT_STS_Success;
}

LT_STATUS FileStream::close() {
    if (!file_.CloseNoThrow(false))
        return lastError_ = LT_STS_Failure;
    return LT_STS_Success;
}

lt_uint32 FileStream::read(lt_uint8 *dest, lt_uint32 numBytes) {
    if (!dest || !file_.IsOpen())
        return 0;
    try {
        const size_t got = file_.Read(dest, numBytes);
        eof_ = got < numBytes;
        return static_cast<lt_uint32>(got);
    } catch (...) {
        lastError_ = setLastStatus(LTI_STS_StreamReadFailed, "cannot read " + id_);
        return 0;
    }
}

LT_STATUS FileStream::seek(lt_int64 offset, LTIOSeekDir dir) {
    const int origin = dir == LTIO_SEEK_DIR_BEG   ? shr::OriginBegin
                       : dir == LTIO_SEEK_DIR_CUR ? shr::OriginCurrent
                       : dir == LTIO_SEEK_DIR_END ? shr::OriginEnd
                                                  : -1;
    if (origin < 0)
        return lastError_ = LT_STS_BadParam;
    try {
        file_.Seek(offset, origin);
        eof_ = false;
        return LT_STS_Success;
    } catch (...) {
        return lastError_ = setLastStatus(LTI_STS_StreamReadFailed, "cannot seek in " + id_);
    }
}

lt_int64 FileStream::tell() {
    try {
        return file_.GetPosition();
    } catch (...) {
        return -1;
    }
}

} // namespace imagelib
