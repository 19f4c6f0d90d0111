#pragma once

#include "core/heat_attribution.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {

// The CPU time that each of the user's own processes has used, and the application each belongs
// to. Needs no privilege: other users' processes are left out. Blocking (it walks every
// process): called on a worker thread, one call at a time.
class ProcessCPUTimes {
public:
    virtual ~ProcessCPUTimes() = default;

    // The cumulative times of every readable process, in the order the system lists them, into
    // `out` (cleared first). False when the process list itself cannot be read or is empty.
    virtual bool readAll(std::vector<ProcessCPUTime>& out) = 0;
    // The name of the application that `pid` belongs to; none once it has ended.
    virtual std::optional<std::string> processName(std::int32_t pid) = 0;

protected:
    ProcessCPUTimes() = default;
    ProcessCPUTimes(const ProcessCPUTimes&) = default;
    ProcessCPUTimes& operator=(const ProcessCPUTimes&) = default;
};

// The running system's own reader.
std::shared_ptr<ProcessCPUTimes> systemProcessCPUTimes();

} // namespace halvoren
