#pragma once

#include <nlohmann/json_fwd.hpp>

namespace halvoren {

// The one JSON value of the program, read and written. An object keeps its keys in the
// order they were written, so files and stored data list them in declaration order.
using Json = nlohmann::ordered_json;

} // namespace halvoren
