// The import options dialog's rules without the window: values, validation, clamping,
// read-outs, enabling and commands, acting on the controls through a small interface.
#pragma once
#include <cstdint>
#include <string>

// What the form needs from the dialog's controls; the Win32 dialog and the tests implement it.
class DialogControls {
public:
    virtual ~DialogControls() = default;
    virtual bool IsChecked(int id) const = 0;
    virtual void SetChecked(int id, bool checked) = 0;
    virtual std::wstring GetText(int id) const = 0;
    virtual void SetText(int id, const std::wstring &text) = 0;
    virtual void Enable(int id, bool enable) = 0;
};

// The values the dialog edits. The region is in full-resolution pixels, corners inclusive,
// kept as doubles while the dialog runs.
struct ImportDialogData {
    uint32_t formatChoice = 4;
    uint32_t scale = 1;
    double left = 0.0, top = 0.0, right = 0.0, bottom = 0.0;
    uint32_t maxScale = 1;
    bool linked = false;
    bool initialising = false;
    uint32_t imageWidth = 0, imageHeight = 0;
};

// Edit text to number: at most 49 characters are read (the dialog's buffer), wcstod rules.
// False on a range error or when nothing converts (value 0), or on a non-finite value.
bool ParseDialogNumber(const std::wstring &text, double &value);
// Number to edit text ("%G").
std::wstring FormatDialogNumber(double value);

// Brings the region inside the image and orders its corners; negative values stay.
void ClampRegion(ImportDialogData &data);

// The reduction radio for a scale (the 1/1 radio for any value that is not a reduction).
int ReductionRadioFor(uint32_t scale);
// Whether the radio of reduction `index` (0 for 1/1 ... 5 for 1/32) may be used.
bool ReductionEnabled(int index, bool enable, uint32_t maxScale);

// The dialog caption: the template's caption and the file's name with its extension.
std::wstring DialogCaption(const std::wstring &templateCaption, const std::wstring &path);

struct ImportDialogReadouts {
    std::wstring file, region, final, size;
};
ImportDialogReadouts ComposeReadouts(const ImportDialogData &data);

// What a command asks of the window layer after the form has updated the controls.
struct CommandOutcome {
    int endWith = 0;               // end the dialog with this id when not 0
    std::wstring message;          // show this in the check-inputs message box when not empty
    bool selectionChanged = false; // give the preview the region and repaint it
    bool repaint = false;          // repaint the preview
    bool zoomToFit = false;        // fit the preview to the whole image
    bool focusOk = false;          // move the focus to OK
};

extern const wchar_t *const kCheckInputsCaption;

class ImportDialogForm {
public:
    ImportDialogForm(ImportDialogData &data, DialogControls &controls)
        : data_(data), controls_(controls) {}

    void SetControlsFromData();
    void EnableRegionControls(bool enable);
    // Reads the controls into the data and checks them; every check runs and the message of
    // the last failing one is kept (when `message` is given).
    bool ValidateInputs(std::wstring *message);
    void UpdateReadouts();
    void SetEditsFromRegion();
    // A command from control `id` with notification `code` (WM_COMMAND's words).
    CommandOutcome OnCommand(int id, int code);
    // A selection dragged on the preview, in image pixels.
    void TakeSelection(double left, double top, double right, double bottom);

private:
    CommandOutcome OnOk();
    CommandOutcome OnDefaults();

    ImportDialogData &data_;
    DialogControls &controls_;
};
