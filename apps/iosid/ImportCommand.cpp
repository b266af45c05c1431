// iosid import: loads the plug-in, hands it the options the flags make, imports one file and
// writes what the host received.
#include "Command.h"
#include "HostManager.h"
#include "PluginLibrary.h"

#include "gcs/GCSDef.h"
#include "plio/Exception.h"
#include "shr/Strings.h"

#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <sstream>

namespace iosid {
namespace {

struct ImportRequest {
    std::string input, output, options, region, settings, plugin, compress = "none";
    std::optional<unsigned> scale, format;
    bool defaults = false, forget = false, linked = false, interactive = false;
    bool json = false, quiet = false;
};

// The option string: --options first, so the flags that follow win.
std::string OptionString(const ImportRequest &r) {
    std::string text = r.options;
    const auto add = [&text](const std::string &pair) { text += (text.empty() ? "" : ";") + pair; };
    if (r.defaults)
        add("Defaults=1");
    if (r.forget)
        add("ForgetOptions=1");
    if (r.scale)
        add("Scale=" + std::to_string(*r.scale));
    if (r.format)
        add("Format=" + std::to_string(*r.format));
    if (!r.region.empty()) {
        std::stringstream in(r.region);
        std::string part;
        for (const char *name : {"ULX", "ULY", "LRX", "LRY"})
            if (std::getline(in, part, ','))
                add(std::string(name) + "=" + part);
    }
    return text;
}

bool ValidRegion(const std::string &text) {
    std::stringstream in(text);
    std::string part;
    int count = 0;
    while (std::getline(in, part, ','))
        if (++count > 4 || part.empty() || part.size() > 10 ||
            part.find_first_not_of("0123456789") != std::string::npos ||
            std::stoull(part) > 0xFFFFFFFFull)
            return false;
    return count == 4;
}

unsigned BitsOf(shr::ColorFormat format) {
    switch (format) {
    case shr::ColorFormatBilevel:
        return 1;
    case shr::ColorFormatGray4:
        return 4;
    case shr::ColorFormatGray8:
        return 8;
    case shr::ColorFormatBgr24:
        return 24;
    default:
        return 32;
    }
}

// The reduction the image came out at: the one the filter saved when it fits the output size,
// else the smallest power of two that does (a refused scale reads at full resolution).
// The region is the one the filter saved for the run; a region it did not save (one pixel wide
// or high) was not used, so the import read the whole file, whose size the filter then tells.
unsigned ScaleUsed(const host::SettingsStore &settings, plio::IoImportFilter &filter,
                   const std::wstring &input, const HostManager::Result &result) {
    const char *names[] = {"ULX", "ULY", "LRX", "LRY"};
    bool stored = true;
    unsigned region[4];
    for (int i = 0; i < 4; ++i)
        stored = settings.Get(names[i], region[i], false) && stored;
    if (!stored) {
        const plio::ImportFileInfo info = filter.GetFileInfo(true, input);
        const auto dimension = [&info](const wchar_t *name) {
            const boost::any *value = info.Find(name);
            const int *number = value ? boost::any_cast<int>(value) : nullptr;
            return number ? static_cast<unsigned>(*number) : 0u;
        };
        region[0] = region[1] = 0;
        region[2] = dimension(L"Image Width") - 1;
        region[3] = dimension(L"Image Height") - 1;
    }
    const uint64_t w = uint64_t{region[2]} - region[0] + 1, h = uint64_t{region[3]} - region[1] + 1;
    const auto fits = [&](uint64_t s) { return w / s == result.width && h / s == result.height; };
    unsigned saved = 0;
    if (settings.Get("Scale", saved, true) && saved != 0 && (saved & (saved - 1)) == 0 &&
        fits(saved))
        return saved;
    for (unsigned s = 1; s <= 16384; s *= 2)
        if (fits(s))
            return s;
    return 0;
}

std::string SystemText(const gcs::CSDef *system, nlohmann::ordered_json &json) {
    if (!system) {
        json = nullptr;
        return "none (pixel space)";
    }
    if (system->GetType() != gcs::CSType::Georeferenced) {
        json = {{"type", "unreferenced"}};
        return "unreferenced (a warp only)";
    }
    const auto &gcsDef = static_cast<const gcs::GCSDef &>(*system);
    const std::string name = shr::WtoA(gcsDef.GetName());
    json = {{"type", "georeferenced"}, {"epsg", gcsDef.GetPOSC()}, {"name", name}};
    return gcsDef.GetPOSC() ? "EPSG:" + std::to_string(gcsDef.GetPOSC()) + " " + name : name;
}

void SignalCancel(int) { HostManager::CancelRequested().store(true); }

int Report(const ImportRequest &r, const HostManager::Result &result, unsigned scaleUsed) {
    const unsigned bits = BitsOf(result.format);
    if (r.scale && *r.scale != scaleUsed && !r.linked)
        std::fprintf(stderr, "iosid import: scale %u is not offered by this file; used %u\n",
                     *r.scale, scaleUsed);
    if (r.format && *r.format != bits)
        std::fprintf(stderr, "iosid import: format %u was asked; the image came as %u bits\n",
                     *r.format, bits);
    nlohmann::ordered_json system;
    const std::string systemText = SystemText(result.system.get(), system);
    if (r.json) {
        nlohmann::ordered_json out = {{"file", r.input},         {"output", r.output},
                                      {"width", result.width},   {"height", result.height},
                                      {"bitsPerPixel", bits},    {"scale", scaleUsed},
                                      {"linked", result.linked}, {"coordinateSystem", system}};
        if (r.scale)
            out["scaleAsked"] = *r.scale;
        std::printf("%s\n",
                    out.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    } else if (!r.quiet) {
        std::printf("output: %s, %u x %u, %u bits per pixel%s\n", r.output.c_str(), result.width,
                    result.height, bits, result.linked ? ", linked at full resolution" : "");
        std::printf("scale: %u\ncoordinate system: %s\n", scaleUsed, systemText.c_str());
    }
    return 0;
}

int RunImport(const ImportRequest &r) {
    if (!r.region.empty() && !ValidRegion(r.region)) {
        std::fprintf(stderr, "iosid import: --region takes L,T,R,B (four whole numbers)\n");
        return kExitUsage;
    }
    host::CheckOutputWritable(r.output);
    host::SettingsStore settings(r.settings.empty() ? host::SettingsStore::DefaultPath()
                                                    : r.settings);
    if (const std::string warning = settings.Load(); !warning.empty())
        std::fprintf(stderr, "iosid import: %s\n", warning.c_str());
    const host::ImageWriterOptions::Compression compressions[] = {
        host::ImageWriterOptions::Compression::None, host::ImageWriterOptions::Compression::Lzw,
        host::ImageWriterOptions::Compression::Deflate};
    host::ImageWriterOptions writerOptions;
    writerOptions.compression = compressions[r.compress == "lzw"       ? 1
                                             : r.compress == "deflate" ? 2
                                                                       : 0];

    PluginLibrary library(r.plugin.empty() ? PluginLibrary::DefaultPath() : r.plugin);
    HostManager manager(settings, r.quiet);
    manager.SetOutput(r.output, writerOptions);
    manager.AnswerDialogLinked(r.linked);
    auto filter = library.CreateFilter(manager);
    const std::wstring input = shr::AtoW(r.input);
    std::signal(SIGINT, SignalCancel);
    try {
        filter->SetOptions(shr::AtoW(OptionString(r)));
        filter->Import(input, r.interactive || r.linked);
    } catch (const plio::AbortException &) {
        std::fprintf(stderr, "iosid import: cancelled\n");
        return kExitCancelled;
    } catch (const plio::Exception &e) {
        std::fprintf(stderr, "%s\n", shr::WtoA(e.GetMessage()).c_str());
        return kExitFailure;
    }
    std::signal(SIGINT, SIG_DFL);
    if (!manager.GetResult().written) {
        std::fprintf(stderr, "iosid import: the plug-in handed over no image\n");
        return kExitFailure;
    }
    settings.Save();
    const unsigned scaleUsed =
        manager.GetResult().linked ? 1 : ScaleUsed(settings, *filter, input, manager.GetResult());
    return Report(r, manager.GetResult(), scaleUsed);
}

std::function<int()> DefineImport(CLI::App &app) {
    auto r = std::make_shared<ImportRequest>();
    app.add_option("FILE", r->input, "image file")->required();
    app.add_option("-o,--output", r->output, "output: .tif (GeoTIFF), .png or .raw")->required();
    app.add_option("--options", r->options, "option string, such as \"Scale=4;Format=24\"");
    app.add_option("--scale", r->scale, "reduction, a power of two (Scale=)");
    app.add_option("--region", r->region, "full-resolution pixels L,T,R,B, inclusive (ULX=...)");
    app.add_option("--format", r->format, "bits per pixel (Format=)")
        ->check(CLI::IsMember({1, 4, 8, 24, 32}));
    app.add_flag("--defaults", r->defaults, "start from the defaults, not the stored options");
    app.add_flag("--forget", r->forget, "keep this run's options out of the settings file");
    app.add_flag("--linked", r->linked,
                 "write the whole file at full resolution from the "
                 "cached bitmap");
    app.add_flag("--interactive", r->interactive, "show the options dialog (Windows build)");
    app.add_option("--settings", r->settings, "settings file (default: the user's one)");
    app.add_option("--compress", r->compress, "GeoTIFF compression")
        ->check(CLI::IsMember({"none", "lzw", "deflate"}));
    app.add_option("--plugin", r->plugin, "the plug-in library (default: beside iosid)");
    app.add_flag("--json", r->json, "print the summary as JSON");
    app.add_flag("-q,--quiet", r->quiet, "no progress bar, no summary");
    return [r] { return RunImport(*r); };
}

const RegisterCommand kImport({"import", "import an image through the ioSid plug-in",
                               DefineImport});

} // namespace
} // namespace iosid
