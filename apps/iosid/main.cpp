// iosid: parses the command line with CLI11 and runs the chosen subcommand.
#include "Command.h"

#include "Subsystems/TiffImage/TiffLog.h"
#include "engines/OpenEngines.h"
#include "shr/Log.h"
#include "shr/Strings.h"
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>

namespace iosid {

std::vector<Command> &Commands() {
    static std::vector<Command> commands;
    return commands;
}

std::string JsonEscape(const std::string &text) {
    const std::string quoted =
        nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return quoted.substr(1, quoted.size() - 2);
}

} // namespace iosid

int main(int argc, char **argv) {
    CLI::App app("iosid: reads MrSID-family and TIFF images through the ioSid plug-in and its "
                 "libraries",
                 "iosid");
    app.require_subcommand(1);
    app.allow_windows_style_options(false); // "/path/file" is a file, not an option
    auto commands = iosid::Commands();
    std::sort(commands.begin(), commands.end(),
              [](const auto &a, const auto &b) { return a.name < b.name; });
    std::vector<std::pair<CLI::App *, std::function<int()>>> runners;
    for (const auto &command : commands) {
        CLI::App *sub = app.add_subcommand(command.name, command.description);
        runners.emplace_back(sub, command.define(*sub));
    }
    // A misspelt command would otherwise read as a stray argument.
    if (argc >= 2 && argv[1][0] != '-' &&
        std::none_of(commands.begin(), commands.end(),
                     [&](const auto &c) { return c.name == argv[1]; })) {
        std::fprintf(stderr, "iosid: unknown command '%s'\nRun with --help for the commands.\n",
                     argv[1]);
        return iosid::kExitUsage;
    }
    engines::RegisterOpenEngines();
    // Standard output carries the commands' results (JSON among them); warnings go to the log.
    tiff::SetTiffWarningSink([](const std::string &line) { shr::LogMessage(shr::AtoW(line)); });
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp &e) {
        return app.exit(e);
    } catch (const CLI::ParseError &e) {
        app.exit(e);
        return iosid::kExitUsage;
    }
    for (auto &[sub, run] : runners) {
        if (!sub->parsed())
            continue;
        try {
            return run();
        } catch (const std::exception &e) {
            std::fprintf(stderr, "iosid %s: %s\n", sub->get_name().c_str(), e.what());
            return iosid::kExitFailure;
        }
    }
    return iosid::kExitUsage;
}
