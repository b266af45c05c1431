// Rules of the import options dialog, applied to the controls through DialogControls.
#include "ImportDialogForm.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cwchar>

#include "resources/ImportDialogIds.h"
#include "shr/Format.h"
#include "shr/Path.h"

namespace {

constexpr int kEditKillFocus = 0x0200; // EN_KILLFOCUS
constexpr int kOkId = 1;               // IDOK
constexpr size_t kEditBufferChars = 50;
constexpr uint32_t kReductions[] = {1, 2, 4, 8, 16, 32};
constexpr int kRegionEdits[] = {IDC_EDIT_LEFT, IDC_EDIT_TOP, IDC_EDIT_RIGHT, IDC_EDIT_BOTTOM};
// Controls that follow the region: edits, labels, hints and read-outs.
constexpr int kRegionControls[] = {IDC_EDIT_LEFT,        IDC_EDIT_TOP,        IDC_EDIT_RIGHT,
                                   IDC_EDIT_BOTTOM,      IDC_NAVIGATE_LABEL,  IDC_REGION_GROUP,
                                   IDC_TOP_LABEL,        IDC_LEFT_LABEL,      IDC_RIGHT_LABEL,
                                   IDC_BOTTOM_LABEL,     IDC_REDUCTION_GROUP, IDC_MEMORY_HINT,
                                   IDC_QUALITY_HINT,     IDC_FILE_DIMENSIONS, IDC_REGION_DIMENSIONS,
                                   IDC_FINAL_DIMENSIONS, IDC_ESTIMATED_SIZE};

double *RegionCorner(ImportDialogData &data, int index) {
    double *corners[] = {&data.left, &data.top, &data.right, &data.bottom};
    return corners[index];
}

void ClampAxis(double &low, double &high, uint32_t size) {
    const double last = static_cast<double>(size) - 1.0;
    low = low >= size ? last : low;
    high = high >= size ? last : high;
}

} // namespace

const wchar_t *const kCheckInputsCaption = L"SID Import Options: Check Inputs";

bool ParseDialogNumber(const std::wstring &text, double &value) {
    const std::wstring limited = text.substr(0, kEditBufferChars - 1);
    wchar_t *end = nullptr;
    errno = 0;
    const double parsed = std::wcstod(limited.c_str(), &end);
    if (errno == ERANGE || end == limited.c_str()) {
        value = 0.0;
        return false;
    }
    value = parsed;
    return std::isfinite(parsed);
}

std::wstring FormatDialogNumber(double value) { return shr::FormatString(L"%G", value); }

void ClampRegion(ImportDialogData &d) {
    ClampAxis(d.left, d.right, d.imageWidth);
    ClampAxis(d.top, d.bottom, d.imageHeight);
    if (d.left == 0 && d.top == 0 && d.right == 0 && d.bottom == 0) {
        d.right = static_cast<double>(d.imageWidth) - 1.0;
        d.bottom = static_cast<double>(d.imageHeight) - 1.0;
    }
    if (d.left > d.right)
        std::swap(d.left, d.right);
    if (d.top > d.bottom)
        std::swap(d.top, d.bottom);
}

int ReductionRadioFor(uint32_t scale) {
    for (int i = 0; i < 6; ++i)
        if (kReductions[i] == scale)
            return IDC_REDUCTION_1 + i;
    return IDC_REDUCTION_1;
}

bool ReductionEnabled(int index, bool enable, uint32_t maxScale) {
    return enable && index >= 0 && index < 6 && maxScale >= kReductions[index];
}

std::wstring DialogCaption(const std::wstring &templateCaption, const std::wstring &path) {
    return templateCaption + L" - " + shr::CPath(path).GetFileName();
}

ImportDialogReadouts ComposeReadouts(const ImportDialogData &d) {
    ImportDialogReadouts r;
    r.file = shr::FormatString(L"File dimensions:  %u x %u Pixels", d.imageWidth, d.imageHeight);
    if (d.linked) {
        r.region = L"Region dimensions:  ---";
        r.final = L"Final dimensions:  ---";
        r.size = L"Estimated size:  ---";
        return r;
    }
    const double w = d.right - d.left + 1.0, h = d.bottom - d.top + 1.0;
    r.region = shr::FormatString(L"Region dimensions:  %G x %G Pixels", w, h);
    const double scale = d.scale == 0 ? 1.0 : static_cast<double>(d.scale);
    // Truncated toward zero and at least one pixel; clamped so a wild edit cannot overflow.
    const auto outputSide = [scale](double side) {
        const double v = std::trunc(side / scale);
        return static_cast<uint32_t>(std::clamp(v, 1.0, 4294967295.0));
    };
    const uint32_t fw = outputSide(w), fh = outputSide(h);
    r.final = shr::FormatString(L"Final dimensions:  %u x %u Pixels", fw, fh);
    // Four bytes a pixel, 1048576 bytes a megabyte: floor(pixels * 4 / 1048576) without the
    // product overflowing.
    const uint64_t pixels = static_cast<uint64_t>(fw) * fh;
    const uint64_t megabytes = std::max<uint64_t>(pixels / 262144, 1);
    r.size = shr::FormatString(L"Estimated size:  %llu Megabytes",
                               static_cast<unsigned long long>(megabytes));
    return r;
}

