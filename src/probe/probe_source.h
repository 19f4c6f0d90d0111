#pragma once

#include "probe/probe_options.h"
#include "probe/probe_report.h"

#include <string>
#include <variant>

namespace halvoren::probe {

// Why nothing could be read, in words for the user.
struct ProbeFailure {
    std::string message;
};

// Opens the source the options name and reads every sensor and fan once.
std::variant<Report, ProbeFailure> runProbe(const Options& options);

} // namespace halvoren::probe
