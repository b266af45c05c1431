// LTIOStreamInf: the input stream through which readers get a file's bytes.
#pragma once
#include "LTITypes.h"

#include <string>

namespace LizardTech {

class LTIOStreamInf {
public:
    virtual ~LTIOStreamInf() = default;
    virtual bool isEOF() = 0;
    virtual bool isOpen() = 0;
    virtual LT_STATUS open() = 0;
    virtual LT_STATUS close() = 0;
    // Reads up to `numBytes` into `dest`; returns the count read.
    virtual lt_uint32 read(lt_uint8 *dest, lt_uint32 numBytes) = 0;
    virtual lt_uint32 write(const lt_uint8 *src, lt_uint32 numBytes) = 0;
    virtual LT_STATUS seek(lt_int64 offset, LTIOSeekDir dir) = 0;
    virtual lt_int64 tell() = 0;
    // A new, unopened stream on the same data, owned by the caller.
    virtual LTIOStreamInf *duplicate() = 0;
    virtual LT_STATUS getLastError() const = 0;
    virtual const char *getID() const = 0;

protected:
    LTIOStreamInf() = default;
};

// Streams over a named file also say which file, so an engine can find the files that sit
// beside it (a world file); getID's text is fixed once per process and cannot serve.
class LTIFileBacked {
public:
    virtual ~LTIFileBacked() = default;
    virtual std::wstring filePath() const = 0;
};

} // namespace LizardTech
