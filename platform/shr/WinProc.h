// What a window or dialog procedure returns for a message whose handler failed.
#pragma once
#include <cstdint>

struct HWND__;

namespace shr {

// The result that makes Windows treat the message as failed where that is defined (a window
// that refuses creation), and as not handled otherwise.
intptr_t WinProcReturnCodeAfterException(HWND__ *window, unsigned int message);

} // namespace shr
