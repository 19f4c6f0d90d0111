#include "platform/data_directory.h"

#include <QDir>
#include <QStandardPaths>

namespace halvoren {

QString applicationDataDirectory() {
    // Not AppDataLocation, which nests the organisation's name and the application's.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return QDir(data.isEmpty() ? QDir::tempPath() : data).filePath(QStringLiteral("Halvoren"));
}

} // namespace halvoren
