#pragma once

#include <QString>

namespace halvoren {

// The folder of the program's own files (the almanac, the daily heat files, the run marker):
// "Halvoren" in the user's data folder, ~/Library/Application Support/Halvoren on macOS and
// ~/.local/share/Halvoren on Linux. The temporary folder when the user has none.
QString applicationDataDirectory();

} // namespace halvoren
