#include "engine/pinned_sensor_store.h"

#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

class PinnedSensorStoreTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QSettings settings{dir.filePath("settings.ini"), QSettings::IniFormat};
    PinnedSensorStore store{settings};
};

TEST_F(PinnedSensorStoreTest, RoundTripsTheSetAsAJsonArrayAndKeepsItWhenAnotherCannotBeEncoded) {
    EXPECT_TRUE(store.load().empty());
    const std::set<std::string> pinned{"TC0P", "hid:PMU tdie3", "Tp01"};
    store.save(pinned);
    EXPECT_EQ(store.load(), pinned);
    EXPECT_TRUE(settings.value("com.halvoren.pinnedSensorKeys").toByteArray().startsWith('['));
    store.save({std::string("\xff\xfe", 2)});
    EXPECT_EQ(store.load(), pinned);
    store.save({});
    EXPECT_TRUE(store.load().empty());
}

TEST_F(PinnedSensorStoreTest, CorruptDataLoadsEmpty) {
    for (const char* corrupt : {"\x01\x02garbage", "{\"a\":1}", "[1,2]", "[\"ok\", 3]", "[\"unterminated"}) {
        settings.setValue("com.halvoren.pinnedSensorKeys", QByteArray(corrupt));
        EXPECT_TRUE(store.load().empty()) << corrupt;
    }
}

} // namespace
} // namespace halvoren
