// The import options dialog (CImportDlg) over the dialog framework, its MrSID preview
// (SIDViewerPicker) and RunImportDialog. The rules live in ImportDialogForm; this layer moves
// values between the controls, GDI, the preview and those rules.
#include <windows.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "ImportDialogForm.h"
#include "RegionViewerPicker.h"
#include "SidImportDialog.h"
#include "SidImportFilter.h"
#include "SidInterface.h"
#include "dlg/SimpleDialog.h"
#include "gcs/GCSDef.h"
#include "resources/ImportDialogIds.h"
#include "shr/Format.h"
#include "shr/Log.h"
#include "shr/Path.h"
#include "shr/WinProc.h"

namespace {

const wchar_t kSourceFile[] = L"Subsystems/Plio/ioSid/SidImportDlg";
const wchar_t kLogName[] = L"ioSid";
const wchar_t kHelpTopic[] = L"Sid-Import.htm";

// The preview's pixels from a reader of its own, 24-bit blue, green, red.
class SIDViewerPicker : public rvp::RegionViewerPicker {
public:
    ~SIDViewerPicker() override { reader.reset(); }

protected:
    bool OpenImage(const std::wstring &path, uint32_t &width, uint32_t &height) override {
        reader = std::make_unique<SidInterface>();
        reader->Open(path); // a failed open leaves size 0, and the preview stays empty
        reader->SetFormat(SidInterface::kColor24);
        reader->SetScale(1);
        nextRow = 0;
        width = reader->GetWidth();
        height = reader->GetHeight();
        return true;
    }
    void CloseImage() override {
        reader.reset();
        nextRow = 0;
    }
    bool SetReadScale(uint32_t scale) override {
        nextRow = 0;
        return reader && reader->SetScale(scale);
    }
    uint32_t GetReadWidth() override { return reader ? reader->GetWidth() : 0; }
    uint32_t GetReadHeight() override { return reader ? reader->GetHeight() : 0; }
    bool GetCoordinateSystem(gcs::GCSDef &gcsDef) override {
        return reader && reader->Georeference(gcsDef);
    }
    void SetReadRegion(uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) override {
        if (reader)
            reader->SetRegion(left, top, right, bottom);
        nextRow = 0;
    }
    bool ReadNextRow(uint8_t *dest) override {
        const bool ok = reader && reader->ReadScanline(nextRow, dest);
        ++nextRow;
        return ok;
    }

private:
    std::unique_ptr<SidInterface> reader;
    uint32_t nextRow = 0;
};

// The form's view of the dialog's controls.
class WindowControls : public DialogControls {
public:
    explicit WindowControls(const HWND &dialog) : dialog_(dialog) {}
    bool IsChecked(int id) const override { return IsDlgButtonChecked(dialog_, id) == BST_CHECKED; }
    void SetChecked(int id, bool checked) override {
        CheckDlgButton(dialog_, id, checked ? BST_CHECKED : BST_UNCHECKED);
    }
    std::wstring GetText(int id) const override {
        wchar_t buffer[256] = {};
        GetDlgItemTextW(dialog_, id, buffer, 256);
        return buffer;
    }
    void SetText(int id, const std::wstring &text) override {
        SetDlgItemTextW(dialog_, id, text.c_str());
    }
    void Enable(int id, bool enable) override {
        if (HWND control = GetDlgItem(dialog_, id))
            EnableWindow(control, enable);
    }

private:
    const HWND &dialog_;
};

std::wstring WindowText(HWND window) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), int(text.size()))));
    return text;
}

class CImportDlg : public dlg::SimpleDialog<IDD_SID_IMPORT, IDOK> {
public:
    CImportDlg(SidImportFilter &filter, uint32_t scale, double left, double top, double right,
               double bottom, bool linked)
        : filter_(filter), controls_(window_), form_(data_, controls_) {
        data_.scale = scale;
        data_.left = left, data_.top = top, data_.right = right, data_.bottom = bottom;
        data_.linked = linked;
    }

    bool ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                              LRESULT &result, DWORD mapId) override;

    const ImportDialogData &GetData() const { return data_; }

