#include "platform/linux/mic_activity_linux.h"

#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

// `name` is `prefix`, a number, then `suffix`: "card0", "pcm1c", "sub0".
bool numbered(std::string_view name, std::string_view prefix, std::string_view suffix) {
    if (!name.starts_with(prefix) || !name.ends_with(suffix) ||
        name.size() <= prefix.size() + suffix.size()) {
        return false;
    }
    const std::string_view number = name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
    return number.find_first_not_of("0123456789") == std::string_view::npos;
}

// Whether `visit` holds for some entry of `dir` named by `numbered(name, prefix, suffix)`.
template <class Visit>
bool anyNumbered(const fs::path& dir, std::string_view prefix, std::string_view suffix, Visit visit) {
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        if (numbered(it->path().filename().string(), prefix, suffix) && visit(it->path())) {
            return true;
        }
    }
    return false;
}

} // namespace

bool alsaStatusRunning(std::string_view statusText) {
    // An open substream's status starts with "state: NAME"; a closed one reads "closed".
    while (!statusText.empty()) {
        const auto end = statusText.find('\n');
        const std::string_view line = statusText.substr(0, end);
        statusText = end == std::string_view::npos ? std::string_view{} : statusText.substr(end + 1);
        if (const std::string_view key = "state:"; line.starts_with(key)) {
            const std::string_view state = trimmed(line.substr(key.size()));
            return state == "RUNNING" || state == "DRAINING";
        }
    }
    return false;
}

bool alsaCaptureRunning(const fs::path& procRoot) {
    return anyNumbered(procRoot / "asound", "card", "", [](const fs::path& card) {
        return anyNumbered(card, "pcm", "c", [](const fs::path& pcm) {
            return anyNumbered(pcm, "sub", "", [](const fs::path& sub) {
                std::ifstream file(sub / "status", std::ios::binary);
                const std::string text{std::istreambuf_iterator<char>(file),
                                       std::istreambuf_iterator<char>()};
                return alsaStatusRunning(text);
            });
        });
    });
}

} // namespace halvoren
