#pragma once

#include <optional>
#include <string>
#include <vector>

namespace halvoren::probe {

struct Options {
    enum class Source { system, simulated, socket };

    Source source = Source::system;
    std::string profile = "apple-silicon-laptop-2fan"; // for `simulated`: a built-in name or a file path
    std::string smcSocket;                             // for `socket`
    bool json = false;
    bool help = false;
    bool listProfiles = false;
};

// The parsed command line, or the text of what is wrong with it.
struct ParsedOptions {
    std::optional<Options> options;
    std::string error;
};

ParsedOptions parseOptions(const std::vector<std::string>& arguments);

std::string usage();

} // namespace halvoren::probe
