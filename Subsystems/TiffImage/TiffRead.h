// CTiffReader: classic TIFF and BigTIFF container — header, directory chain, entries and their
// values in machine byte order, with bounds checks and recorded status codes.
#pragma once
#include "TiffSource.h"
#include "shr/ErrorRecord.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

namespace tiff {

// Status codes recorded in the reader's error record.
enum TiffStatus : int32_t {
    kTiffOk = 0,
    kTiffNoNameOrBuffer = -1,
    kTiffCannotOpen = -2,
    kTiffReadFailed = -3,
    kTiffNoMemory = -4, // also: a resource cap of the reader was reached
    kTiffBadFormat = -5,
    kTiffUnsupported = -6,
    kTiffNotOpen = -7,
    kTiffTooLarge = -9,
    kTiffException = -99,
};

// TIFF 6.0 / BigTIFF field types.
enum TiffType : uint16_t {
    kTypeByte = 1,
    kTypeAscii = 2,
    kTypeShort = 3,
    kTypeLong = 4,
    kTypeRational = 5,
    kTypeSByte = 6,
    kTypeUndefined = 7,
    kTypeSShort = 8,
    kTypeSLong = 9,
    kTypeSRational = 10,
    kTypeFloat = 11,
    kTypeDouble = 12,
    kTypeIfd = 13,
    kTypeLong8 = 16,
    kTypeSLong8 = 17,
    kTypeIfd8 = 18,
};

// Size in bytes of one value of a field type; 0 for unknown types.
uint32_t TiffTypeSize(uint16_t type);

struct TiffEntry {
    bool bigTiff = false;
    uint16_t tag = 0;
    uint16_t type = 0;
    uint64_t count = 0;                // 32-bit in classic files
    unsigned char value[8]{};          // inline values (machine order) or the offset of the values
    std::vector<unsigned char> values; // out-of-line values in machine order
    // Rational elements of a big-endian file that were reversed as whole 8-byte elements
    // (SRATIONAL always, RATIONAL when inline) hold the denominator first.
    bool rationalHalvesExchanged = false;

    uint64_t DataSize() const; // type size × count, saturating
    bool IsInline() const { return DataSize() <= (bigTiff ? 8u : 4u); }
    uint64_t Offset() const; // the value field read as an offset
    // The values, wherever they live; nullptr when out-of-line values were not loaded.
    const unsigned char *Data() const;
    // How many values can be read: count, or fewer when not all were loaded; 0 for unknown types.
    uint64_t HeldCount() const;
    // Value i converted to a number; 0 when out of range or not numeric.
    double GetDouble(uint64_t i = 0) const;
    uint64_t GetUInt(uint64_t i = 0) const;
    int64_t GetInt(uint64_t i = 0) const;
    // ASCII values as text, up to the first NUL.
    std::string GetAscii() const;
};

// Values of an entry that may be missing.
inline uint64_t HeldCount(const TiffEntry *entry) { return entry ? entry->HeldCount() : 0; }

struct TiffDirectory {
    uint64_t offset = 0; // file offset of the IFD
    int32_t parent = -1; // the directory whose SubIFDs tag leads here; -1 in the main chain
    std::vector<TiffEntry> entries;

    const TiffEntry *Find(uint16_t tag) const;
    // First value of `tag` as an unsigned integer, or `fallback` when absent.
    uint64_t GetUInt(uint16_t tag, uint64_t fallback) const;
};

class CTiffReader {
public:
    // Limits that keep hostile files from exhausting memory (reaching one records -4).
    static constexpr size_t kMaxDirectories = 65536;
    static constexpr uint64_t kMaxEntriesPerDirectory = 65535;
    static constexpr uint64_t kMaxTotalEntries = 1u << 20;
    // Out-of-line values may exceed the file length only by this much (shared value blocks).
    static constexpr uint64_t kValueBytesSlack = 1u << 20;

    CTiffReader() = default;
    ~CTiffReader();
    CTiffReader(const CTiffReader &) = delete;
    CTiffReader &operator=(const CTiffReader &) = delete;

    bool Open(const std::wstring &filename);
    // Opens from any seekable source; `name` is kept for messages.
    bool Open(std::unique_ptr<TiffSource> source, const std::wstring &name);
    void Close(); // closes the source, empties directories and the error record

    bool IsOpen() const { return source_ != nullptr; }
    const std::wstring &FileName() const { return fileName_; }
    uint64_t FileLength() const { return uiFileLength; }
    bool IsBigEndian() const { return bBigEndian; }
    bool IsBigTiff() const { return bigTiff_; }
    const std::vector<TiffDirectory> &Directories() const { return directories_; }

    // Reads the directories that directory `parent`'s SubIFDs tag points to, each with the chain
    // that follows it, and appends them to Directories(). Directories already read are not read
    // again. On failure the error is recorded and the directories read before it stay.
    bool ReadSubDirectories(unsigned parent);

    // Reads an entry's out-of-line values into dest (of DataSize bytes), swapped to machine
    // order; true without reading for inline values.
    bool ReadEntryValues(const TiffEntry &entry, unsigned char *dest);
    // Reads exactly `size` bytes at `offset`; records -3 (or -7 with no file) on failure,
    // naming the caller's source file and line.
    bool ReadBytes(uint64_t offset, void *dest, size_t size, const wchar_t *sourceFile, int line);
    // The `size` bytes at `offset` without a copy when the source holds them in memory, else
    // nullptr (then ReadBytes them).
    const unsigned char *ViewBytes(uint64_t offset, size_t size) const {
        return source_ ? source_->View(offset, size) : nullptr;
    }

    const shr::ErrorRecord &Error() const { return error_; }
    const std::wstring &ErrorFile() const { return error_.file; }
    int32_t ErrorLine() const { return error_.line; }
    int32_t ErrorCode() const { return error_.code; }
    void SetError(const wchar_t *sourceFile, int line, int32_t code) {
        error_.Set(sourceFile, line, code);
    }

private:
    bool Fail(int line, int32_t code);
    bool OpenSource();
    bool ReadHeader(uint64_t &firstIfd);
    bool ReadDirectoryChain(uint64_t offset, int32_t parent, std::unordered_set<uint64_t> &visited,
                            uint64_t &totalEntries);
    bool ReadDirectory(uint64_t offset, TiffDirectory &dir, uint64_t &next, uint64_t &totalEntries);
    bool ReadEntryCount(uint64_t &count);
    void DecodeEntry(const unsigned char *raw, TiffEntry &entry) const;
    bool LoadValues(size_t firstDirectory);
    bool LoadEntryValues(TiffEntry &entry, uint64_t &budget);
    bool ReadExact(void *dest, size_t size, int line);

    std::wstring fileName_;
    std::unique_ptr<TiffSource> source_;
    // Named as the reader's trace prints them. The length is at most 4294967295: longer files
    // are refused (-9), which is what lets strip and tile offsets travel as 32-bit numbers.
    uint64_t uiFileLength = 0;
    bool bBigEndian = false;
    bool bigTiff_ = false;
    shr::ErrorRecord error_;
    std::vector<TiffDirectory> directories_;
};

} // namespace tiff
