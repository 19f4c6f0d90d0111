#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <string>
#include <string_view>

namespace halvoren::testing {

// A fresh directory under /tmp, removed with everything in it. Short, because a Unix
// socket path inside it must stay under ~104 bytes.
class TempDirectory {
public:
    TempDirectory() {
        std::string pattern = "/tmp/hvXXXXXX";
        if (::mkdtemp(pattern.data()) == nullptr) {
            std::abort();
        }
        path_ = pattern;
    }
    ~TempDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

// Writes `text` to `file`, making its directories; sysfs values end in a newline.
inline void writeFile(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text << '\n';
}

// Writes each "relative/path=text" entry under `directory`.
inline void writeFiles(const std::filesystem::path& directory,
                       std::initializer_list<std::string_view> entries) {
    for (const auto entry : entries) {
        const auto equals = entry.find('=');
        writeFile(directory / entry.substr(0, equals), std::string(entry.substr(equals + 1)));
    }
}

// A Mac running Linux: a decoy hwmon device with fan, pwm and key-like temperature files first,
// then applesmc at hwmon2 with two fans and temperatures. Of the driver's labels, "Not a key"
// cannot be addressed and a repeated key keeps its first file.
inline void writeAppleSMCTree(const std::filesystem::path& root) {
    writeFiles(root / "hwmon0", {"name=nct6775", "pwm1_enable=5", "fan1_target=0", "fan1_min=0",
                                 "fan1_max=9000", "fan1_input=800", "temp1_label=TX0P", "temp1_input=99000"});
    writeFiles(root / "hwmon2",
               {"name=applesmc",     "fan1_input=1203",  "fan1_min=1000",     "fan1_max=6200",
                "fan1_output=1300",  "fan1_manual=0",    "fan2_input=0",      "fan2_min=1200",
                "fan2_max=5800",     "fan2_output=0",    "fan2_manual=1",     "temp1_label=TC0P",
                "temp1_input=45250", "temp2_label=TB0T", "temp2_input=-2500", "temp3_label=Not a key",
                "temp3_input=40000", "temp4_label=TC0P", "temp4_input=80000", "temp10_label=Ts0S",
                "temp10_input=30750"});
}

} // namespace halvoren::testing
