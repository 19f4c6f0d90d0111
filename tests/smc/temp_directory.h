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

} // namespace halvoren::testing
