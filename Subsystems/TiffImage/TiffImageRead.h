// TiffImageRead: the file access layer through which the GeoTIFF module reads a TIFF file's
// directories and tags, with an error record of its own.
#pragma once
#include "TiffRead.h"
#include "shr/ErrorRecord.h"

#include <cstdint>
#include <memory>
#include <string>

namespace tiff {

class TiffImageRead {
public:
    TiffImageRead() = default;
    ~TiffImageRead();
    TiffImageRead(const TiffImageRead &) = delete;
    TiffImageRead &operator=(const TiffImageRead &) = delete;

    bool OpenFile(const std::wstring &path);
    // Opens from another source (the decode engine's stream); `name` is kept for messages.
    bool OpenSource(std::unique_ptr<TiffSource> source, const std::wstring &name);
    // Number of directories (images and subfiles); records -7 with no open file.
    unsigned GetImageCount();
    // First entry of directory `image` with `tag`; nullptr when there is none.
    const TiffEntry *FindTag(unsigned image, uint16_t tag) const;
    void Close();

    const shr::ErrorRecord &Error() const { return error_; }
    CTiffReader &Reader() { return reader_; }
    const CTiffReader &Reader() const { return reader_; }

private:
    template <class OpenFn> bool GuardedOpen(OpenFn &&open);

    CTiffReader reader_;
    shr::ErrorRecord error_;
};

} // namespace tiff
