// DialogDriver: drives the import options dialog of this process from another thread with
// window messages, as a user would: typing, clicking, dragging on the preview.
#pragma once
#include <windows.h>

#include <string>

namespace winhost {

class DialogDriver {
public:
    // Waits up to `timeoutMs` for a visible top-level dialog of this process whose caption
    // starts with `captionStart`.
    static HWND WaitForWindow(const std::wstring &captionStart, DWORD timeoutMs);

    explicit DialogDriver(HWND dialog) : dialog_(dialog) {}
    HWND GetDialog() const { return dialog_; }

    std::wstring Text(int id) const;
    std::wstring Caption() const;
    bool IsEnabled(int id) const;
    bool IsChecked(int id) const;
    // Replaces an edit's text by typing it, then moves the focus away (EN_KILLFOCUS).
    void Type(int id, const std::wstring &text) const;
    // Clicks a button and returns when its command has been handled.
    void Click(int id) const;
    // Clicks without waiting (for a click that opens a modal message box).
    void ClickLater(int id) const;

    // The preview's area in the dialog's client coordinates.
    RECT PreviewArea() const;
    // A point of the preview given as fractions of its area.
    POINT PreviewPoint(double fx, double fy) const;
    void MouseMove(POINT p) const;
    void Drag(POINT from, POINT to) const;
    void ClickAt(POINT p) const;
    // Puts the real cursor on a preview point (or far away), so that no stray mouse-move of
    // the window system moves the rubber band or the read-out.
    void PlaceCursor(POINT p) const;
    void ParkCursor() const;

private:
    HWND dialog_;
};

// The text of a message box and a dismissal with OK.
std::wstring MessageBoxText(HWND box);
void DismissMessageBox(HWND box);

} // namespace winhost
