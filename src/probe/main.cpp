#include "probe/probe_options.h"
#include "probe/probe_report.h"
#include "probe/probe_source.h"
#include "sim/machine_profile.h"

#include <cstdio>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    using namespace halvoren;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const auto parsed = probe::parseOptions(arguments);
    if (!parsed.options) {
        std::fprintf(stderr, "halvoren-probe: %s\n\n%s", parsed.error.c_str(), probe::usage().c_str());
        return 64; // usage error
    }
    const auto& options = *parsed.options;
    if (options.help) {
        std::fputs(probe::usage().c_str(), stdout);
        return 0;
    }
    if (options.listProfiles) {
        for (const auto& name : MachineProfile::builtInNames()) {
            std::printf("%s\n", name.c_str());
        }
        return 0;
    }
    const auto result = probe::runProbe(options);
    if (const auto* failure = std::get_if<probe::ProbeFailure>(&result)) {
        std::fprintf(stderr, "halvoren-probe: %s\n", failure->message.c_str());
        return 2;
    }
    const auto& report = std::get<probe::Report>(result);
    const std::string text = options.json ? probe::formatJson(report) + "\n" : probe::formatText(report);
    std::fputs(text.c_str(), stdout);
    return 0;
}
