// CProgress.
#include "plio/Progress.h"

#include "shr/Log.h"

#include <cstdarg>
#include <cstdio>
#include <cwchar>
#include <vector>

namespace plio {

CProgress::CProgress(IoManager &manager, const std::wstring &text, bool showCancel, bool modal)
    : link_(manager) {
    manager.ProgressStart(text, showCancel, modal);
}

CProgress::~CProgress() {
    try {
        link_.manager.ProgressEnd();
    } catch (...) {
        shr::LogExceptionInfo(L"plio", L"platform/plio/Progress", __LINE__);
    }
}

void CProgress::MessageVA(const wchar_t *format, ...) {
    std::vector<wchar_t> buffer(1024);
    for (;;) {
        va_list args;
        va_start(args, format);
        const int n = std::vswprintf(buffer.data(), buffer.size(), format, args);
        va_end(args);
        if (n >= 0 && static_cast<size_t>(n) < buffer.size()) {
            link_.manager.ProgressMessage(std::wstring(buffer.data(), static_cast<size_t>(n)));
            return;
        }
        if (buffer.size() >= (1u << 20)) {
            link_.manager.ProgressMessage(format);
            return;
        }
        buffer.resize(buffer.size() * 8);
    }
}

IoManager *CProgress::ManagerOf(shr::IProgress *progress) {
    auto *link = dynamic_cast<Link *>(progress);
    return link ? &link->manager : nullptr;
}

} // namespace plio
