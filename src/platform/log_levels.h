#pragma once

// The two levels of the program's log lines, mapped onto Qt's message types in this one
// place. Both must reach the platform log at its default settings: Apple's unified log keeps
// a QtWarningMsg as "default" and a QtCriticalMsg as "error" but drops QtInfoMsg ("info")
// unless asked to keep it; journald and the terminal keep all of them. Nothing is logged at
// info level for that reason.
//
// Used like Qt's own macros: HALVOREN_LOG_DEFAULT(logDriver, "format %s", text) or
// HALVOREN_LOG_DEFAULT(logHelper).noquote() << text.

#include <QLoggingCategory>

#define HALVOREN_LOG_DEFAULT(...) qCWarning(__VA_ARGS__)
#define HALVOREN_LOG_ERROR(...) qCCritical(__VA_ARGS__)
