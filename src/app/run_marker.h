#pragma once

#include <QString>

// A file that exists while the application runs: found at launch, it tells that the last run
// ended by a kill or a crash. A diagnostic only; nothing else depends on it.
namespace halvoren::RunMarker {

inline constexpr const char* fileName = "run.marker";

// "run.marker" in `dataDirectory`; empty when there is no such folder to speak of.
QString path(const QString& dataDirectory);

// Logs the error line when a marker is left from the last run, then makes the folder and an
// empty marker, ignoring failures. Returns whether a marker was found. Blocking: call it off
// the main thread.
bool checkAndWrite(const QString& path);

// A clean exit leaves no marker. Failures are ignored.
void remove(const QString& path);

} // namespace halvoren::RunMarker
