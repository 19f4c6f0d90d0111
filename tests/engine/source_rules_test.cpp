// Traps that compile cleanly and pass every behavioural test, caught by reading the sources.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

// Every line of the C++ sources under these folders of the checkout matching `pattern`, as
// "path:line: text".
std::vector<std::string> matchingLines(const std::vector<std::string>& folders, const std::regex& pattern) {
    std::vector<std::string> found;
    for (const std::string& folder : folders) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(HALVOREN_SOURCE_DIR) / folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".h" && extension != ".cpp" && extension != ".mm") {
                continue;
            }
            std::ifstream file(entry.path());
            std::string line;
            for (int number = 1; std::getline(file, line); ++number) {
                if (std::regex_search(line, pattern)) {
                    found.push_back(entry.path().string() + ":" + std::to_string(number) + ": " + line);
                }
            }
        }
    }
    return found;
}

TEST(SourceRules, NoLineIsLoggedAtInfoLevel) {
    // Apple's unified log drops info lines by default; HALVOREN_LOG_DEFAULT is what it keeps.
    EXPECT_EQ(matchingLines({"src"}, std::regex(R"(\bq(C)?Info\b)")), std::vector<std::string>{});
}

} // namespace
} // namespace halvoren
