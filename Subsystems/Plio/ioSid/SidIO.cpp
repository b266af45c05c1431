// SidIO: LTIOStreamInf over shr::CBufferedFile.
#include "SidIO.h"

#include "shr/Log.h"
#include "shr/Strings.h"

#include <mutex>
#include <new>

using namespace LizardTech;

namespace {

constexpr LT_STATUS kSuccess = 0;
constexpr LT_STATUS kFailure = 1;

// The stream's destructor record is fixed, source file and line; log readers match on it. It
// names the reader's source file because the stream is part of the reader's record set.
const wchar_t kRecordSourceFile[] = L"Subsystems/Plio/ioSid/SidInterface";
constexpr int kLineDestructor = 122;

} // namespace

SidIO::SidIO(const std::wstring &path, bool openNow) : path(path) {
    if (openNow)
        open();
}

SidIO::~SidIO() {
    if (!file.IsOpen())
        return;
    try {
        file.CloseNoThrow(false);
    } catch (...) {
        shr::LogExceptionInfo(L"ioSid", kRecordSourceFile, kLineDestructor);
    }
}

bool SidIO::isEOF() { return eof; }

bool SidIO::isOpen() { return file.IsOpen(); }

LT_STATUS SidIO::open() {
    lastError = kSuccess;
    if (file.IsOpen()) {
        lastError = kAlreadyOpen;
        return lastError;
    }
    if (!file.OpenNoThrow(path, "rb", shr::ShareRead, false))
        lastError = kFailure;
    return lastError;
}

LT_STATUS SidIO::close() {
    lastError = kSuccess;
    if (file.IsOpen())
        file.Close();
    return lastError;
}

lt_uint32 SidIO::read(lt_uint8 *dest, lt_uint32 numBytes) {
    lastError = kSuccess;
    if (!file.IsOpen()) {
        lastError = kFailure;
        return 0;
    }
    const size_t got = file.Read(dest, numBytes);
    if (got < numBytes)
        eof = true;
    if (got == 0)
        lastError = kFailure;
    return static_cast<lt_uint32>(got);
}

lt_uint32 SidIO::write(const lt_uint8 *, lt_uint32) {
    lastError = kFailure;
    return 0;
}

LT_STATUS SidIO::seek(lt_int64 offset, LTIOSeekDir dir) {
    lastError = kSuccess;
    if (!file.IsOpen()) {
        lastError = kFailure;
        return lastError;
    }
    int origin = 0;
    switch (dir) {
    case LTIO_SEEK_DIR_BEG:
        origin = shr::OriginBegin;
        break;
    case LTIO_SEEK_DIR_CUR:
        origin = shr::OriginCurrent;
        break;
    case LTIO_SEEK_DIR_END:
        origin = shr::OriginEnd;
        break;
    default:
        lastError = kFailure;
        return lastError;
    }
    try {
        file.Seek(offset, origin);
    } catch (...) {
        lastError = kFailure;
    }
    return lastError;
}

lt_int64 SidIO::tell() { return file.GetPosition(); }

LTIOStreamInf *SidIO::duplicate() {
    lastError = kSuccess;
    return new (std::nothrow) SidIO(std::wstring(path), false);
}

LT_STATUS SidIO::getLastError() const { return lastError; }

const char *SidIO::getID() const {
    static std::once_flag once;
    static std::string identity;
    std::call_once(once, [this] { identity = shr::WtoA(path, 0); });
    return identity.c_str();
}
