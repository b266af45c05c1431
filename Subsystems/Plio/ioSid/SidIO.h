// SidIO: the input stream the decode pipeline reads MrSID files through, over the host's
// buffered file.
#pragma once
#include "lti/LTIOStreamInf.h"
#include "shr/BufferedFile.h"

#include <string>

class SidIO : public LizardTech::LTIOStreamInf, public LizardTech::LTIFileBacked {
public:
    // Status of an open asked while the file is already open.
    static constexpr LizardTech::LT_STATUS kAlreadyOpen = 145012;

    // Never fails; with `openNow` the outcome of opening is left in getLastError().
    SidIO(const std::wstring &path, bool openNow);
    ~SidIO() override;
    SidIO(const SidIO &) = delete;
    SidIO &operator=(const SidIO &) = delete;

    bool isEOF() override;
    bool isOpen() override;
    LizardTech::LT_STATUS open() override;
    // Closes with the throwing variant: its exceptions reach the caller.
    LizardTech::LT_STATUS close() override;
    // A null `dest` breaks the file's not-null precondition and throws gsl::fail_fast.
    LizardTech::lt_uint32 read(LizardTech::lt_uint8 *dest, LizardTech::lt_uint32 numBytes) override;
    LizardTech::lt_uint32 write(const LizardTech::lt_uint8 *src,
                                LizardTech::lt_uint32 numBytes) override;
    LizardTech::LT_STATUS seek(LizardTech::lt_int64 offset, LizardTech::LTIOSeekDir dir) override;
    LizardTech::lt_int64 tell() override;
    LizardTech::LTIOStreamInf *duplicate() override;
    LizardTech::LT_STATUS getLastError() const override;
    // The path of the first stream of the process asked for its id: the identity is fixed
    // once, on first use, and shared by every stream.
    const char *getID() const override;
    std::wstring filePath() const override { return path; }

private:
    std::wstring path;
    shr::CBufferedFile file;
    bool eof = false;
    LizardTech::LT_STATUS lastError = 0;
};
