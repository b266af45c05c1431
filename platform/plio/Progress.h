// CProgress: a progress scope on a host's manager. Construction starts the host's display,
// the destructor ends it; IProgressPtr() lets other framework objects report through it.
#pragma once
#include "plio/IoManager.h"
#include "shr/Progress.h"

#include <string>

namespace plio {

class CProgress {
public:
    CProgress(IoManager &manager, const std::wstring &text, bool showCancel, bool modal);
    ~CProgress(); // ends the host's display; never throws
    CProgress(const CProgress &) = delete;
    CProgress &operator=(const CProgress &) = delete;

    // A printf-style message line on the host's display.
    void MessageVA(const wchar_t *format, ...);
    void SetProportion(double done) { link_.SetProportion(done); }
    shr::IProgress *IProgressPtr() { return &link_; }

    // The manager behind a progress pointer handed out by IProgressPtr() of this module's
    // framework; null for any other progress.
    static IoManager *ManagerOf(shr::IProgress *progress);

private:
    class Link : public shr::IProgress {
    public:
        explicit Link(IoManager &manager) : manager(manager) {}
        void SetProportion(double done) override { manager.ProgressProportion(done); }
        IoManager &manager;
    };

    Link link_;
};

} // namespace plio