void ImportDialogForm::SetControlsFromData() {
    const uint32_t format = data_.formatChoice;
    const int formatRadio = IDC_FORMAT_FIRST + (format >= 1 && format <= 3 ? int(format) - 1 : 3);
    for (int id = IDC_FORMAT_FIRST; id < IDC_FORMAT_FIRST + 4; ++id)
        controls_.SetChecked(id, id == formatRadio);
    const int radio = ReductionRadioFor(data_.scale);
    for (int id = IDC_REDUCTION_1; id <= IDC_REDUCTION_32; ++id)
        controls_.SetChecked(id, id == radio);
    ClampRegion(data_);
    SetEditsFromRegion();
    UpdateReadouts();
    controls_.SetChecked(IDC_ON_THE_FLY, data_.linked);
    EnableRegionControls(!data_.linked);
}

void ImportDialogForm::EnableRegionControls(bool enable) {
    for (int i = 0; i < 6; ++i)
        controls_.Enable(IDC_REDUCTION_1 + i,
                         i == 0 ? enable : ReductionEnabled(i, enable, data_.maxScale));
    for (int id : kRegionControls)
        controls_.Enable(id, enable);
}

bool ImportDialogForm::ValidateInputs(std::wstring *message) {
    static const wchar_t *const kNotNumber[] = {L"Upper-left X must contain a valid number.",
                                                L"Upper-left Y must contain a valid number.",
                                                L"Lower-right X must contain a valid number.",
                                                L"Lower-right Y must contain a valid number."};
    static const wchar_t *const kOutside[] = {
        L"Upper-left X is outside of the image.", L"Upper-left Y is outside of the image.",
        L"Lower-right X is outside of the image.", L"Lower-right Y is outside of the image."};
    bool valid = true;
    const auto fail = [&](const wchar_t *text) {
        valid = false;
        if (message)
            *message = text;
    };
    data_.formatChoice = 4;
    for (int i = 0; i < 3; ++i)
        if (controls_.IsChecked(IDC_FORMAT_FIRST + i))
            data_.formatChoice = static_cast<uint32_t>(i + 1);
    data_.scale = 1;
    for (int i = 1; i < 6; ++i)
        if (controls_.IsChecked(IDC_REDUCTION_1 + i))
            data_.scale = kReductions[i];
    for (int i = 0; i < 4; ++i)
        if (!ParseDialogNumber(controls_.GetText(kRegionEdits[i]), *RegionCorner(data_, i)))
            fail(kNotNumber[i]);
    for (int i = 0; i < 4; ++i) {
        const double v = *RegionCorner(data_, i);
        const uint32_t size = i % 2 == 0 ? data_.imageWidth : data_.imageHeight;
        if (v < 0.0 || v > size)
            fail(kOutside[i]);
    }
    ClampRegion(data_);
    if (data_.left >= data_.right)
        fail(L"Selected region has no width.");
    if (data_.top >= data_.bottom)
        fail(L"Selected region has no height.");
    return valid;
}

void ImportDialogForm::UpdateReadouts() {
    const ImportDialogReadouts r = ComposeReadouts(data_);
    controls_.SetText(IDC_FILE_DIMENSIONS, r.file);
    controls_.SetText(IDC_REGION_DIMENSIONS, r.region);
    controls_.SetText(IDC_FINAL_DIMENSIONS, r.final);
    controls_.SetText(IDC_ESTIMATED_SIZE, r.size);
}

void ImportDialogForm::SetEditsFromRegion() {
    for (int i = 0; i < 4; ++i)
        controls_.SetText(kRegionEdits[i], FormatDialogNumber(*RegionCorner(data_, i)));
}

void ImportDialogForm::TakeSelection(double left, double top, double right, double bottom) {
    data_.left = left;
    data_.top = top;
    data_.right = right;
    data_.bottom = bottom;
    ClampRegion(data_);
    SetEditsFromRegion();
    UpdateReadouts();
}

CommandOutcome ImportDialogForm::OnOk() {
    CommandOutcome out;
    std::wstring message;
    if (ValidateInputs(&message))
        out.endWith = kOkId;
    else
        out.message = message + L"\n\nPlease change the input(s) and try again.";
    return out;
}

CommandOutcome ImportDialogForm::OnDefaults() {
    data_.formatChoice = 4;
    data_.scale = 1;
    data_.left = data_.top = 0.0;
    data_.right = static_cast<double>(data_.imageWidth) - 1.0;
    data_.bottom = static_cast<double>(data_.imageHeight) - 1.0;
    data_.linked = false;
    SetControlsFromData();
    CommandOutcome out;
    out.selectionChanged = out.zoomToFit = out.focusOk = true;
    return out;
}

CommandOutcome ImportDialogForm::OnCommand(int id, int code) {
    CommandOutcome out;
    if (id == kOkId)
        return OnOk();
    if (id == IDC_DEFAULTS)
        return OnDefaults();
    if (id >= IDC_REDUCTION_1 && id <= IDC_REDUCTION_32) {
        ValidateInputs(nullptr);
        UpdateReadouts();
        SetEditsFromRegion();
        out.selectionChanged = true;
    } else if (id >= IDC_EDIT_LEFT && id <= IDC_EDIT_BOTTOM) {
        if (data_.initialising)
            return out;
        if (code == kEditKillFocus) {
            ValidateInputs(nullptr);
            ClampRegion(data_);
        }
        UpdateReadouts();
        out.repaint = true;
    } else if (id == IDC_ON_THE_FLY) {
        data_.linked = controls_.IsChecked(IDC_ON_THE_FLY);
        UpdateReadouts();
        EnableRegionControls(!data_.linked);
        out.repaint = true;
    } else if (id >= 1 && id <= 7) {
        out.endWith = id;
    }
    return out;
}
