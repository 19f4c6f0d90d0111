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

// An attribute file kept open between readings: each reading is one read from the start of the
// file, which sysfs answers with a fresh value, instead of an open, a read and a close (the path
// lookup was most of a reading's cost). A failed read opens the file again once, so a device that
// went and came back is found again. Not shared between threads.
class Attribute {
public:
    Attribute() = default;
    explicit Attribute(std::filesystem::path file);
    ~Attribute();
    Attribute(Attribute&& other) noexcept;
    Attribute& operator=(Attribute&& other) noexcept;
    Attribute(const Attribute&) = delete;
    Attribute& operator=(const Attribute&) = delete;

    const std::filesystem::path& path() const { return file_; }
    // The value as a decimal integer, or none when it cannot be read or is no integer.
    std::optional<long long> readInteger();

private:
    // Up to `capacity` bytes from the start; -1 on failure.
    long readInto(char* buffer, unsigned long capacity);
    void close();

    std::filesystem::path file_;
    int fd_ = -1;
};

// A decimal integer with surrounding white space, as sysfs writes them; none for anything else.
std::optional<long long> parseInteger(std::string_view text);

// The file's text without surrounding white space, or none when it cannot be read.
std::optional<std::string> readText(const std::filesystem::path& file);
// The file as a decimal integer (sysfs values are integers), or none.
std::optional<long long> readInteger(const std::filesystem::path& file);

} // namespace halvoren::Hwmon
