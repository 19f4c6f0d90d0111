#include "probe/probe_options.h"

namespace halvoren::probe {

ParsedOptions parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    int sources = 0;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& arg = arguments[i];
        if (arg == "--help" || arg == "-h") {
            options.help = true;
        } else if (arg == "--json") {
            options.json = true;
        } else if (arg == "--list-profiles") {
            options.listProfiles = true;
        } else if (arg == "--simulate" || arg.starts_with("--simulate=")) {
            options.source = Options::Source::simulated;
            ++sources;
            if (arg.size() > std::string("--simulate=").size()) {
                options.profile = arg.substr(std::string("--simulate=").size());
            } else if (arg != "--simulate") {
                return {std::nullopt, "--simulate= needs a profile name or file"};
            }
        } else if (arg == "--smc-socket" || arg.starts_with("--smc-socket=")) {
            options.source = Options::Source::socket;
            ++sources;
            if (arg == "--smc-socket") {
                if (i + 1 >= arguments.size()) {
                    return {std::nullopt, "--smc-socket needs a path"};
                }
                options.smcSocket = arguments[++i];
            } else {
                options.smcSocket = arg.substr(std::string("--smc-socket=").size());
            }
            if (options.smcSocket.empty()) {
                return {std::nullopt, "--smc-socket needs a path"};
            }
        } else {
            return {std::nullopt, "unknown argument: " + arg};
        }
    }
    if (sources > 1) {
        return {std::nullopt, "choose one of --simulate and --smc-socket"};
    }
    return {options, {}};
}

std::string usage() {
    return "Usage: halvoren-probe [--simulate[=PROFILE] | --smc-socket PATH] [--json]\n"
           "\n"
           "Lists every sensor and fan that the System Management Controller exposes.\n"
           "\n"
           "  --simulate[=PROFILE]  read a simulated Mac (default apple-silicon-laptop-2fan);\n"
           "                        PROFILE is a built-in name or a profile file\n"
           "  --smc-socket PATH     read the simulated Mac that a running helper serves at PATH\n"
           "  --json                print one JSON document instead of tables\n"
           "  --list-profiles       list the built-in simulated machines\n"
           "  -h, --help            show this text\n"
           "\n"
           "Without --simulate or --smc-socket the machine's own controller is read.\n";
}

} // namespace halvoren::probe
