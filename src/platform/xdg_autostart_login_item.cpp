#include "platform/atomic_file.h"
#include "platform/login_item.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <algorithm>

namespace halvoren {
namespace {

constexpr const char* entryName = "halvoren.desktop";

// The Exec key's quoting: "%" is doubled (field codes), and a path with blanks or quoting
// characters goes in double quotes, with those characters escaped.
QString quotedForExec(QString program) {
    program.replace(QStringLiteral("%"), QStringLiteral("%%"));
    static const QString special = QStringLiteral(" \t\"'\\><~|&;$*?#()`");
    if (std::none_of(program.begin(), program.end(), [](QChar c) { return special.contains(c); })) {
        return program;
    }
    QString quoted = std::move(program);
    for (const char* c : {"\\", "\"", "`", "$"}) {
        quoted.replace(QLatin1String(c), QStringLiteral("\\") + QLatin1String(c));
    }
    return QStringLiteral("\"") + quoted + QStringLiteral("\"");
}

class XdgAutostartLoginItem final : public LoginItem {
public:
    XdgAutostartLoginItem(QString directory, QString program)
        : directory_(std::move(directory))
        , program_(std::move(program)) {}

    bool isEnabled() const override {
        QFile file(path());
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
            return false;
        }
        // Only the main group counts; a desktop turns an entry off with Hidden or its own key.
        bool inEntry = false;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.startsWith(QLatin1Char('['))) {
                inEntry = line == QStringLiteral("[Desktop Entry]");
            } else if (inEntry && (line == QStringLiteral("Hidden=true") ||
                                   line == QStringLiteral("X-GNOME-Autostart-enabled=false"))) {
                return false;
            }
        }
        return true;
    }

    std::optional<std::string> setEnabled(bool enabled) override {
        if (!enabled) {
            if (QFile::exists(path()) && !QFile::remove(path())) {
                return "cannot remove " + path().toStdString();
            }
            return std::nullopt;
        }
        if (!QDir().mkpath(directory_)) {
            return "cannot make the folder " + directory_.toStdString();
        }
        const QString entry = QStringLiteral("[Desktop Entry]\n"
                                             "Type=Application\n"
                                             "Name=Halvoren\n"
                                             "Comment=Fan control and thermal readings\n"
                                             "Exec=%1\n"
                                             "Icon=halvoren\n"
                                             "Terminal=false\n"
                                             "X-GNOME-Autostart-enabled=true\n")
                                  .arg(quotedForExec(program_));
        if (auto failure = writeFileAtomically(path(), entry.toStdString())) {
            return "cannot write " + path().toStdString() + ": " + *failure;
        }
        return std::nullopt;
    }

private:
    QString path() const { return QDir(directory_).filePath(QString::fromLatin1(entryName)); }

    QString directory_;
    QString program_;
};

} // namespace

std::unique_ptr<LoginItem> xdgAutostartLoginItem(QString directory, QString program) {
    if (directory.isEmpty()) {
        directory = QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation))
                        .filePath(QStringLiteral("autostart"));
    }
    if (program.isEmpty()) {
        program = QCoreApplication::applicationFilePath();
    }
    return std::make_unique<XdgAutostartLoginItem>(std::move(directory), std::move(program));
}

#if !defined(__APPLE__)
// Everywhere but macOS the desktop's autostart entries start programs at login.
std::unique_ptr<LoginItem> systemLoginItem() {
    return xdgAutostartLoginItem();
}
#endif

} // namespace halvoren
