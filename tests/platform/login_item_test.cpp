#include "../smc/temp_directory.h"
#include "platform/login_item.h"

#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

TEST(XdgAutostartLoginItem, WritesReadsBackAndRemovesTheEntry) {
    QTemporaryDir dir;
    const auto item = xdgAutostartLoginItem(dir.filePath(QStringLiteral("autostart")),
                                            QStringLiteral("/opt/My Apps/100%/halvoren"));
    EXPECT_FALSE(item->isEnabled());
    EXPECT_EQ(item->setEnabled(false), std::nullopt); // nothing to remove is no failure

    ASSERT_EQ(item->setEnabled(true), std::nullopt); // the folder is made
    EXPECT_TRUE(item->isEnabled());
    QFile entry(dir.filePath(QStringLiteral("autostart/halvoren.desktop")));
    ASSERT_TRUE(entry.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(entry.readAll());
    EXPECT_TRUE(text.contains(QStringLiteral("\nExec=\"/opt/My Apps/100%%/halvoren\"\n")))
        << text.toStdString();

    ASSERT_EQ(item->setEnabled(false), std::nullopt);
    EXPECT_FALSE(item->isEnabled());
    EXPECT_FALSE(entry.exists());
}

// A desktop's own switch for an entry turns it off; the same keys in another group do not.
TEST(XdgAutostartLoginItem, AnEntryTheDesktopHidOrDisabledIsOff) {
    struct Case {
        const char* text;
        bool enabled;
    };
    const Case cases[] = {
        {"[Desktop Entry]\nExec=halvoren\n", true},
        {"[Desktop Entry]\nExec=halvoren\nHidden=true\n", false},
        {"[Desktop Entry]\nX-GNOME-Autostart-enabled=false\nExec=halvoren\n", false},
        {"[Desktop Entry]\nExec=halvoren\n[Desktop Action quit]\nHidden=true\n", true},
    };
    for (const Case& c : cases) {
        const testing::TempDirectory dir;
        testing::writeFile(dir / "autostart/halvoren.desktop", c.text);
        EXPECT_EQ(xdgAutostartLoginItem(QString::fromStdString((dir / "autostart").string()))->isEnabled(),
                  c.enabled)
            << c.text;
    }
}

TEST(XdgAutostartLoginItem, AFolderThatCannotBeMadeIsAClearFailure) {
    QTemporaryDir dir;
    QFile blocker(dir.filePath(QStringLiteral("autostart")));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file where the folder should be
    const auto failure = xdgAutostartLoginItem(blocker.fileName())->setEnabled(true);
    ASSERT_TRUE(failure);
    EXPECT_NE(failure->find("cannot make the folder"), std::string::npos);
}

} // namespace
} // namespace halvoren