private:
    LRESULT OnInitDialog(UINT, WPARAM, LPARAM, bool &handled);
    LRESULT OnSysCommand(UINT, WPARAM wParam, LPARAM, bool &handled);
    LRESULT OnPaint(UINT, WPARAM, LPARAM, bool &handled);
    LRESULT OnMouseMove(UINT, WPARAM, LPARAM lParam, bool &handled);
    LRESULT OnButtonUp(UINT, WPARAM, LPARAM lParam, bool &handled);
    LRESULT OnButtonDown(UINT, WPARAM, LPARAM lParam, bool &handled);
    LRESULT OnCommand(UINT, WPARAM wParam, LPARAM, bool &handled);

    void ReadImageSize();
    void PlacePreview();
    void ShowRegionInPreview();
    shr::Box2d RegionBox() const { return {data_.left, data_.top, data_.right, data_.bottom}; }

    static const dlg::MessageEntry<CImportDlg> kMessageMap[];

    SidImportFilter &filter_;
    HWND window_ = nullptr; // mirrors GetHandle() for the controls adapter
    ImportDialogData data_;
    WindowControls controls_;
    ImportDialogForm form_;
    SIDViewerPicker picker_;
};

const dlg::MessageEntry<CImportDlg> CImportDlg::kMessageMap[] = {
    {WM_INITDIALOG, &CImportDlg::OnInitDialog}, {WM_SYSCOMMAND, &CImportDlg::OnSysCommand},
    {WM_PAINT, &CImportDlg::OnPaint},           {WM_MOUSEMOVE, &CImportDlg::OnMouseMove},
    {WM_LBUTTONUP, &CImportDlg::OnButtonUp},    {WM_LBUTTONDOWN, &CImportDlg::OnButtonDown},
    {WM_COMMAND, &CImportDlg::OnCommand},
};

bool CImportDlg::ProcessWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam,
                                      LRESULT &result, DWORD mapId) {
    if (mapId != 0)
        return false;
    window_ = window;
    try {
        return dlg::DispatchMessageMap(*this, kMessageMap, message, wParam, lParam, result);
    } catch (...) {
        shr::LogExceptionInfoAndRethrowIfUnknown(kLogName, kSourceFile, 187);
        shr::WinProcReturnCodeAfterException(window, message);
        return false;
    }
}

void CImportDlg::ReadImageSize() {
    SidInterface reader;
    if (reader.Open(filter_.GetPath()))
        reader.SetScale(1);
    data_.imageWidth = reader.GetWidth();
    data_.imageHeight = reader.GetHeight();
    data_.maxScale = reader.GetMaxScale();
    reader.Close();
}

// The preview fills frame 3100 less a border (the insets differ on purpose: the sunken edge
// is wider at the right and bottom).
void CImportDlg::PlacePreview() {
    POINT origin{0, 0};
    ClientToScreen(window_, &origin);
    RECT frame{};
    GetWindowRect(GetDlgItem(window_, IDC_PREVIEW_FRAME), &frame);
    picker_.SetImageFile(filter_.GetPath());
    picker_.SetClientArea(frame.left - origin.x + 2, frame.top - origin.y + 2,
                          std::abs(frame.right - frame.left) - 3,
                          std::abs(frame.bottom - frame.top) - 4);
    picker_.ZoomToFit();
    picker_.SetSelection(RegionBox());
    picker_.Invalidate(window_);
}

void CImportDlg::ShowRegionInPreview() {
    picker_.SetSelection(RegionBox());
    picker_.Invalidate(window_);
}

LRESULT CImportDlg::OnInitDialog(UINT, WPARAM, LPARAM, bool &handled) {
    data_.initialising = true;
    SetWindowLongPtrW(window_, GWL_EXSTYLE,
                      GetWindowLongPtrW(window_, GWL_EXSTYLE) | WS_EX_CONTEXTHELP);
    SetWindowPos(window_, nullptr, 0, 0, 0, 0,
                 SWP_NOMOVE | SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_FRAMECHANGED);
    SetWindowTextW(window_, DialogCaption(WindowText(window_), filter_.GetPath()).c_str());
    ReadImageSize();
    if (!(data_.left < data_.right && data_.top < data_.bottom)) {
        data_.left = data_.top = 0.0;
        data_.right = static_cast<double>(data_.imageWidth) - 1.0;
        data_.bottom = static_cast<double>(data_.imageHeight) - 1.0;
    }
    ClampRegion(data_);
    form_.SetControlsFromData();
    ShowRegionInPreview();
    PlacePreview();
    data_.initialising = false;
    handled = false; // the framework's own initialisation centres the dialog
    return TRUE;
}

