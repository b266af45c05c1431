// The options dialog in the real plug-in under a window system: a host loads ioSid.dll, imports
// interactively, and another thread drives the dialog with window messages and reads it back.
#include <gtest/gtest.h>

#include <windows.h>

#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "DialogDriver.h"
#include "MemoryHost.h"
#include "PluginLibrary.h"
#include "plio/Exception.h"
#include "resources/ImportDialogIds.h"

using winhost::DialogDriver;
using winhost::MemoryHost;

namespace {

const std::wstring kFixture = L"" IOSID_DIALOG_FIXTURE; // 400 x 300, reductions to 1/4
const std::wstring kCaption = L"SID Image Import Options";
const std::wstring kCheckInputs = L"SID Import Options: Check Inputs";
constexpr DWORD kWaitMs = 60000;

enum class Outcome { Imported, Cancelled, Failed };

// Imports `kFixture` interactively on this thread while `script` drives the dialog from another.
// The script's findings are checked after both are done.
Outcome ImportDriven(MemoryHost &host, const std::function<void(const DialogDriver &)> &script) {
    winhost::PluginLibrary plugin(L"" IOSID_PLUGIN_PATH);
    EXPECT_TRUE(plugin.IsLoaded()) << plugin.GetErrorText().c_str();
    auto filter = plugin.CreateFilter(host);
    if (!filter)
        return Outcome::Failed;
    bool appeared = false;
    std::thread driver([&] {
        const HWND dialog = DialogDriver::WaitForWindow(kCaption, kWaitMs);
        appeared = dialog != nullptr;
        if (dialog)
            script(DialogDriver(dialog));
    });
    Outcome outcome = Outcome::Imported;
    try {
        filter->Import(kFixture, true);
    } catch (const plio::AbortException &) {
        outcome = Outcome::Cancelled;
    } catch (const plio::Exception &e) {
        ADD_FAILURE() << "import failed: " << std::string(e.what());
        outcome = Outcome::Failed;
    }
    driver.join();
    EXPECT_TRUE(appeared);
    return outcome;
}

winhost::ReceivedImage ImportWithOptions(const std::wstring &options) {
    MemoryHost host;
    winhost::PluginLibrary plugin(L"" IOSID_PLUGIN_PATH);
    auto filter = plugin.CreateFilter(host);
    filter->SetOptions(options);
    filter->Import(kFixture, false);
    return host.GetImage();
}

// Clicks OK expecting the check-inputs message box; returns its text after dismissing it.
std::wstring OkRefused(const DialogDriver &d) {
    d.ClickLater(IDOK);
    const HWND box = DialogDriver::WaitForWindow(kCheckInputs, kWaitMs);
    if (!box)
        return L"(no message box)";
    const std::wstring text = winhost::MessageBoxText(box);
    winhost::DismissMessageBox(box);
    return text;
}

struct Control {
    int id;
    const wchar_t *className;
    const wchar_t *text;
    DWORD style; // bits that must be set
};

TEST(ImportDialogUi, TemplateCaptionAndControls) {
    const Control controls[] = {
        {IDC_DEFAULTS, L"Button", L"&Defaults", BS_PUSHBUTTON},
        {IDCANCEL, L"Button", L"Cancel", BS_PUSHBUTTON},
        {IDOK, L"Button", L"OK", BS_DEFPUSHBUTTON | WS_GROUP},
        {IDC_NAVIGATE_LABEL, L"Static", L"Navigate and select region to import:", 0},
        {IDC_FILE_DIMENSIONS, L"Static", L"File dimensions:  400 x 300 Pixels", SS_RIGHT},
        {IDC_PREVIEW_FRAME, L"Static", L"", SS_GRAYFRAME | SS_SUNKEN},
        {IDC_REGION_GROUP, L"Button", L"&Region selected for import:  (in pixels)", BS_GROUPBOX},
        {IDC_EDIT_TOP, L"Edit", L"0", ES_AUTOHSCROLL | WS_BORDER},
        {IDC_EDIT_LEFT, L"Edit", L"0", ES_AUTOHSCROLL | WS_BORDER},
        {IDC_EDIT_RIGHT, L"Edit", L"399", ES_AUTOHSCROLL | WS_BORDER},
        {IDC_EDIT_BOTTOM, L"Edit", L"299", ES_AUTOHSCROLL | WS_BORDER},
        {IDC_TOP_LABEL, L"Static", L"Top", 0},
        {IDC_BOTTOM_LABEL, L"Static", L"Bottom", 0},
        {IDC_REGION_DIMENSIONS, L"Static", L"Region dimensions:  400 x 300 Pixels", 0},
        {IDC_REDUCTION_GROUP, L"Button", L"&Pixel reduction:", BS_GROUPBOX},
        {IDC_REDUCTION_1, L"Button", L"1/1", BS_AUTORADIOBUTTON | WS_GROUP},
        {IDC_REDUCTION_32, L"Button", L"1/32", BS_AUTORADIOBUTTON},
        {IDC_MEMORY_HINT, L"Static", L"<-- Uses more memory     Uses less memory -->", SS_CENTER},
        {IDC_QUALITY_HINT, L"Static", L" <-- Better quality     Lower quality -->", SS_CENTER},
        {IDC_FINAL_DIMENSIONS, L"Static", L"Final dimensions:  400 x 300 Pixels", 0},
        {IDC_ESTIMATED_SIZE, L"Static", L"Estimated size:  1 Megabytes", 0},
        {IDC_ON_THE_FLY, L"Button", L"&Full resolution read-only 'on-the-fly' MrSID image",
         BS_AUTOCHECKBOX},
    };
    struct Seen {
        std::wstring className, text;
        DWORD style, exStyle;
    };
    std::vector<Seen> seen;
    std::wstring caption;
    RECT client{}, expected{0, 0, 380, 300};
    bool contextHelp = false;
    MemoryHost host;
    const Outcome outcome = ImportDriven(host, [&](const DialogDriver &d) {
        caption = d.Caption();
        for (const Control &c : controls) {
            HWND control = GetDlgItem(d.GetDialog(), c.id);
            wchar_t name[64] = {};
            GetClassNameW(control, name, 64);
            seen.push_back({name, d.Text(c.id), DWORD(GetWindowLongPtrW(control, GWL_STYLE)),
                            DWORD(GetWindowLongPtrW(control, GWL_EXSTYLE))});
        }
        GetClientRect(d.GetDialog(), &client);
        MapDialogRect(d.GetDialog(), &expected);
        contextHelp = GetWindowLongPtrW(d.GetDialog(), GWL_EXSTYLE) & WS_EX_CONTEXTHELP;
        SendMessageW(d.GetDialog(), WM_SYSCOMMAND, SC_CONTEXTHELP, 0);
        d.Click(IDCANCEL);
    });
    EXPECT_EQ(outcome, Outcome::Cancelled);
    EXPECT_FALSE(host.GetImage().complete); // nothing handed over
    EXPECT_EQ(caption, kCaption + L" - dialog_fixture.tif");
    ASSERT_EQ(seen.size(), std::size(controls));
    for (size_t i = 0; i < seen.size(); ++i) {
        const Control &c = controls[i];
        EXPECT_EQ(_wcsicmp(seen[i].className.c_str(), c.className), 0) << c.id;
        EXPECT_EQ(seen[i].text, c.text) << c.id;
        const DWORD type = c.style & 0xF; // button and static kinds are values, not bits
        if (type) {
            EXPECT_EQ(seen[i].style & 0x1F, type) << c.id;
        }
        // A dialog draws an edit's border as a sunken client edge.
        DWORD style = seen[i].style;
        if (seen[i].exStyle & WS_EX_CLIENTEDGE)
            style |= WS_BORDER;
        const DWORD bits = c.style & ~DWORD(0xF);
        EXPECT_EQ(style & bits, bits) << c.id;
    }
    EXPECT_EQ(client.right, expected.right);
    EXPECT_EQ(client.bottom, expected.bottom);
    EXPECT_TRUE(contextHelp);
    EXPECT_EQ(host.GetHelpTopics(), std::vector<std::wstring>{L"Sid-Import.htm"});
}

TEST(ImportDialogUi, TypedRegionAndReductionAreImported) {
    std::vector<bool> enabled;
    std::wstring regionText, finalText, sizeText, refused, bothRefused;
    bool stayedOpen = false;
    MemoryHost host;
    const Outcome outcome = ImportDriven(host, [&](const DialogDriver &d) {
        for (int id = IDC_REDUCTION_1; id <= IDC_REDUCTION_32; ++id)
            enabled.push_back(d.IsEnabled(id));
        d.Type(IDC_EDIT_LEFT, L"40");
        d.Type(IDC_EDIT_TOP, L"30");
        d.Type(IDC_EDIT_RIGHT, L"239");
        d.Type(IDC_EDIT_BOTTOM, L"189");
        d.Click(IDC_REDUCTION_4);
        regionText = d.Text(IDC_REGION_DIMENSIONS);
        finalText = d.Text(IDC_FINAL_DIMENSIONS);
        sizeText = d.Text(IDC_ESTIMATED_SIZE);
        d.Type(IDC_EDIT_TOP, L"300.5");
        refused = OkRefused(d);
        d.Type(IDC_EDIT_LEFT, L"abc");
        d.Type(IDC_EDIT_RIGHT, L"500");
        bothRefused = OkRefused(d);
        stayedOpen = IsWindowVisible(d.GetDialog());
        d.Type(IDC_EDIT_LEFT, L"40");
        d.Type(IDC_EDIT_TOP, L"30");
        d.Type(IDC_EDIT_RIGHT, L"239");
        d.Click(IDOK);
    });
    ASSERT_EQ(outcome, Outcome::Imported);
    EXPECT_EQ(enabled, (std::vector<bool>{true, true, true, false, false, false}));
    EXPECT_EQ(regionText, L"Region dimensions:  200 x 160 Pixels");
    EXPECT_EQ(finalText, L"Final dimensions:  50 x 40 Pixels");
    EXPECT_EQ(sizeText, L"Estimated size:  1 Megabytes");
    EXPECT_EQ(
        refused,
        L"Upper-left Y is outside of the image.\n\nPlease change the input(s) and try again.");
    EXPECT_EQ(bothRefused,
              L"Lower-right X is outside of the image.\n\nPlease change the input(s) and try "
              L"again.");
    EXPECT_TRUE(stayedOpen);
    const winhost::ReceivedImage &image = host.GetImage();
    EXPECT_TRUE(image.complete);
    EXPECT_EQ(image.layout.width, 50u);
    EXPECT_EQ(image.layout.height, 40u);
    const winhost::ReceivedImage direct =
        ImportWithOptions(L"Defaults=1;ULX=40;ULY=30;LRX=239;LRY=189;Scale=4");
    EXPECT_EQ(direct.layout.width, 50u);
    EXPECT_TRUE(image.pixels == direct.pixels) << "interactive and direct imports differ";
}

// Regions of the drags below, read back from the edits: left, top, right, bottom.
using Region = std::vector<double>;

Region EditRegion(const DialogDriver &d) {
    Region r;
    for (int id : {IDC_EDIT_LEFT, IDC_EDIT_TOP, IDC_EDIT_RIGHT, IDC_EDIT_BOTTOM})
        r.push_back(_wtof(d.Text(id).c_str()));
    return r;
}

TEST(ImportDialogUi, DraggingSelectsPansAndZooms) {
    Region first, leftOfImage, zoomed, panned;
    LONG dragWidth = 0, panStep = 0;
    MemoryHost host;
    const Outcome outcome = ImportDriven(host, [&](const DialogDriver &d) {
        d.ParkCursor();
        const RECT area = d.PreviewArea();
        const auto at = [&](LONG x, LONG y) { return POINT{area.left + x, area.top + y}; };
        const POINT centre = d.PreviewPoint(0.5, 0.5);
        const POINT from{centre.x - 30, centre.y - 20}, to{centre.x + 10, centre.y + 15};
        dragWidth = to.x - from.x;
        d.ClickAt(at(6 + 12, 125 + 11)); // select tool
        d.Drag(from, to);
        first = EditRegion(d);
        d.Drag(at(40, 40), at(60, 60)); // far left of the fitted image: ignored
        leftOfImage = EditRegion(d);
        d.ClickAt(at(6 + 11, 6 + 11)); // zoom in
        d.Drag(from, to);
        zoomed = EditRegion(d);
        panStep = 12;
        d.ClickAt(at(6 + 12, 98 + 11)); // pan tool
        d.Drag(centre, POINT{centre.x + panStep, centre.y});
        d.ClickAt(at(6 + 12, 125 + 11));
        d.Drag(from, to);
        panned = EditRegion(d);
        d.Click(IDOK);
    });
    ASSERT_EQ(outcome, Outcome::Imported);
    // The fitted zoom is a power of two; one zoom step halves it; a pan by n screen pixels
    // moves the same drag by n x zoom image pixels the other way.
    const double zoom = (first[2] - first[0]) / dragWidth;
    EXPECT_GE(zoom, 1.0);
    EXPECT_EQ(zoom, std::exp2(std::round(std::log2(zoom)))) << zoom;
    EXPECT_EQ(leftOfImage, first);
    EXPECT_EQ(zoomed[2] - zoomed[0], (first[2] - first[0]) / 2);
    EXPECT_EQ(panned[0], zoomed[0] - panStep * zoom / 2);
    EXPECT_EQ(panned[1], zoomed[1]);
    const winhost::ReceivedImage &image = host.GetImage();
    EXPECT_EQ(image.layout.width, uint32_t(panned[2]) - uint32_t(panned[0]) + 1);
    EXPECT_EQ(image.layout.height, uint32_t(panned[3]) - uint32_t(panned[1]) + 1);
    std::wstring options = L"Defaults=1;Scale=1";
    const wchar_t *names[] = {L"ULX", L"ULY", L"LRX", L"LRY"};
    for (int i = 0; i < 4; ++i)
        options += L";" + std::wstring(names[i]) + L"=" + std::to_wstring(uint32_t(panned[i]));
    EXPECT_TRUE(image.pixels == ImportWithOptions(options).pixels)
        << "the dragged region differs from its direct import";
}

TEST(ImportDialogUi, OnTheFlyAndDefaults) {
    std::vector<std::wstring> linkedTexts, defaultsEdits;
    std::vector<bool> linkedEnabled, defaultsState;
    MemoryHost host;
    const Outcome outcome = ImportDriven(host, [&](const DialogDriver &d) {
        d.Type(IDC_EDIT_LEFT, L"100");
        d.Click(IDC_REDUCTION_2);
        d.Click(IDC_ON_THE_FLY);
        for (int id : {IDC_REGION_DIMENSIONS, IDC_FINAL_DIMENSIONS, IDC_ESTIMATED_SIZE})
            linkedTexts.push_back(d.Text(id));
        for (int id : {IDC_REDUCTION_1, IDC_REDUCTION_2, IDC_EDIT_LEFT, IDC_ON_THE_FLY, IDOK})
            linkedEnabled.push_back(d.IsEnabled(id));
        d.Click(IDC_DEFAULTS);
        for (int id : {IDC_EDIT_LEFT, IDC_EDIT_TOP, IDC_EDIT_RIGHT, IDC_EDIT_BOTTOM})
            defaultsEdits.push_back(d.Text(id));
        defaultsState = {d.IsChecked(IDC_ON_THE_FLY), d.IsChecked(IDC_REDUCTION_1),
                         d.IsChecked(IDC_REDUCTION_2), d.IsEnabled(IDC_EDIT_LEFT)};
        d.Click(IDC_ON_THE_FLY);
        d.Click(IDOK);
    });
    ASSERT_EQ(outcome, Outcome::Imported);
    EXPECT_EQ(linkedTexts,
              (std::vector<std::wstring>{L"Region dimensions:  ---", L"Final dimensions:  ---",
                                         L"Estimated size:  ---"}));
    EXPECT_EQ(linkedEnabled, (std::vector<bool>{false, false, false, true, true}));
    EXPECT_EQ(defaultsEdits, (std::vector<std::wstring>{L"0", L"0", L"399", L"299"}));
    EXPECT_EQ(defaultsState, (std::vector<bool>{false, true, false, true}));
    EXPECT_TRUE(host.GetImage().linked);
    EXPECT_EQ(host.GetImage().linkedWidth, 400u);
    EXPECT_EQ(host.GetImage().linkedHeight, 300u);
}

} // namespace
