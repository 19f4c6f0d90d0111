#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// Reading the kernel's hwmon class directory. Devices are found by their `name` file, never
// by a fixed path, and a driver may keep its attributes either in hwmonN/ or in hwmonN/device/.
namespace halvoren::Hwmon {

struct Device {
    std::filesystem::path directory; // hwmonN
    std::string name;
    // Attribute file name -> its path, hwmonN/ winning over hwmonN/device/.
    std::map<std::string, std::filesystem::path, std::less<>> attributes;

    // The path of an attribute; one that is absent resolves beside the device's `name` file,
    // so that reading it fails like a file that vanished.
    std::filesystem::path attribute(std::string_view file) const;
    // The numbers N of the attributes `<prefix>N<suffix>`, ascending.
    std::vector<int> numbered(std::string_view prefix, std::string_view suffix) const;

    std::filesystem::path nameDirectory; // where `name` was found
};

// Every device under `root` that has a readable `name`, in the order of their numbers
// (hwmon2 before hwmon10). A missing root gives none.
std::vector<Device> devices(const std::filesystem::path& root);

// The file's text without surrounding white space, or none when it cannot be read.
std::optional<std::string> readText(const std::filesystem::path& file);
// The file as a decimal integer (sysfs values are integers), or none.
std::optional<long long> readInteger(const std::filesystem::path& file);

} // namespace halvoren::Hwmon
