// TiffImageRead: opening, image count and tag lookup over CTiffReader.
#include "TiffImageRead.h"

#include "shr/Log.h"

#include <exception>

namespace tiff {
namespace {

const wchar_t kSourceFile[] = L"Subsystems/TiffImage/TiffImageRead";

// The lines these failures are recorded with are fixed; callers match on them.
constexpr int kLineEmptyPath = 175;
constexpr int kLineOpenFailed = 185;
constexpr int kLineException = 192;
constexpr int kLineNotOpen = 325;
constexpr int kLineDestructor = 97;

} // namespace

TiffImageRead::~TiffImageRead() {
    try {
        Close();
    } catch (...) {
        shr::LogExceptionInfo(L"TiffImage", kSourceFile, kLineDestructor);
    }
}

void TiffImageRead::Close() {
    reader_.Close();
    error_.Clear();
}

template <class OpenFn> bool TiffImageRead::GuardedOpen(OpenFn &&open) {
    try {
        if (open())
            return true;
        if (reader_.Error().IsSet())
            error_ = reader_.Error();
        else
            error_.Set(kSourceFile, kLineOpenFailed, kTiffReadFailed);
        return false;
    } catch (...) {
        error_.Set(kSourceFile, kLineException, kTiffException);
        return false;
    }
}

bool TiffImageRead::OpenFile(const std::wstring &path) {
    Close();
    if (path.empty()) {
        error_.Set(kSourceFile, kLineEmptyPath, kTiffNoNameOrBuffer);
        return false;
    }
    return GuardedOpen([&] { return reader_.Open(path); });
}

bool TiffImageRead::OpenSource(std::unique_ptr<TiffSource> source, const std::wstring &name) {
    Close();
    return GuardedOpen([&] { return reader_.Open(std::move(source), name); });
}

unsigned TiffImageRead::GetImageCount() {
    if (!reader_.IsOpen()) {
        error_.Set(kSourceFile, kLineNotOpen, kTiffNotOpen);
        return 0;
    }
    return static_cast<unsigned>(reader_.Directories().size());
}

const TiffEntry *TiffImageRead::FindTag(unsigned image, uint16_t tag) const {
    const auto &dirs = reader_.Directories();
    if (image >= dirs.size())
        return nullptr;
    return dirs[image].Find(tag);
}

} // namespace tiff
