// The file source over a read-only mapping of the whole file: decoders read strips in place.
#include "TiffSource.h"

#include "shr/Path.h"

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <cstring>
#include <deque>
#include <new>

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

namespace tiff {
namespace {

// The reader refuses longer files; they are left to the stream source, which reports their
// length, rather than mapped for nothing.
constexpr uint64_t kMaxMappedLength = 0xFFFFFFFFu;
// Pages are brought in a block at a time when first read (see PopulateBlock).
constexpr uint64_t kPopulateBlock = uint64_t{1} << 20;
constexpr size_t kPopulateBlocks = static_cast<size_t>(kMaxMappedLength / kPopulateBlock + 1);
// At most this many blocks stay resident: a whole-file decode then holds a bounded window of
// the file, not all of it, while re-reads within the window cost nothing.
constexpr size_t kResidentBlocks = 16;

struct FileMapping {
    const unsigned char *data = nullptr;
    size_t size = 0;
};

// Empty files cannot be mapped (and need not be).
bool IsMappableLength(uint64_t length) { return length > 0 && length <= kMaxMappedLength; }

#ifdef _WIN32

// Maps the whole file read-only; false, holding nothing, when it cannot. The view outlives the
// handles, which are closed at once.
bool MapFile(const std::wstring &path, FileMapping &mapping) {
    // Shared for reading only, as the C run-time opens files for "rb".
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    LARGE_INTEGER length{};
    const void *view = nullptr;
    if (GetFileType(file) == FILE_TYPE_DISK && GetFileSizeEx(file, &length) &&
        IsMappableLength(static_cast<uint64_t>(length.QuadPart))) {
        HANDLE section = CreateFileMappingW(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
        if (section != nullptr) {
            view = MapViewOfFile(section, FILE_MAP_READ, 0, 0, 0);
            CloseHandle(section);
        }
    }
    CloseHandle(file);
    if (view == nullptr)
        return false;
    mapping.data = static_cast<const unsigned char *>(view);
    mapping.size = static_cast<size_t>(length.QuadPart);
    return true;
}

void UnmapFile(const FileMapping &mapping) { UnmapViewOfFile(mapping.data); }

#else

bool MapFile(const std::wstring &path, FileMapping &mapping) {
    const int fd = open(shr::CPath(path).NativeNarrow().c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat status {};
    void *view = MAP_FAILED;
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) &&
        IsMappableLength(static_cast<uint64_t>(status.st_size)))
        view = mmap(nullptr, static_cast<size_t>(status.st_size), PROT_READ, MAP_PRIVATE, fd, 0);
    close(fd);
    if (view == MAP_FAILED)
        return false;
    mapping.data = static_cast<const unsigned char *>(view);
    mapping.size = static_cast<size_t>(status.st_size);
    return true;
}

void UnmapFile(const FileMapping &mapping) {
    munmap(const_cast<unsigned char *>(mapping.data), mapping.size);
}

#endif

// A first touch maps in only a few pages around it; asking for a whole block of pages at once
// saves most of those faults (Linux 5.14 and later). Elsewhere the pages fault in as they are
// read, and a failure here only leaves them to do so.
void PopulateBlock(const unsigned char *block, size_t size) {
#ifdef MADV_POPULATE_READ
    madvise(const_cast<unsigned char *>(block), size, MADV_POPULATE_READ);
#else
    (void)block;
    (void)size;
#endif
}

// Gives a block's pages back; they are the file's own, so a later read faults them in again.
void ReleaseBlock(const unsigned char *block, size_t size) {
#ifdef MADV_DONTNEED
    madvise(const_cast<unsigned char *>(block), size, MADV_DONTNEED);
#else
    (void)block;
    (void)size;
#endif
}

// Seeks and reads follow the stream source: any position a C stream can seek to is accepted,
// and reads at or past the end return what is left of the file, possibly nothing.
class MappedSource final : public TiffSource {
public:
    explicit MappedSource(FileMapping mapping) : mapping_(mapping) {}
    ~MappedSource() override { UnmapFile(mapping_); }
    MappedSource(const MappedSource &) = delete;
    MappedSource &operator=(const MappedSource &) = delete;

    bool Length(uint64_t &length) override {
        length = mapping_.size;
        return true;
    }

    bool Seek(uint64_t position) override {
        if (position > static_cast<uint64_t>(INT64_MAX))
            return false;
        position_ = position;
        return true;
    }

    size_t Read(void *dest, size_t size) override {
        if (position_ >= mapping_.size)
            return 0;
        const auto left = static_cast<size_t>(mapping_.size - position_);
        const size_t n = size < left ? size : left;
        if (n != 0) {
            Populate(position_, n);
            std::memcpy(dest, mapping_.data + position_, n);
        }
        position_ += n;
        return n;
    }

    const unsigned char *View(uint64_t position, size_t size) override {
        if (position > mapping_.size || size > mapping_.size - position)
            return nullptr;
        if (size != 0)
            Populate(position, size);
        return mapping_.data + position;
    }

private:
    // Populates the blocks that hold bytes [position, position + size), once each, releasing
    // the longest resident ones beyond kResidentBlocks.
    void Populate(uint64_t position, size_t size) {
        const uint64_t last = (position + size - 1) / kPopulateBlock;
        for (uint64_t block = position / kPopulateBlock; block <= last; ++block) {
            if (populated_[block])
                continue;
            if (resident_.size() == kResidentBlocks) {
                populated_[resident_.front()] = false;
                ReleaseBlock(mapping_.data + resident_.front() * kPopulateBlock,
                             BlockSize(resident_.front()));
                resident_.pop_front();
            }
            populated_[block] = true;
            resident_.push_back(block);
            PopulateBlock(mapping_.data + block * kPopulateBlock, BlockSize(block));
        }
    }

    size_t BlockSize(uint64_t block) const {
        return static_cast<size_t>(std::min(kPopulateBlock, mapping_.size - block * kPopulateBlock));
    }

    FileMapping mapping_;
    uint64_t position_ = 0;
    std::bitset<kPopulateBlocks> populated_;
    std::deque<uint64_t> resident_; // populated blocks, oldest first
};

} // namespace

std::unique_ptr<TiffSource> OpenMappedFileSource(const std::wstring &path) {
    FileMapping mapping;
    if (!MapFile(path, mapping))
        return nullptr;
    std::unique_ptr<TiffSource> source(new (std::nothrow) MappedSource(mapping));
    if (!source)
        UnmapFile(mapping);
    return source;
}

} // namespace tiff
