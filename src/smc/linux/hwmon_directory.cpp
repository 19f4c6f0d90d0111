#include "smc/linux/hwmon_directory.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace halvoren::Hwmon {
namespace {

namespace fs = std::filesystem;

std::optional<int> numberAfter(std::string_view text, std::string_view prefix, std::string_view suffix) {
    if (text.size() <= prefix.size() + suffix.size() || !text.starts_with(prefix) ||
        !text.ends_with(suffix)) {
        return std::nullopt;
    }
    const std::string_view digits = text.substr(prefix.size(), text.size() - prefix.size() - suffix.size());
    if (!std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc{} || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return number;
}

// Regular files of `directory` (following links, as sysfs uses them), not overwriting
// names already present.
void collectFiles(const fs::path& directory, std::map<std::string, fs::path, std::less<>>& files) {
    std::error_code error;
    for (fs::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
        if (it->is_regular_file(error)) {
            files.try_emplace(it->path().filename().string(), it->path());
        }
    }
}

} // namespace

fs::path Device::attribute(std::string_view file) const {
    const auto found = attributes.find(file);
    return found != attributes.end() ? found->second : nameDirectory / file;
}

std::vector<int> Device::numbered(std::string_view prefix, std::string_view suffix) const {
    std::vector<int> numbers;
    for (const auto& [file, path] : attributes) {
        if (const auto n = numberAfter(file, prefix, suffix)) {
            numbers.push_back(*n);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

std::vector<Device> devices(const fs::path& root) {
    std::vector<std::pair<int, fs::path>> found;
    std::error_code error;
    for (fs::directory_iterator it(root, error), end; !error && it != end; it.increment(error)) {
        const auto n = numberAfter(it->path().filename().string(), "hwmon", "");
        if (n && it->is_directory(error)) {
            found.emplace_back(*n, it->path());
        }
    }
    std::sort(found.begin(), found.end());

    std::vector<Device> result;
    for (const auto& [n, directory] : found) {
        Device device;
        device.directory = directory;
        for (const fs::path& place : {directory, directory / "device"}) {
            if (auto name = readText(place / "name")) {
                device.name = std::move(*name);
                device.nameDirectory = place;
                break;
            }
        }
        if (device.nameDirectory.empty()) {
            continue;
        }
        collectFiles(directory, device.attributes);
        collectFiles(directory / "device", device.attributes);
        result.push_back(std::move(device));
    }
    return result;
}

namespace {

bool blank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && blank(text.back())) {
        text.remove_suffix(1);
    }
    while (!text.empty() && blank(text.front())) {
        text.remove_prefix(1);
    }
    return text;
}

} // namespace

std::optional<long long> parseInteger(std::string_view text) {
    text = trimmed(text);
    long long value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

Attribute::Attribute(fs::path file)
    : file_(std::move(file)) {}

Attribute::~Attribute() {
    close();
}

Attribute::Attribute(Attribute&& other) noexcept
    : file_(std::move(other.file_))
    , fd_(std::exchange(other.fd_, -1)) {}

Attribute& Attribute::operator=(Attribute&& other) noexcept {
    if (this != &other) {
        close();
        file_ = std::move(other.file_);
        fd_ = std::exchange(other.fd_, -1);
    }
    return *this;
}

void Attribute::close() {
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

long Attribute::readInto(char* buffer, unsigned long capacity) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (fd_ < 0) {
            fd_ = ::open(file_.c_str(), O_RDONLY | O_CLOEXEC);
            if (fd_ < 0) {
                return -1;
            }
        }
        ssize_t got = 0;
        do {
            got = ::pread(fd_, buffer, capacity, 0);
        } while (got < 0 && errno == EINTR);
        if (got >= 0) {
            return static_cast<long>(got);
        }
        close();
    }
    return -1;
}

std::optional<long long> Attribute::readInteger() {
    // Every attribute holding a number fits: 20 digits, a sign and a line end.
    std::array<char, 64> buffer{};
    const long got = readInto(buffer.data(), buffer.size());
    if (got < 0) {
        return std::nullopt;
    }
    return parseInteger(std::string_view(buffer.data(), static_cast<std::size_t>(got)));
}

std::optional<std::string> readText(const fs::path& file) {
    const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> chunk{};
    bool failed = false;
    for (;;) {
        const ssize_t got = ::read(fd, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            failed = got < 0;
            break;
        }
        text.append(chunk.data(), static_cast<std::size_t>(got));
    }
    ::close(fd);
    if (failed) {
        return std::nullopt;
    }
    return std::string(trimmed(text));
}

std::optional<long long> readInteger(const fs::path& file) {
    const auto text = readText(file);
    return text ? parseInteger(*text) : std::nullopt;
}

} // namespace halvoren::Hwmon
