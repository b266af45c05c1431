// File and memory sources for the TIFF reader.
#include "TiffSource.h"

#include "shr/Path.h"

#include <cstdio>
#include <cstring>

namespace tiff {
namespace {

class FileSource final : public TiffSource {
public:
    explicit FileSource(FILE *file) : file_(file) {}
    ~FileSource() override { std::fclose(file_); }
    FileSource(const FileSource &) = delete;
    FileSource &operator=(const FileSource &) = delete;

    bool Length(uint64_t &length) override {
        const int64_t here = shr::TellFile64(file_);
        if (here < 0 || shr::SeekFile64(file_, 0, SEEK_END) != 0)
            return false;
        const int64_t end = shr::TellFile64(file_);
        // Back where it was, so that every source keeps its position here.
        if (end < 0 || shr::SeekFile64(file_, here, SEEK_SET) != 0)
            return false;
        length = static_cast<uint64_t>(end);
        return true;
    }

    bool Seek(uint64_t position) override {
        if (position > static_cast<uint64_t>(INT64_MAX))
            return false;
        const auto target = static_cast<int64_t>(position);
        // The stream may land elsewhere on some devices; the position is confirmed.
        return shr::SeekFile64(file_, target, SEEK_SET) == 0 && shr::TellFile64(file_) == target;
    }

    size_t Read(void *dest, size_t size) override { return std::fread(dest, 1, size, file_); }

private:
    FILE *file_;
};

class MemorySource final : public TiffSource {
public:
    MemorySource(const unsigned char *data, size_t size) : data_(data), size_(size) {}
    explicit MemorySource(std::vector<unsigned char> bytes)
        : owned_(std::move(bytes)), data_(owned_.data()), size_(owned_.size()) {}

    bool Length(uint64_t &length) override {
        length = size_;
        return true;
    }

    bool Seek(uint64_t position) override {
        if (position > size_)
            return false;
        position_ = static_cast<size_t>(position);
        return true;
    }

    size_t Read(void *dest, size_t size) override {
        const size_t n = size < size_ - position_ ? size : size_ - position_;
        if (n != 0)
            std::memcpy(dest, data_ + position_, n);
        position_ += n;
        return n;
    }

    const unsigned char *View(uint64_t position, size_t size) override {
        return position <= size_ && size <= size_ - position ? data_ + position : nullptr;
    }

private:
    std::vector<unsigned char> owned_;
    const unsigned char *data_;
    size_t size_;
    size_t position_ = 0;
};

} // namespace

std::unique_ptr<TiffSource> OpenFileSource(const std::wstring &path) {
    // A mapping lends strips to the decoders without a copy; files that cannot be mapped
    // (empty, too long, not regular, or refused by the system) are still read as streams.
    if (auto mapped = OpenMappedFileSource(path))
        return mapped;
    return OpenStreamFileSource(path);
}

std::unique_ptr<TiffSource> OpenStreamFileSource(const std::wstring &path) {
    FILE *file = shr::OpenFile(path, L"rb");
    if (file == nullptr)
        return nullptr;
    return std::make_unique<FileSource>(file);
}

std::unique_ptr<TiffSource> MakeMemorySource(const void *data, size_t size) {
    return std::make_unique<MemorySource>(static_cast<const unsigned char *>(data), size);
}

std::unique_ptr<TiffSource> MakeMemorySource(std::vector<unsigned char> bytes) {
    return std::make_unique<MemorySource>(std::move(bytes));
}

} // namespace tiff
