#pragma once

#include "core/thermal_almanac.h"

#include <QString>

namespace halvoren {

// The almanac's file. Every failure is silent: the almanac is a nicety and never touches
// the control path.
namespace ThermalAlmanacStore {

inline constexpr const char* fileName = "ThermalAlmanac.json";

// The almanac in `path`, or an empty one when the file is missing, unreadable or corrupt.
ThermalAlmanac load(const QString& path);
// Writes the whole file or nothing (a temporary, then a rename), creating its folder first.
void save(const QString& path, const ThermalAlmanac& almanac);

} // namespace ThermalAlmanacStore

} // namespace halvoren
