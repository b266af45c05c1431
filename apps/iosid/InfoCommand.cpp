// iosid info: the plug-in's file-information table for one file.
#include "Command.h"
#include "HostManager.h"
#include "PluginLibrary.h"

#include "shr/Strings.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace iosid {
namespace {

struct InfoRequest {
    std::string input, plugin, settings;
    bool json = false;
};

int RunInfo(const InfoRequest &r) {
    PluginLibrary library(r.plugin.empty() ? PluginLibrary::DefaultPath() : r.plugin);
    host::SettingsStore settings(r.settings.empty() ? host::SettingsStore::DefaultPath()
                                                    : r.settings);
    HostManager manager(settings, true);
    auto filter = library.CreateFilter(manager);
    const plio::ImportFileInfo info = filter->GetFileInfo(true, shr::AtoW(r.input));
    if (info.empty()) {
        std::fprintf(stderr, "iosid info: %s: the plug-in cannot read this file\n",
                     r.input.c_str());
        return kExitFailure;
    }
    nlohmann::ordered_json rows = nlohmann::ordered_json::object();
    for (const auto &[name, value] : info) {
        const std::string key = shr::WtoA(name);
        if (const int *number = boost::any_cast<int>(&value))
            rows[key] = *number;
        else
            rows[key] = shr::WtoA(plio::FileInfoValueText(value));
        if (!r.json)
            std::printf("%s: %s\n", key.c_str(), shr::WtoA(plio::FileInfoValueText(value)).c_str());
    }
    if (r.json) {
        const nlohmann::ordered_json out = {{"file", r.input}, {"info", rows}};
        std::printf("%s\n",
                    out.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
    }
    return 0;
}

std::function<int()> DefineInfo(CLI::App &app) {
    auto r = std::make_shared<InfoRequest>();
    app.add_option("FILE", r->input, "image file")->required();
    app.add_option("--plugin", r->plugin, "the plug-in library (default: beside iosid)");
    app.add_option("--settings", r->settings, "settings file (default: the user's one)");
    app.add_flag("--json", r->json, "print JSON");
    return [r] { return RunInfo(*r); };
}

const RegisterCommand kInfo({"info", "the plug-in's information table for a file", DefineInfo});

} // namespace
} // namespace iosid
