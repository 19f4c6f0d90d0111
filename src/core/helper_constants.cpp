#include "core/helper_constants.h"

namespace halvoren::HelperConstants {
namespace {

// The fixed text, the team identifier and the closing quote of the leaf-certificate clause.
std::string requirementFor(std::string_view prefix) {
    std::string requirement(prefix);
    requirement += teamID;
    requirement += '"';
    return requirement;
}

} // namespace

const std::string& clientRequirement() {
    static const std::string requirement = requirementFor(
        "anchor apple generic and identifier \"com.halvoren.app\" and certificate leaf[subject.OU] = \"");
    return requirement;
}

const std::string& daemonRequirement() {
    static const std::string requirement =
        requirementFor("anchor apple generic and identifier \"com.halvoren.SMCService\" and certificate "
                       "leaf[subject.OU] = \"");
    return requirement;
}

} // namespace halvoren::HelperConstants
