#pragma once

#include <filesystem>

namespace halvoren::SysfsAttribute {

// Writes a decimal integer to an attribute file in one write(), as sysfs wants it. Throws
// FanWriteError naming the file and the system's reason.
void write(const std::filesystem::path& file, long long value);

// True when the file has a write permission bit and this process may write it: a read-only
// sysfs attribute has no write bit at all, which holds even for root.
bool isWritable(const std::filesystem::path& file);

} // namespace halvoren::SysfsAttribute
