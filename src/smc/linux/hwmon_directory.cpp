#include "smc/linux/hwmon_directory.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <system_error>

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

std::optional<std::string> readText(const fs::path& file) {
    std::ifstream in(file);
    if (!in) {
        return std::nullopt;
    }
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (in.bad()) {
        return std::nullopt;
    }
    const auto blank = [](unsigned char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
    while (!text.empty() && blank(static_cast<unsigned char>(text.back()))) {
        text.pop_back();
    }
    const auto first = std::find_if_not(text.begin(), text.end(), blank);
    text.erase(text.begin(), first);
    return text;
}

std::optional<long long> readInteger(const fs::path& file) {
    const auto text = readText(file);
    if (!text || text->empty()) {
        return std::nullopt;
    }
    long long value = 0;
    const char* end = text->data() + text->size();
    const auto [stop, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return value;
}

} // namespace halvoren::Hwmon
