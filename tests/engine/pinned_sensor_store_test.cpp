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

TEST_F(PinnedSensorStoreTest, RoundTripsTheSetAsAJsonArrayBlob) {
    EXPECT_TRUE(store.load().empty());
    store.save({"TC0P", "hid:PMU tdie3", "Tp01"});
    EXPECT_EQ(store.load(), (std::set<std::string>{"TC0P", "Tp01", "hid:PMU tdie3"}));

    const QByteArray raw = settings.value("com.halvoren.pinnedSensorKeys").toByteArray();
    EXPECT_TRUE(raw.startsWith('[')) << raw.toStdString();

    store.save({});
    EXPECT_TRUE(store.load().empty());
}

TEST_F(PinnedSensorStoreTest, CorruptDataLoadsEmpty) {
    for (const char* corrupt : {"\x01\x02garbage", "{\"a\":1}", "[1,2]", "[\"ok\", 3]", "[\"unterminated"}) {
        settings.setValue("com.halvoren.pinnedSensorKeys", QByteArray(corrupt));
        EXPECT_TRUE(store.load().empty()) << corrupt;
    }
}

TEST_F(PinnedSensorStoreTest, UnencodableKeysLeaveTheOldDataInPlace) {
    store.save({"TC0P"});
    store.save({std::string("\xff\xfe", 2)});
    EXPECT_EQ(store.load(), std::set<std::string>{"TC0P"});
}

} // namespace
} // namespace halvoren
