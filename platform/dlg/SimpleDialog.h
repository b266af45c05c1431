// Modal dialogs from a resource template with message-map dispatch: the dialog runs modally
// over its owner, is centred on it, and ends with the id of the command that closed it.
#pragma once
#include <windows.h>

#include <cstddef>

namespace dlg {

class DialogBase {
public:
    DialogBase() = default;
    virtual ~DialogBase() = default;
    DialogBase(const DialogBase &) = delete;
    DialogBase &operator=(const DialogBase &) = delete;

    // Handles a message of message map `mapId`; false leaves it to the defaults.
    virtual bool ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                      LRESULT &result, DWORD mapId) = 0;

    HWND GetHandle() const { return window_; }
    void EndDialog(INT_PTR result) const { ::EndDialog(window_, result); }
    // Centres the dialog on its owner (on the screen's work area when it has none).
    void CenterWindow() const;

protected:
    // Runs template `templateId` of `module` modally; the result of EndDialog, or -1 when the
    // dialog could not be created.
    INT_PTR RunModal(HINSTANCE module, int templateId, HWND owner);

private:
    static INT_PTR CALLBACK DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    // What unhandled messages get: centring at initialisation, closing on commands 1 to 7.
    bool DefaultMessage(UINT message, WPARAM wParam, LRESULT &result);

    HWND window_ = nullptr;
};

// The module (executable or DLL) that holds this code, where its templates live.
HINSTANCE CurrentModule();

template <int TemplateId, int DefaultId> class SimpleDialog : public DialogBase {
public:
    static constexpr int kTemplateId = TemplateId;
    static constexpr int kDefaultId = DefaultId;
    INT_PTR DoModal(HWND owner) { return RunModal(CurrentModule(), TemplateId, owner); }
};

// One entry of a message map: a message and the member function that handles it. The handler
// clears `handled` to let the defaults see the message as well.
template <class Dialog> struct MessageEntry {
    UINT message;
    LRESULT (Dialog::*handler)(UINT message, WPARAM wParam, LPARAM lParam, bool &handled);
};

// Dispatches a message through a map; true when an entry handled it.
template <class Dialog, size_t N>
bool DispatchMessageMap(Dialog &dialog, const MessageEntry<Dialog> (&map)[N], UINT message,
                        WPARAM wParam, LPARAM lParam, LRESULT &result) {
    for (const MessageEntry<Dialog> &entry : map) {
        if (entry.message != message)
            continue;
        bool handled = true;
        result = (dialog.*entry.handler)(message, wParam, lParam, handled);
        return handled;
    }
    return false;
}

} // namespace dlg
