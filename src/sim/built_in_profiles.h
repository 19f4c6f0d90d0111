#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace halvoren {

// The text of one machine profile from data/machines, named by its file name without ".json".
struct EmbeddedProfileText {
    std::string_view name;
    std::string text;
};

// Every profile of data/machines in name order. Defined by a source file that the build
// generates from the data files, so that profiles need no files at run time.
const std::vector<EmbeddedProfileText>& builtInProfileTexts();

} // namespace halvoren
