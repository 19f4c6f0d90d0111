#pragma once

#include "core/telemetry_sample.h"

#include <span>
#include <string>

namespace halvoren {

// The export of the history: a header line, then one line per sample, oldest first, every
// line ending in a line feed; no quoting. An empty history is the header alone.
std::string telemetryCSV(std::span<const HistorySample> samples);

// ISO 8601 in UTC to the whole second below, such as "2026-03-09T14:05:33Z".
std::string iso8601UTC(WallTime time);

// "Halvoren-History-" with the whole seconds since 1970 (truncated toward zero) and ".csv".
std::string historyExportFileName(WallTime now);

} // namespace halvoren
