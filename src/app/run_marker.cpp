#include "app/run_marker.h"

#include "app/app_log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace halvoren::RunMarker {

QString path(const QString& dataDirectory) {
    if (dataDirectory.isEmpty()) {
        return {};
    }
    return QDir(dataDirectory).filePath(QString::fromLatin1(fileName));
}

bool checkAndWrite(const QString& path) {
    if (path.isEmpty()) {
        return false;
    }
    const bool left = QFileInfo::exists(path);
    if (left) {
        HALVOREN_LOG_ERROR(logApp) << "previous run ended without clean shutdown — external kill or crash";
    }
    if (!QDir().mkpath(QFileInfo(path).absolutePath())) {
        return left;
    }
    QFile marker(path);
    if (marker.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        marker.close();
    }
    return left;
}

void remove(const QString& path) {
    if (!path.isEmpty()) {
        QFile::remove(path);
    }
}

} // namespace halvoren::RunMarker
