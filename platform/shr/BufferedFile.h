// CBufferedFile: a read-mostly binary file with a large stream buffer and 64-bit positions.
#pragma once
#include "NotNull.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

namespace shr {

// How other openers may share the file (honoured on Windows; advisory elsewhere).
enum FileSharing : int { ShareNone = 0, ShareRead = 1, ShareReadWrite = 2 };

// Seek origins, as the C library's SEEK_SET, SEEK_CUR and SEEK_END.
enum FileOrigin : int { OriginBegin = 0, OriginCurrent = 1, OriginEnd = 2 };

class CBufferedFile {
public:
    CBufferedFile() = default;
    ~CBufferedFile(); // closes without throwing
    CBufferedFile(const CBufferedFile &) = delete;
    CBufferedFile &operator=(const CBufferedFile &) = delete;

    // Opens `path` with a C mode ("rb", "wb", ...). False when the file cannot be opened or is
    // already open; `throwOnError` turns the failure into a std::runtime_error instead.
    bool OpenNoThrow(const std::wstring &path, const char *mode, FileSharing sharing,
                     bool throwOnError);
    // As OpenNoThrow, throwing std::runtime_error (with the path) on failure.
    void Open(const std::wstring &path, const char *mode, FileSharing sharing);

    // Closes the file; throws std::runtime_error when the C library reports a failure.
    void Close();
    // Closes the file; returns false on failure, or throws when `throwOnError` is true.
    bool CloseNoThrow(bool throwOnError);

    bool IsOpen() const { return file_ != nullptr; }
    const std::wstring &GetPath() const { return path_; }

    // Reads up to `size` bytes; returns the count read (short at the end of the file).
    // Throws std::runtime_error when the file is not open or the device fails.
    size_t Read(gsl::not_null<void *> dest, size_t size);
    // Moves the position; returns the new position. Throws std::runtime_error when the file is
    // not open, the origin is unknown or the target position is invalid (before the start).
    int64_t Seek(int64_t offset, int origin);
    // The current position; throws std::runtime_error when the file is not open.
    int64_t GetPosition() const;

private:
    void RequireOpen(const char *operation) const;

    std::FILE *file_ = nullptr;
    std::wstring path_;
};

} // namespace shr
