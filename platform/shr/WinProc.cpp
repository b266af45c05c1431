// Window-procedure results after a handler failed.
#include "WinProc.h"

#include <windows.h>

namespace shr {

intptr_t WinProcReturnCodeAfterException(HWND window, unsigned int message) {
    (void)window;
    switch (message) {
    case WM_NCCREATE:
        return FALSE; // creation fails
    case WM_CREATE:
        return -1; // creation fails
    default:
        return 0;
    }
}

} // namespace shr
