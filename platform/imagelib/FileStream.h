// FileStream: a read-only file as the decode pipeline's input stream.
#pragma once
#include "lti/LTIOStreamInf.h"
#include "shr/BufferedFile.h"

#include <string>

namespace imagelib {

class FileStream : public LizardTech::LTIOStreamInf, public LizardTech::LTIFileBacked {
public:
    explicit FileStream(std::wstring path);
    ~FileStream() override;

    bool isEOF() override { return eof_; }
    bool isOpen() override { return file_.IsOpen(); }
    LizardTech::LT_STATUS open() override;
    LizardTech::LT_STATUS close() override;
    LizardTech::lt_uint32 read(LizardTech::lt_uint8 *dest, LizardTech::lt_uint32 numBytes) override;
    LizardTech::lt_uint32 write(const LizardTech::lt_uint8 *, LizardTech::lt_uint32) override {
        return 0; // read-only
    }
    LizardTech::LT_STATUS seek(LizardTech::lt_int64 offset, LizardTech::LTIOSeekDir dir) override;
    LizardTech::lt_int64 tell() override;
    LizardTech::LTIOStreamInf *duplicate() override { return new FileStream(path_); }
    LizardTech::LT_STATUS getLastError() const override { return lastError_; }
    const char *getID() const override { return id_.c_str(); }
    std::wstring filePath() const override { return path_; }

private:
    std::wstring path_;
    std::string id_;
    shr::CBufferedFile file_;
    bool eof_ = false;
    LizardTech::LT_STATUS lastError_ = 0;
};

} // namespace imagelib
