// iosid: dispatches to the registered subcommands.
#include "Command.h"

#include <algorithm>
#include <cstdio>
#include <exception>

namespace iosid {

std::vector<Command>& Commands() {
    static std::vector<Command> commands;
    return commands;
}

bool HasFlag(const std::vector<std::string>& args, const std::string& flag) {
    return std::find(args.begin(), args.end(), flag) != args.end();
}

std::string OptionValue(const std::vector<std::string>& args, const std::string& option) {
    auto it = std::find(args.begin(), args.end(), option);
    return it != args.end() && it + 1 != args.end() ? *(it + 1) : std::string();
}

std::vector<std::string> Positionals(const std::vector<std::string>& args,
                                     const std::vector<std::string>& withValue) {
    std::vector<std::string> result;
    for (size_t i = 0; i < args.size(); ++i) {
        if (std::find(withValue.begin(), withValue.end(), args[i]) != withValue.end()) {
            ++i;
        } else if (args[i].size() < 2 || args[i][0] != '-') {
            result.push_back(args[i]);
        }
    }
    return result;
}

std::string JsonEscape(const std::string& text) {
    std::string out;
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out.push_back(static_cast<char>(c));
            }
        }
    }
    return out;
}

} // namespace iosid

namespace {

void PrintUsage() {
    auto commands = iosid::Commands();
    std::sort(commands.begin(), commands.end(),
              [](const auto& a, const auto& b) { return a.name < b.name; });
    std::fprintf(stderr, "usage:\n");
    for (const auto& c : commands)
        std::fprintf(stderr, "  iosid %s %s\n", c.name.c_str(), c.usage.c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        PrintUsage();
        return iosid::kExitUsage;
    }
    const std::string name = argv[1];
    for (const auto& command : iosid::Commands()) {
        if (command.name != name)
            continue;
        try {
            return command.run(std::vector<std::string>(argv + 2, argv + argc));
        } catch (const std::exception& e) {
            std::fprintf(stderr, "iosid %s: %s\n", name.c_str(), e.what());
            return iosid::kExitFailure;
        }
    }
    std::fprintf(stderr, "iosid: unknown command '%s'\n", name.c_str());
    PrintUsage();
    return iosid::kExitUsage;
}