LRESULT CImportDlg::OnSysCommand(UINT, WPARAM wParam, LPARAM, bool &handled) {
    if ((wParam & 0xFFF0) != SC_CONTEXTHELP) {
        handled = false;
        return 0;
    }
    filter_.ShowHelp(kHelpTopic);
    return 0;
}

LRESULT CImportDlg::OnPaint(UINT, WPARAM, LPARAM, bool &) {
    PAINTSTRUCT paint{};
    HDC dc = BeginPaint(window_, &paint);
    picker_.SetSelection(RegionBox());
    if (data_.linked)
        picker_.PaintBlank(dc);
    else
        picker_.Paint(dc);
    EndPaint(window_, &paint);
    return 0;
}

LRESULT CImportDlg::OnMouseMove(UINT, WPARAM, LPARAM lParam, bool &) {
    picker_.OnMouseMove(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)));
    picker_.Invalidate(window_);
    return 0;
}

LRESULT CImportDlg::OnButtonDown(UINT, WPARAM, LPARAM lParam, bool &) {
    if (picker_.OnButtonDown(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam)),
                             window_))
        picker_.Invalidate(window_);
    return 0;
}

LRESULT CImportDlg::OnButtonUp(UINT, WPARAM, LPARAM lParam, bool &) {
    const bool wasSelecting = picker_.IsSelecting();
    if (picker_.OnButtonUp(static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))))
        picker_.Invalidate(window_);
    if (wasSelecting && !picker_.IsSelecting()) {
        const shr::Box2d &box = picker_.GetSelection();
        form_.TakeSelection(box.min.x, box.min.y, box.max.x, box.max.y);
    }
    return 0;
}

LRESULT CImportDlg::OnCommand(UINT, WPARAM wParam, LPARAM, bool &) {
    const CommandOutcome out = form_.OnCommand(LOWORD(wParam), HIWORD(wParam));
    if (!out.message.empty())
        MessageBoxW(window_, out.message.c_str(), kCheckInputsCaption, MB_ICONEXCLAMATION | MB_OK);
    if (out.zoomToFit)
        picker_.ZoomToFit();
    if (out.selectionChanged)
        picker_.SetSelection(RegionBox());
    if (out.selectionChanged || out.repaint || out.zoomToFit)
        picker_.Invalidate(window_);
    if (out.focusOk)
        PostMessageW(window_, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(window_, IDOK)),
                     TRUE);
    if (out.endWith != 0)
        EndDialog(out.endWith);
    return 0;
}

} // namespace

bool RunImportDialog(SidImportFilter &filter, uint32_t &scale, uint32_t &ulx, uint32_t &uly,
                     uint32_t &lrx, uint32_t &lry, bool &linked) {
    switch (AnswerImportDialogFromHost(filter, scale, ulx, uly, lrx, lry, linked)) {
    case plio::IoManager::DialogAnswer::Confirmed:
        return true;
    case plio::IoManager::DialogAnswer::Cancelled:
        return false;
    case plio::IoManager::DialogAnswer::Unanswered:
        break;
    }
    CImportDlg dialog(filter, scale, ulx, uly, lrx, lry, linked);
    const std::wstring entry = L"SidImportDlg";
    shr::ScopedLogMessage log(entry);
    HWND owner = static_cast<HWND>(filter.GetManager().GetHostWindow());
    const INT_PTR result = dialog.DoModal(owner);
    if (result == -1)
        shr::LogMessage(shr::FormatString(L"%ls: the dialog could not be created (error %lu)",
                                          entry.c_str(), GetLastError()));
    shr::LogMessage(
        shr::FormatString(L"%ls (returned %lld)", entry.c_str(), static_cast<long long>(result)));
    if (result != IDOK)
        return false;
    const ImportDialogData &data = dialog.GetData();
    scale = data.scale;
    ulx = static_cast<uint32_t>(data.left);
    uly = static_cast<uint32_t>(data.top);
    lrx = static_cast<uint32_t>(data.right);
    lry = static_cast<uint32_t>(data.bottom);
    linked = data.linked;
    return true;
}
