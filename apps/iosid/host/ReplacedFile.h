// A file written under a temporary name beside its destination and renamed over it when done.
#pragma once
#include <cstdio>
#include <filesystem>
#include <string>

namespace iosid::host {

// The path as UTF-8 text says it, on every build.
std::filesystem::path PathFromUtf8(const std::string &text);
std::string PathToUtf8(const std::filesystem::path &path);

// Forces a written file's contents to disk; throws std::runtime_error on failure.
void SyncFile(const std::filesystem::path &path);

class ReplacedFile {
public:
    // Creates a new, empty temporary file in the destination's folder (never an existing one).
    // Throws std::runtime_error when it cannot.
    explicit ReplacedFile(const std::filesystem::path &destination);
    // Removes the temporary file unless Commit succeeded; never throws.
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile &) = delete;
    ReplacedFile &operator=(const ReplacedFile &) = delete;

    const std::filesystem::path &TemporaryPath() const { return temporary_; }
    const std::filesystem::path &Destination() const { return destination_; }

    // The temporary file opened for binary writing; null after CloseStream.
    std::FILE *Stream() { return stream_; }
    // Flushes and closes the stream (a library that opens the file by name writes after this).
    void CloseStream();
    // Writes `size` bytes to the stream; throws on a short write.
    void Write(const void *data, size_t size);

    // Syncs the temporary file to disk and renames it over the destination.
    void Commit();

private:
    [[noreturn]] void Fail(const std::string &what) const;

    std::filesystem::path destination_;
    std::filesystem::path temporary_;
    std::FILE *stream_ = nullptr;
    bool committed_ = false;
};

} // namespace iosid::host
