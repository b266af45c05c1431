// Temporary file beside the destination, synced and renamed into place on commit.
#include "ReplacedFile.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <system_error>
#ifdef _WIN32
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#else
#include <unistd.h>
#endif

namespace iosid::host {
namespace {

std::string ErrnoText(int error) { return std::generic_category().message(error); }

int CurrentProcessId() {
#ifdef _WIN32
    return _getpid();
#else
    return static_cast<int>(getpid());
#endif
}

// An exclusive create: an existing file of the same name is never reused.
int CreateExclusive(const std::filesystem::path &path) {
#ifdef _WIN32
    return _wopen(path.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY, _S_IREAD | _S_IWRITE);
#else
    return open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
#endif
}

std::FILE *StreamOn(int fd) {
#ifdef _WIN32
    return _fdopen(fd, "wb");
#else
    return fdopen(fd, "wb");
#endif
}

void CloseDescriptor(int fd) {
#ifdef _WIN32
    _close(fd);
#else
    close(fd);
#endif
}

// Makes the rename itself durable; a folder that cannot be synced is not an error.
void SyncFolder([[maybe_unused]] const std::filesystem::path &folder) {
#ifndef _WIN32
    const int fd = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        fsync(fd);
        close(fd);
    }
#endif
}

} // namespace

std::filesystem::path PathFromUtf8(const std::string &text) {
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string PathToUtf8(const std::filesystem::path &path) {
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

void SyncFile(const std::filesystem::path &path) {
#ifdef _WIN32
    const int fd = _wopen(path.c_str(), _O_RDWR | _O_BINARY);
    const bool ok = fd >= 0 && _commit(fd) == 0;
#else
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool ok = fd >= 0 && fsync(fd) == 0;
#endif
    const int error = errno;
    if (fd >= 0)
        CloseDescriptor(fd);
    if (!ok)
        throw std::runtime_error(PathToUtf8(path) + ": cannot sync to disk: " + ErrnoText(error));
}

ReplacedFile::ReplacedFile(const std::filesystem::path &destination) : destination_(destination) {
    static std::atomic<unsigned> counter{0};
    const std::filesystem::path folder = destination.parent_path();
    // Appended piece by piece: GCC 12 warns falsely (-Wrestrict) about "." + std::string.
    std::string stem = ".";
    stem += PathToUtf8(destination.filename()) + ".tmp-" + std::to_string(CurrentProcessId()) + "-";
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary_ = folder / PathFromUtf8(stem + std::to_string(counter++));
        const int fd = CreateExclusive(temporary_);
        if (fd < 0 && errno == EEXIST)
            continue;
        if (fd < 0)
            Fail("cannot create a file in its folder: " + ErrnoText(errno));
        stream_ = StreamOn(fd);
        if (!stream_) {
            const int error = errno;
            CloseDescriptor(fd);
            std::error_code ignored;
            std::filesystem::remove(temporary_, ignored);
            Fail("cannot open a temporary file: " + ErrnoText(error));
        }
        return;
    }
    Fail("no free temporary name in its folder");
}

ReplacedFile::~ReplacedFile() {
    if (stream_)
        std::fclose(stream_);
    if (!committed_) {
        std::error_code ignored;
        std::filesystem::remove(temporary_, ignored);
    }
}

void ReplacedFile::Fail(const std::string &what) const {
    throw std::runtime_error(PathToUtf8(destination_) + ": " + what);
}

void ReplacedFile::Write(const void *data, size_t size) {
    if (!stream_)
        Fail("internal error: write after the file was closed");
    if (size != 0 && std::fwrite(data, 1, size, stream_) != size)
        Fail("write failed: " + ErrnoText(errno));
}

void ReplacedFile::CloseStream() {
    if (!stream_)
        return;
    std::FILE *stream = stream_;
    stream_ = nullptr;
    const bool flushed = std::fflush(stream) == 0;
    const int error = errno;
    if (std::fclose(stream) != 0 || !flushed)
        Fail("write failed: " + ErrnoText(flushed ? errno : error));
}

void ReplacedFile::Commit() {
    CloseStream();
    SyncFile(temporary_);
    std::error_code error;
    std::filesystem::rename(temporary_, destination_, error);
    if (error)
        Fail("cannot rename the finished file into place: " + error.message());
    committed_ = true;
    SyncFolder(destination_.parent_path());
}

} // namespace iosid::host
