// Window messages sent across threads to the dialog's thread, which handles them in its modal
// loop; SendMessage returns once they are handled.
#include "DialogDriver.h"

#include <vector>

namespace winhost {
namespace {

constexpr int kPreviewFrame = 3100;
constexpr int kMessageTextId = 0xFFFF; // the static holding a message box's text

struct Search {
    const std::wstring *captionStart;
    HWND found;
};

BOOL CALLBACK FindCaption(HWND window, LPARAM data) {
    auto *search = reinterpret_cast<Search *>(data);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process != GetCurrentProcessId() || !IsWindowVisible(window))
        return TRUE;
    wchar_t caption[256] = {};
    GetWindowTextW(window, caption, 256);
    if (std::wstring(caption).rfind(*search->captionStart, 0) == 0) {
        search->found = window;
        return FALSE;
    }
    return TRUE;
}

LPARAM Point(POINT p) { return MAKELPARAM(static_cast<WORD>(p.x), static_cast<WORD>(p.y)); }

} // namespace

HWND DialogDriver::WaitForWindow(const std::wstring &captionStart, DWORD timeoutMs) {
    const DWORD start = GetTickCount();
    for (;;) {
        Search search{&captionStart, nullptr};
        EnumWindows(&FindCaption, reinterpret_cast<LPARAM>(&search));
        if (search.found)
            return search.found;
        if (GetTickCount() - start > timeoutMs)
            return nullptr;
        Sleep(50);
    }
}

std::wstring DialogDriver::Text(int id) const {
    wchar_t buffer[512] = {};
    GetDlgItemTextW(dialog_, id, buffer, 512);
    return buffer;
}

std::wstring DialogDriver::Caption() const {
    wchar_t buffer[512] = {};
    GetWindowTextW(dialog_, buffer, 512);
    return buffer;
}

bool DialogDriver::IsEnabled(int id) const { return IsWindowEnabled(GetDlgItem(dialog_, id)); }

bool DialogDriver::IsChecked(int id) const {
    return SendDlgItemMessageW(dialog_, id, BM_GETCHECK, 0, 0) == BST_CHECKED;
}

void DialogDriver::Type(int id, const std::wstring &text) const {
    HWND edit = GetDlgItem(dialog_, id);
    SendMessageW(edit, EM_SETSEL, 0, -1);
    SendMessageW(edit, WM_CHAR, VK_BACK, 0);
    for (wchar_t c : text)
        SendMessageW(edit, WM_CHAR, c, 0);
    SendMessageW(dialog_, WM_COMMAND, MAKEWPARAM(id, EN_KILLFOCUS), reinterpret_cast<LPARAM>(edit));
}

void DialogDriver::Click(int id) const { SendDlgItemMessageW(dialog_, id, BM_CLICK, 0, 0); }

void DialogDriver::ClickLater(int id) const {
    PostMessageW(dialog_, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(dialog_, id)));
}

RECT DialogDriver::PreviewArea() const {
    RECT frame{};
    GetWindowRect(GetDlgItem(dialog_, kPreviewFrame), &frame);
    MapWindowPoints(nullptr, dialog_, reinterpret_cast<POINT *>(&frame), 2);
    return {frame.left + 2, frame.top + 2, frame.right - 1, frame.bottom - 2};
}

POINT DialogDriver::PreviewPoint(double fx, double fy) const {
    const RECT a = PreviewArea();
    return {a.left + static_cast<LONG>((a.right - a.left) * fx),
            a.top + static_cast<LONG>((a.bottom - a.top) * fy)};
}

void DialogDriver::MouseMove(POINT p) const { SendMessageW(dialog_, WM_MOUSEMOVE, 0, Point(p)); }

void DialogDriver::Drag(POINT from, POINT to) const {
    MouseMove(from);
    SendMessageW(dialog_, WM_LBUTTONDOWN, MK_LBUTTON, Point(from));
    const int steps = 4;
    for (int i = 1; i <= steps; ++i)
        SendMessageW(
            dialog_, WM_MOUSEMOVE, MK_LBUTTON,
            Point({from.x + (to.x - from.x) * i / steps, from.y + (to.y - from.y) * i / steps}));
    SendMessageW(dialog_, WM_LBUTTONUP, 0, Point(to));
}

void DialogDriver::ClickAt(POINT p) const {
    MouseMove(p);
    SendMessageW(dialog_, WM_LBUTTONDOWN, MK_LBUTTON, Point(p));
    SendMessageW(dialog_, WM_LBUTTONUP, 0, Point(p));
}

void DialogDriver::PlaceCursor(POINT p) const {
    POINT screen = p;
    ClientToScreen(dialog_, &screen);
    SetCursorPos(screen.x, screen.y);
    MouseMove(p);
}

void DialogDriver::ParkCursor() const { SetCursorPos(0, 0); }

std::wstring MessageBoxText(HWND box) {
    wchar_t buffer[1024] = {};
    GetDlgItemTextW(box, kMessageTextId, buffer, 1024);
    return buffer;
}

void DismissMessageBox(HWND box) {
    SendMessageW(box, WM_COMMAND, MAKEWPARAM(IDOK, BN_CLICKED),
                 reinterpret_cast<LPARAM>(GetDlgItem(box, IDOK)));
}

} // namespace winhost
