// The modal run, the dialog procedure that routes messages to the dialog object, and centring.
#include "SimpleDialog.h"

namespace dlg {

HINSTANCE CurrentModule() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&CurrentModule), &module);
    return module;
}

namespace {

// Activates the module's own manifest (resource 2 of a DLL) while the dialog runs, so its
// controls come from the common controls it asks for rather than the host's choice.
class ManifestScope {
public:
    explicit ManifestScope(HINSTANCE module) {
        ACTCTXW context{};
        context.cbSize = sizeof(context);
        context.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        context.hModule = module;
        context.lpResourceName = MAKEINTRESOURCEW(2);
        handle_ = CreateActCtxW(&context);
        if (handle_ != INVALID_HANDLE_VALUE && !ActivateActCtx(handle_, &cookie_)) {
            ReleaseActCtx(handle_);
            handle_ = INVALID_HANDLE_VALUE;
        }
    }
    ~ManifestScope() {
        if (handle_ == INVALID_HANDLE_VALUE)
            return;
        DeactivateActCtx(0, cookie_);
        ReleaseActCtx(handle_);
    }
    ManifestScope(const ManifestScope &) = delete;
    ManifestScope &operator=(const ManifestScope &) = delete;

private:
    HANDLE handle_ = INVALID_HANDLE_VALUE;
    ULONG_PTR cookie_ = 0;
};

} // namespace

INT_PTR DialogBase::RunModal(HINSTANCE module, int templateId, HWND owner) {
    ManifestScope manifest(module);
    return DialogBoxParamW(module, MAKEINTRESOURCEW(templateId), owner, &DialogProc,
                           reinterpret_cast<LPARAM>(this));
}

INT_PTR CALLBACK DialogBase::DialogProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<DialogBase *>(lParam)->window_ = window;
    }
    auto *dialog = reinterpret_cast<DialogBase *>(GetWindowLongPtrW(window, DWLP_USER));
    if (!dialog)
        return FALSE; // messages before WM_INITDIALOG (the font) need nothing from us
    LRESULT result = 0;
    const bool handled = dialog->ProcessWindowMessage(window, message, wParam, lParam, result, 0) ||
                         dialog->DefaultMessage(message, wParam, result);
    if (message == WM_NCDESTROY) {
        SetWindowLongPtrW(window, DWLP_USER, 0);
        dialog->window_ = nullptr;
    }
    if (!handled)
        return FALSE;
    if (message == WM_INITDIALOG)
        return static_cast<INT_PTR>(result); // TRUE: let Windows set the focus
    SetWindowLongPtrW(window, DWLP_MSGRESULT, result);
    return TRUE;
}

bool DialogBase::DefaultMessage(UINT message, WPARAM wParam, LRESULT &result) {
    if (message == WM_INITDIALOG) {
        CenterWindow();
        result = TRUE;
        return true;
    }
    if (message == WM_COMMAND) {
        const int id = LOWORD(wParam);
        if (id >= IDOK && id <= IDNO) {
            EndDialog(id);
            result = 0;
            return true;
        }
    }
    return false;
}

void DialogBase::CenterWindow() const {
    RECT dialog{}, around{};
    GetWindowRect(window_, &dialog);
    HWND owner = GetWindow(window_, GW_OWNER);
    if (!owner || !IsWindowVisible(owner) || !GetWindowRect(owner, &around))
        SystemParametersInfoW(SPI_GETWORKAREA, 0, &around, 0);
    const int width = dialog.right - dialog.left, height = dialog.bottom - dialog.top;
    const int x = (around.left + around.right - width) / 2;
    const int y = (around.top + around.bottom - height) / 2;
    SetWindowPos(window_, nullptr, x, y, 0, 0, SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
}

} // namespace dlg
