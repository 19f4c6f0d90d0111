#include "core/workload_policy.h"

#include <algorithm>

namespace halvoren {
namespace {

bool matches(const HeavyApp& row, std::string_view id) {
    if (!id.starts_with(row.identifier)) {
        return false;
    }
    if (row.match == IdentifierMatch::prefix) {
        return true;
    }
    return id.size() == row.identifier.size() || id[row.identifier.size()] == '.';
}

} // namespace

double WorkloadPolicy::boost(const std::string& bundleID) {
    double best = 0.0;
    for (const HeavyApp& row : heavyApps) {
        if (matches(row, bundleID)) {
            best = std::max(best, row.boost);
        }
    }
    return best;
}

void WorkloadPolicy::appLaunched(const std::string& bundleID) {
    if (boost(bundleID) > 0.0) {
        running.insert(bundleID);
    }
}

void WorkloadPolicy::appTerminated(const std::string& bundleID) {
    running.erase(bundleID);
}

void WorkloadPolicy::seed(const std::vector<std::string>& runningBundleIDs) {
    for (const std::string& id : runningBundleIDs) {
        appLaunched(id);
    }
}

double WorkloadPolicy::currentBoost() const {
    double best = 0.0;
    for (const std::string& id : running) {
        best = std::max(best, boost(id));
    }
    return best;
}

} // namespace halvoren
