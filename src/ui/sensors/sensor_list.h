#pragma once

#include "core/sensor.h"

#include <QString>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace halvoren::sensor_list {

// A heading of the full list and the sensors under it.
struct Group {
    QString title;
    std::vector<SMCSensor> sensors;
};

// A query of blanks alone is no search.
bool isSearching(const QString& query);

// The filtered sensors: pinned ones first under "Pinned", then one group per class in a fixed
// order, each sorted by name by code point; empty groups and sensors of no known class are
// left out. The query matches the name or the key, ignoring case.
std::vector<Group> rawGroups(std::span<const SMCSensor> all, const QString& query,
                             const std::set<std::string>& pinnedKeys);
// `sensors` without the pinned keys, in their order.
std::vector<SMCSensor> unpinned(std::span<const SMCSensor> sensors, const std::set<std::string>& pinnedKeys);

// The reading of a sensor in its class's unit, or "—" when it is not a number.
QString valueText(const SMCSensor& sensor, bool fahrenheit, bool precise);
QString accessibleLabel(const SMCSensor& sensor, bool pinned, bool fahrenheit, bool precise);

// The header: "Essentials" or "All Sensors", and the count beside it.
QString heading(bool full);
QString essentialsCountText(std::size_t readings, bool fahrenheit);
QString fullCountText(std::span<const Group> groups, std::size_t allSensors);

// What stands in for the list before discovery has found anything.
QString undiscoveredDetail(bool smcAvailable);

} // namespace halvoren::sensor_list
