// Where the TIFF reader gets its bytes: a file by default, a memory block for tests and
// fuzzing, or any seekable stream (the decode engine hands it the plug-in's own stream).
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tiff {

class TiffSource {
public:
    virtual ~TiffSource() = default;
    // Total length in bytes; false when it cannot be determined. The position is kept.
    virtual bool Length(uint64_t &length) = 0;
    // Moves to an absolute position; false when that exact position could not be reached.
    virtual bool Seek(uint64_t position) = 0;
    // Reads up to `size` bytes at the current position; returns the number read.
    virtual size_t Read(void *dest, size_t size) = 0;
    // The `size` bytes at `position` without a copy, when the source holds them in memory;
    // nullptr otherwise (then Read them).
    virtual const unsigned char *View(uint64_t /*position*/, size_t /*size*/) { return nullptr; }
};

// A source over the file: a read-only mapping when the file can be mapped, else a C stream;
// nullptr when the file cannot be opened.
std::unique_ptr<TiffSource> OpenFileSource(const std::wstring &path);

// A source over a C stream opened "rb" on a wide path; nullptr when the file cannot be opened.
// Seeking past the end succeeds and reads there return 0 bytes, as with any C stream.
std::unique_ptr<TiffSource> OpenStreamFileSource(const std::wstring &path);

// A source over a read-only mapping of the whole file that lends its bytes through View, and
// otherwise seeks and reads exactly as the stream source does. nullptr when the path is not a
// regular file of 1 byte to 4 GiB - 1 (the largest the reader accepts) or cannot be mapped.
std::unique_ptr<TiffSource> OpenMappedFileSource(const std::wstring &path);

// A source over bytes the caller keeps alive for the source's lifetime.
std::unique_ptr<TiffSource> MakeMemorySource(const void *data, size_t size);

// A source that owns its bytes.
std::unique_ptr<TiffSource> MakeMemorySource(std::vector<unsigned char> bytes);

} // namespace tiff
