// The import options dialog's rules against a table of controls: parsing, read-outs,
// validation messages and clamping, enabling and commands.
#include <gtest/gtest.h>

#include <map>

#include "ImportDialogForm.h"
#include "resources/ImportDialogIds.h"

namespace {

// Controls as a table; absent ids read unchecked and empty, as the Win32 calls do.
class TableControls : public DialogControls {
public:
    bool IsChecked(int id) const override { return checked.count(id) && checked.at(id); }
    void SetChecked(int id, bool c) override { checked[id] = c; }
    std::wstring GetText(int id) const override { return text.count(id) ? text.at(id) : L""; }
    void SetText(int id, const std::wstring &t) override { text[id] = t; }
    void Enable(int id, bool e) override { enabled[id] = e; }
    std::map<int, bool> checked, enabled;
    std::map<int, std::wstring> text;
};

ImportDialogData Image(uint32_t width, uint32_t height, uint32_t maxScale = 32) {
    ImportDialogData d;
    d.imageWidth = width, d.imageHeight = height, d.maxScale = maxScale;
    return d;
}

TEST(ImportDialogForm, ParsesEditNumbers) {
    const struct {
        std::wstring text;
        bool ok;
        double value;
    } cases[] = {{L"  7.5", true, 7.5},
                 {L"12abc", true, 12},
                 {L"abc", false, 0},
                 {L"1e999", false, 0},
                 {L"1" + std::wstring(48, L'0') + L"5", true, 1e48}};
    for (const auto &c : cases) {
        double value = -99;
        EXPECT_EQ(ParseDialogNumber(c.text, value), c.ok) << c.text.c_str();
        EXPECT_DOUBLE_EQ(value, c.value) << c.text.c_str();
    }
    double value = 0;
    EXPECT_FALSE(ParseDialogNumber(L"inf", value) || ParseDialogNumber(L"nan", value));
    EXPECT_EQ(FormatDialogNumber(1234567.0), L"1.23457E+06");
    EXPECT_EQ(FormatDialogNumber(99.0), L"99");
}

TEST(ImportDialogForm, ComposesReadouts) {
    const struct {
        uint32_t width, height, scale;
        double region[4];
        const wchar_t *region_text, *final_text, *size_text;
    } cases[] = {
        // clang-format off
        {100, 100, 32, {0, 0, 9, 9}, L"Region dimensions:  10 x 10 Pixels",
         L"Final dimensions:  1 x 1 Pixels", L"Estimated size:  1 Megabytes"},
        {10000, 8000, 1, {0, 0, 9999, 7999}, L"Region dimensions:  10000 x 8000 Pixels",
         L"Final dimensions:  10000 x 8000 Pixels", L"Estimated size:  305 Megabytes"},
        {100, 100, 2, {0.5, 0, 10.25, 4}, L"Region dimensions:  10.75 x 5 Pixels",
         L"Final dimensions:  5 x 2 Pixels", L"Estimated size:  1 Megabytes"},
        // clang-format on
    };
    for (const auto &c : cases) {
        ImportDialogData d = Image(c.width, c.height);
        d.scale = c.scale;
        d.left = c.region[0], d.top = c.region[1], d.right = c.region[2], d.bottom = c.region[3];
        const ImportDialogReadouts r = ComposeReadouts(d);
        EXPECT_EQ(r.region, c.region_text);
        EXPECT_EQ(r.final, c.final_text);
        EXPECT_EQ(r.size, c.size_text);
    }
    EXPECT_EQ(ComposeReadouts(Image(640, 480)).file, L"File dimensions:  640 x 480 Pixels");
    EXPECT_EQ(DialogCaption(L"Options", L"C:\\maps\\v2.city.sid"), L"Options - v2.city.sid");
}

TEST(ImportDialogForm, ValidationKeepsTheLastFailingMessage) {
    const struct {
        const wchar_t *edits[4];
        int radio;
        const wchar_t *message; // empty when valid
        double region[4];
    } cases[] = {
        // clang-format off
        {{L"10", L"5", L"60", L"40"}, IDC_REDUCTION_8, L"", {10, 5, 60, 40}},
        {{L"0", L"0", L"0", L"0"}, 0, L"", {0, 0, 99, 49}}, // all zero: the whole image
        {{L"abc", L"5", L"150", L"40"}, 0,
         L"Lower-right X is outside of the image.", {0, 5, 99, 40}},
        {{L"100", L"5", L"100", L"40"}, 0, L"Selected region has no width.", {99, 5, 99, 40}},
        {{L"100", L"5", L"50", L"40"}, 0, L"", {50, 5, 99, 40}},
        {{L"10", L"5", L"60", L"51"}, 0,
         L"Lower-right Y is outside of the image.", {10, 5, 60, 49}},
        // clang-format on
    };
    for (const auto &c : cases) {
        ImportDialogData d = Image(100, 50);
        TableControls controls;
        for (int i = 0; i < 4; ++i)
            controls.text[IDC_EDIT_LEFT + i] = c.edits[i];
        if (c.radio)
            controls.checked[c.radio] = true;
        std::wstring message;
        const bool valid = ImportDialogForm(d, controls).ValidateInputs(&message);
        EXPECT_EQ(valid, std::wstring(c.message).empty()) << c.message;
        EXPECT_EQ(message, c.message);
        EXPECT_EQ((std::vector<double>{d.left, d.top, d.right, d.bottom}),
                  (std::vector<double>(c.region, c.region + 4)))
            << c.message;
        EXPECT_EQ(d.formatChoice, 4u);
        EXPECT_EQ(d.scale, c.radio ? 8u : 1u);
    }
}

TEST(ImportDialogForm, Commands) {
    ImportDialogData d = Image(100, 50, 4);
    TableControls controls;
    ImportDialogForm form(d, controls);
    d.left = 10, d.top = 5, d.right = 60, d.bottom = 40, d.scale = 4;
    form.SetControlsFromData();
    EXPECT_TRUE(controls.IsChecked(IDC_REDUCTION_4));

    // OK with a bad edit shows the message and stays open; fixed, it ends with 1.
    controls.text[IDC_EDIT_LEFT] = L"abc";
    CommandOutcome out = form.OnCommand(1, 0);
    EXPECT_EQ(out.endWith, 0);
    EXPECT_EQ(out.message, L"Upper-left X must contain a valid number.\n\n"
                           L"Please change the input(s) and try again.");
    controls.text[IDC_EDIT_LEFT] = L"20";
    EXPECT_EQ(form.OnCommand(1, 0).endWith, 1);
    EXPECT_EQ(d.left, 20);

    // On-the-fly: dashes, region controls off; unchecked again: back.
    controls.checked[IDC_ON_THE_FLY] = true;
    EXPECT_TRUE(form.OnCommand(IDC_ON_THE_FLY, 0).repaint);
    EXPECT_TRUE(d.linked);
    EXPECT_EQ(controls.text[IDC_FINAL_DIMENSIONS], L"Final dimensions:  ---");
    EXPECT_EQ(controls.text[IDC_ESTIMATED_SIZE], L"Estimated size:  ---");
    EXPECT_FALSE(controls.enabled[IDC_REDUCTION_1]);
    EXPECT_FALSE(controls.enabled[IDC_EDIT_TOP]);
    controls.checked[IDC_ON_THE_FLY] = false;
    form.OnCommand(IDC_ON_THE_FLY, 0);
    EXPECT_TRUE(controls.enabled[IDC_REDUCTION_4]);
    EXPECT_FALSE(controls.enabled[IDC_REDUCTION_8]);

    // A reduction radio re-reads, clamps and rewrites the edits.
    controls.text[IDC_EDIT_RIGHT] = L"100";
    controls.checked[IDC_REDUCTION_2] = true;
    EXPECT_TRUE(form.OnCommand(IDC_REDUCTION_2, 0).selectionChanged);
    EXPECT_EQ(d.scale, 4u);
    EXPECT_EQ(controls.text[IDC_EDIT_RIGHT], L"99");
    EXPECT_EQ(controls.text[IDC_FINAL_DIMENSIONS], L"Final dimensions:  20 x 9 Pixels");

    // Edits: ignored while initialising; losing focus clamps the data but not the edit.
    controls.text[IDC_EDIT_BOTTOM] = L"70";
    d.initialising = true;
    EXPECT_FALSE(form.OnCommand(IDC_EDIT_BOTTOM, 0x0200).repaint);
    EXPECT_EQ(d.bottom, 40);
    d.initialising = false;
    EXPECT_TRUE(form.OnCommand(IDC_EDIT_BOTTOM, 0x0200).repaint);
    EXPECT_EQ(d.bottom, 49);
    EXPECT_EQ(controls.text[IDC_EDIT_BOTTOM], L"70");

    // Defaults: whole image, 1/1, not linked, fit and focus OK.
    d.linked = true;
    out = form.OnCommand(IDC_DEFAULTS, 0);
    EXPECT_TRUE(out.zoomToFit && out.focusOk && out.selectionChanged);
    EXPECT_FALSE(d.linked);
    EXPECT_EQ(d.scale, 1u);
    EXPECT_FALSE(controls.IsChecked(IDC_REDUCTION_2));
    EXPECT_EQ(controls.text[IDC_EDIT_BOTTOM], L"49");
}

} // namespace
