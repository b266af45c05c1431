// Buffered binary file over a C stream with a 256 KiB buffer.
#include "BufferedFile.h"

#include "Path.h"
#include "Strings.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace shr {
namespace {

// Large enough that tile and strip reads rarely reach the device more than once.
constexpr size_t kStreamBuffer = 256 * 1024;

std::runtime_error FileError(const std::string &what, const std::wstring &path) {
    return std::runtime_error(what + ": " + WtoA(path));
}

} // namespace

CBufferedFile::~CBufferedFile() { CloseNoThrow(false); }

bool CBufferedFile::OpenNoThrow(const std::wstring &path, const char *mode, FileSharing,
                                bool throwOnError) {
    if (file_ != nullptr) {
        if (throwOnError)
            throw FileError("file is already open", path_);
        return false;
    }
    const std::wstring wideMode = AtoW(mode ? mode : "rb");
    std::FILE *file = OpenFile(path, wideMode.c_str());
    if (file == nullptr) {
        if (throwOnError)
            throw FileError(std::string("cannot open file (") + std::strerror(errno) + ")", path);
        return false;
    }
    std::setvbuf(file, nullptr, _IOFBF, kStreamBuffer);
    file_ = file;
    path_ = path;
    return true;
}

void CBufferedFile::Open(const std::wstring &path, const char *mode, FileSharing sharing) {
    OpenNoThrow(path, mode, sharing, true);
}

void CBufferedFile::Close() { CloseNoThrow(true); }

bool CBufferedFile::CloseNoThrow(bool throwOnError) {
    if (file_ == nullptr)
        return true;
    const int result = std::fclose(file_);
    file_ = nullptr;
    if (result != 0) {
        if (throwOnError)
            throw FileError("closing the file failed", path_);
        return false;
    }
    return true;
}

void CBufferedFile::RequireOpen(const char *operation) const {
    if (file_ == nullptr)
        throw std::runtime_error(std::string(operation) + " on a file that is not open");
}

size_t CBufferedFile::Read(gsl::not_null<void *> dest, size_t size) {
    RequireOpen("Read");
    const size_t got = std::fread(dest.get(), 1, size, file_);
    if (got < size && std::ferror(file_)) {
        std::clearerr(file_);
        throw FileError("reading the file failed", path_);
    }
    return got;
}

int64_t CBufferedFile::Seek(int64_t offset, int origin) {
    RequireOpen("Seek");
    if (origin != OriginBegin && origin != OriginCurrent && origin != OriginEnd)
        throw std::runtime_error("Seek with an unknown origin");
    if (SeekFile64(file_, offset, origin) != 0)
        throw FileError("seeking in the file failed", path_);
    return TellFile64(file_);
}

int64_t CBufferedFile::GetPosition() const {
    RequireOpen("GetPosition");
    const int64_t position = TellFile64(file_);
    if (position < 0)
        throw FileError("the file position is unknown", path_);
    return position;
}

} // namespace shr
