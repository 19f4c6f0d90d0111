#pragma once

#include <QString>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren {

// Writes `bytes` to `path` whole or not at all (a temporary beside it, then a rename), so a
// reader never sees half a file and a failure leaves the old one. The error's text, or none.
std::optional<std::string> writeFileAtomically(const QString& path, std::string_view bytes);

} // namespace halvoren
