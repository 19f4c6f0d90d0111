// Traps that compile cleanly and pass every behavioural test, caught by reading the sources.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

struct SourceFile {
    fs::path path;
    std::vector<std::string> lines;
};

// The C++ sources under these folders of the checkout that mention `word`.
std::vector<SourceFile> sourcesMentioning(std::initializer_list<const char*> folders,
                                          const std::string& word) {
    std::vector<SourceFile> files;
    for (const char* folder : folders) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path(HALVOREN_SOURCE_DIR) / folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension != ".h" && extension != ".cpp" && extension != ".mm") {
                continue;
            }
            SourceFile file{entry.path(), {}};
            bool mentions = false;
            std::ifstream stream(entry.path());
            for (std::string line; std::getline(stream, line);) {
                mentions = mentions || line.find(word) != std::string::npos;
                file.lines.push_back(std::move(line));
            }
            if (mentions) {
                files.push_back(std::move(file));
            }
        }
    }
    return files;
}

std::string where(const SourceFile& file, std::size_t index) {
    return file.path.string() + ":" + std::to_string(index + 1) + ": " + file.lines[index];
}

// The names a header declares as data members at class level, four spaces in.
std::set<std::string> memberNames(const SourceFile& header) {
    static const std::regex field(
        R"(^    (?!return\b|co_return\b|throw\b|using\b)[A-Za-z_][\w:<>, *&]*[\s*&>](\w+)\s*(=[^;]*|\{[^;]*\})?;)");
    std::set<std::string> names;
    std::smatch match;
    for (const std::string& line : header.lines) {
        if (std::regex_search(line, match, field)) {
            names.insert(match[1]);
        }
    }
    return names;
}

TEST(SourceRules, NoCoroutineReturnsADataMember) {
    // QCoro's promise takes a co_returned lvalue by forwarding reference and moves from it, so a
    // member given to co_return is empty after the first call. Return a copy instead.
    static const std::regex coReturn(R"(co_return\s+\*?\s*(this->)?(\w+)((\.|->)\w+)*\s*;)");
    std::vector<std::string> found;
    for (const SourceFile& file : sourcesMentioning({"src", "tests", "bench"}, "co_return")) {
        const std::set<std::string> members =
            file.path.extension() == ".h" ? memberNames(file) : std::set<std::string>{};
        std::smatch match;
        for (std::size_t i = 0; i < file.lines.size(); ++i) {
            if (std::regex_search(file.lines[i], match, coReturn) &&
                (match[1].matched || match[2].str().ends_with('_') || members.contains(match[2]))) {
                found.push_back(where(file, i));
            }
        }
    }
    EXPECT_EQ(found, std::vector<std::string>{});
}

TEST(SourceRules, NoLineIsLoggedAtInfoLevel) {
    // Apple's unified log drops info lines by default; HALVOREN_LOG_DEFAULT is what it keeps.
    static const std::regex info(R"(\bq(C)?Info\b)");
    std::vector<std::string> found;
    for (const SourceFile& file : sourcesMentioning({"src"}, "Info")) {
        for (std::size_t i = 0; i < file.lines.size(); ++i) {
            if (std::regex_search(file.lines[i], info)) {
                found.push_back(where(file, i));
            }
        }
    }
    EXPECT_EQ(found, std::vector<std::string>{});
}

} // namespace
} // namespace halvoren
