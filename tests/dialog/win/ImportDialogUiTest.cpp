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
    DWORD kind; // button and static kinds are values, not bits; 0: not checked
};

TEST(ImportDialogUi, TemplateCaptionAndControls) {
    const Control controls[] = {
        {IDC_DEFAULTS, L"Button", L"&Defaults", BS_PUSHBUTTON},
        {IDCANCEL, L"Button", L"Cancel", BS_PUSHBUTTON},
        {IDOK, L"Button", L"OK", BS_DEFPUSHBUTTON},
        {IDC_FILE_DIMENSIONS, L"Static", L"File dimensions:  400 x 300 Pixels", SS_RIGHT},
        {IDC_PREVIEW_FRAME, L"Static", L"", SS_GRAYFRAME},
        {IDC_REGION_GROUP, L"Button", L"&Region selected for import:  (in pixels)", BS_GROUPBOX},
        {IDC_EDIT_LEFT, L"Edit", L"0", 0},
        {IDC_EDIT_BOTTOM, L"Edit", L"299", 0},
        {IDC_REDUCTION_1, L"Button", L"1/1", BS_AUTORADIOBUTTON},
        {IDC_QUALITY_HINT, L"Static", L" <-- Better quality     Lower quality -->", SS_CENTER},
        {IDC_FINAL_DIMENSIONS, L"Static", L"Final dimensions:  400 x 300 Pixels", 0},
        {IDC_ON_THE_FLY, L"Button", L"&Full resolution read-only 'on-the-fly' MrSID image",
         BS_AUTOCHECKBOX},
    };
    struct Seen {
        std::wstring className, text;
        DWORD style;
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
            seen.push_back({name, d.Text(c.id), DWORD(GetWindowLongPtrW(control, GWL_STYLE))});
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
        EXPECT_EQ(c.kind ? seen[i].style & 0x1F : 0, c.kind) << c.id;
    }
    EXPECT_EQ(client.right, expected.right);
    EXPECT_EQ(client.bottom, expected.bottom);
    EXPECT_TRUE(contextHelp);
    EXPECT_EQ(host.GetHelpTopics(), std::vector<std::wstring>{L"Sid-Import.htm"});
}

TEST(ImportDialogUi, TypedRegionAndReductionAreImported) {
    std::vector<bool> enabled;
    std::wstring finalText, refused;
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
        finalText = d.Text(IDC_FINAL_DIMENSIONS);
        d.Type(IDC_EDIT_LEFT, L"abc");
        d.Type(IDC_EDIT_RIGHT, L"500");
        refused = OkRefused(d); // the last failing check is the one shown
        stayedOpen = IsWindowVisible(d.GetDialog());
        d.Type(IDC_EDIT_LEFT, L"40");
        d.Type(IDC_EDIT_RIGHT, L"239");
        d.Click(IDOK);
    });
    ASSERT_EQ(outcome, Outcome::Imported);
    EXPECT_EQ(enabled, (std::vector<bool>{true, true, true, false, false, false}));
    EXPECT_EQ(finalText, L"Final dimensions:  50 x 40 Pixels");
    EXPECT_EQ(refused,
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

TEST(ImportDialogUi, DraggingSelects) {
    std::vector<double> region; // read back from the edits
    LONG dragWidth = 0;
    MemoryHost host;
    const Outcome outcome = ImportDriven(host, [&](const DialogDriver &d) {
        d.ParkCursor();
        const RECT area = d.PreviewArea();
        const POINT centre = d.PreviewPoint(0.5, 0.5);
        const POINT from{centre.x - 30, centre.y - 20}, to{centre.x + 10, centre.y + 15};
        dragWidth = to.x - from.x;
        d.ClickAt(POINT{area.left + 6 + 12, area.top + 125 + 11}); // select tool
        d.Drag(from, to);
        for (int id : {IDC_EDIT_LEFT, IDC_EDIT_TOP, IDC_EDIT_RIGHT, IDC_EDIT_BOTTOM})
            region.push_back(_wtof(d.Text(id).c_str()));
        d.Click(IDOK);
    });
    ASSERT_EQ(outcome, Outcome::Imported);
    // The fitted zoom is a power of two.
    const double zoom = (region[2] - region[0]) / dragWidth;
    EXPECT_GE(zoom, 1.0);
    EXPECT_EQ(zoom, std::exp2(std::round(std::log2(zoom)))) << zoom;
    const winhost::ReceivedImage &image = host.GetImage();
    EXPECT_EQ(image.layout.width, uint32_t(region[2]) - uint32_t(region[0]) + 1);
    EXPECT_EQ(image.layout.height, uint32_t(region[3]) - uint32_t(region[1]) + 1);
    std::wstring options = L"Defaults=1;Scale=1";
    const wchar_t *names[] = {L"ULX", L"ULY", L"LRX", L"LRY"};
    for (int i = 0; i < 4; ++i)
        options += L";" + std::wstring(names[i]) + L"=" + std::to_wstring(uint32_t(region[i]));
    EXPECT_TRUE(image.pixels == ImportWithOptions(options).pixels)
        << "the dragged region differs from its direct import";
}

} // namespace
