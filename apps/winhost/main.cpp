// iosidwin: the Windows test host. It loads ioSid.dll by path, imports a file through the
// plug-in's one export (interactively with the options dialog, or with an option string), and
// writes what the host received. --pose drives the dialog into a state worth photographing.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "DialogDriver.h"
#include "MemoryHost.h"
#include "PluginLibrary.h"
#include "plio/Exception.h"
#include "shr/Strings.h"

namespace {

constexpr int kUsage = 64, kFailed = 1, kCancelled = 2;
constexpr int kOnTheFly = 4000;

struct Arguments {
    std::wstring file, options, out, pose, plugin;
    bool interactive = false;
    int holdSeconds = 5;
};

int Usage() {
    std::fprintf(stderr,
                 "usage: iosidwin import FILE [--interactive] [--options TEXT] [--out RAW]\n"
                 "                [--pose region|on-the-fly] [--hold SECONDS] [--plugin DLL]\n");
    return kUsage;
}

bool Parse(int argc, wchar_t **argv, Arguments &a) {
    if (argc < 3 || std::wstring(argv[1]) != L"import")
        return false;
    a.file = argv[2];
    for (int i = 3; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == L"--interactive")
            a.interactive = true;
        else if (arg == L"--options" && hasValue)
            a.options = argv[++i];
        else if (arg == L"--out" && hasValue)
            a.out = argv[++i];
        else if (arg == L"--pose" && hasValue)
            a.pose = argv[++i];
        else if (arg == L"--hold" && hasValue)
            a.holdSeconds = _wtoi(argv[++i]);
        else if (arg == L"--plugin" && hasValue)
            a.plugin = argv[++i];
        else
            return false;
    }
    return a.pose.empty() || a.pose == L"region" || a.pose == L"on-the-fly";
}

// Selects a region by dragging on the preview, optionally links the file, rests the mouse on
// the preview so the read-out shows, holds the pose, then cancels.
void Pose(const std::wstring &pose, int holdSeconds) {
    const HWND dialog = winhost::DialogDriver::WaitForWindow(L"SID Image Import Options", 30000);
    if (!dialog) {
        std::fprintf(stderr, "pose: the dialog did not appear\n");
        return;
    }
    const winhost::DialogDriver driver(dialog);
    driver.ParkCursor();
    const RECT area = driver.PreviewArea();
    driver.ClickAt({area.left + 6 + 12, area.top + 125 + 11}); // the select tool
    driver.Drag(driver.PreviewPoint(0.40, 0.28), driver.PreviewPoint(0.62, 0.72));
    if (pose == L"on-the-fly")
        driver.Click(kOnTheFly);
    driver.PlaceCursor(driver.PreviewPoint(0.52, 0.50));
    std::printf("READY\n");
    std::fflush(stdout);
    Sleep(static_cast<DWORD>(holdSeconds) * 1000);
    driver.ClickLater(IDCANCEL);
}

void Report(const winhost::MemoryHost &host, const std::wstring &out) {
    const winhost::ReceivedImage &image = host.GetImage();
    if (image.linked) {
        std::printf("linked %ux%u\n", image.linkedWidth, image.linkedHeight);
        return;
    }
    std::printf("image %ux%u format %d row %zu bytes%s, coordinate systems %d\n",
                image.layout.width, image.layout.height, int(image.layout.format),
                image.layout.rowBytes, image.complete ? "" : " (incomplete)",
                host.GetCoordinateSystemCount());
    if (out.empty())
        return;
    if (FILE *f = _wfopen(out.c_str(), L"wb")) {
        std::fwrite(image.pixels.data(), 1, image.pixels.size(), f);
        std::fclose(f);
    }
}

int Run(const Arguments &a) {
    winhost::PluginLibrary plugin(a.plugin.empty() ? winhost::PluginBesideProgram() : a.plugin);
    if (!plugin.IsLoaded()) {
        std::fprintf(stderr, "iosidwin: %s\n", shr::WtoA(plugin.GetErrorText()).c_str());
        return kFailed;
    }
    winhost::MemoryHost host;
    std::unique_ptr<plio::IoImportFilter> filter = plugin.CreateFilter(host);
    std::thread poser;
    if (!a.pose.empty())
        poser = std::thread(Pose, a.pose, a.holdSeconds);
    int status = 0;
    try {
        if (!a.options.empty())
            filter->SetOptions(a.options);
        filter->Import(a.file, a.interactive);
        Report(host, a.out);
    } catch (const plio::AbortException &) {
        std::printf("cancelled\n");
        status = kCancelled;
    } catch (const plio::Exception &e) {
        std::fprintf(stderr, "iosidwin: %s\n", shr::WtoA(e.GetMessage()).c_str());
        status = kFailed;
    }
    if (poser.joinable())
        poser.join();
    filter.reset(); // before the library goes
    return status;
}

} // namespace

int wmain(int argc, wchar_t **argv) {
    Arguments arguments;
    if (!Parse(argc, argv, arguments))
        return Usage();
    return Run(arguments);
}
