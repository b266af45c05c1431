// File paths: wide everywhere, converted to the platform's form only when a file is opened.
#pragma once
#include <cstdint>
#include <cstdio>
#include <string>

namespace shr {

class CPath {
public:
    CPath() = default;
    explicit CPath(std::wstring path) : path_(std::move(path)) {}
    const std::wstring& Get() const { return path_; }
    bool IsEmpty() const { return path_.empty(); }
    std::wstring GetFileName() const;  // "a/b/c.tif" -> "c.tif"
    std::wstring GetExtension() const; // "c.tif" -> ".tif"; "" when there is none
    std::wstring GetDirectory() const; // "a/b/c.tif" -> "a/b"
    // The path in the form the C library opens: UTF-8 here, wide on Windows.
    std::string NativeNarrow() const;

private:
    std::wstring path_;
};

// Opens a file with a wide path; nullptr on failure (errno set).
FILE* OpenFile(const std::wstring& path, const wchar_t* mode);

// 64-bit seek and tell over C streams on both builds.
int SeekFile64(FILE* file, int64_t offset, int origin);
int64_t TellFile64(FILE* file);

} // namespace shr
