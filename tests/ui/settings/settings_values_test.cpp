#include "ui/settings/settings_values.h"

#include <gtest/gtest.h>

namespace halvoren::settings {
namespace {

TEST(SettingsValuesTest, SliderLabels) {
    struct Case {
        QString actual;
        const char* expected;
    };
    for (const Case& c : std::vector<Case>{
             {spoolLabel(9000.0), "Instant"},
             {spoolLabel(12000.0), "Instant"},
             {spoolLabel(8999.0), "8999 RPM/s"},
             {spoolLabel(8999.6), "9000 RPM/s"}, // rounds, but only the stored 9000 is instant
             {spoolLabel(120.0), "120 RPM/s"},
             {smoothingLabel(0.35), "0.35"},
             {smoothingLabel(1.0), "1.00"},
             {smoothingLabel(0.049), "0.05"},
             {capLabel(0.55), "55%"},
             {capLabel(0.1), "10%"},
             {capLabel(1.0), "100%"},
             {celsiusLabel(89.6), "90°C"},
             {glassAccessibleValue(0.404), "40 percent"},
             {glassAccessibleValue(1.0), "100 percent"},
         }) {
        EXPECT_EQ(c.actual, QString::fromUtf8(c.expected));
    }
}

TEST(SettingsValuesTest, CooldownOptionsAndOffListDurations) {
    QStringList labels;
    for (std::size_t i = 0; i < cooldownMinutes.size(); ++i) {
        labels << cooldownOption(i).label;
        EXPECT_EQ(cooldownIndex(cooldownOption(i).seconds()), i);
    }
    EXPECT_EQ(labels.join(u','), "1 min,2 min,5 min,10 min,15 min,30 min");
    EXPECT_EQ(cooldownOption(2).seconds(), 300.0);
    for (const double seconds : {0.0, 30.0, 299.0, 450.0, 1801.0}) {
        EXPECT_FALSE(cooldownIndex(seconds).has_value()) << seconds;
    }
}

TEST(SettingsValuesTest, AbsentAlertRuleReadsAsDisabledAtNinetyAndABadgeSaysWhy) {
    const AlertRules rules{{SensorCategory::gpu, AlertRule{true, 70.0, true}}};
    EXPECT_EQ(alertRuleFor(rules, SensorCategory::gpu), (AlertRule{true, 70.0, true}));
    EXPECT_EQ(alertRuleFor(rules, SensorCategory::cpu), (AlertRule{false, 90.0, false}));
    EXPECT_EQ(alertRuleFor({}, SensorCategory::battery), (AlertRule{false, 90.0, false}));
    // The badge of a helper that cannot run names why.
    EXPECT_EQ(helperStatusBadge(HelperState::unavailable("cannot open AppleSMC")).text,
              "cannot open AppleSMC");
}

TEST(SettingsValuesTest, MinutesOfDayBothWays) {
    for (const auto& [minutes, time] : std::vector<std::pair<int, QTime>>{
             {0, {0, 0}}, {480, {8, 0}}, {1320, {22, 0}}, {1439, {23, 59}}, {1440, {0, 0}}, {-5, {23, 55}}}) {
        EXPECT_EQ(timeFromMinutesOfDay(minutes), time) << minutes;
    }
    for (int minutes = 0; minutes < 1440; ++minutes) {
        ASSERT_EQ(minutesOfDay(timeFromMinutesOfDay(minutes)), minutes);
    }
    EXPECT_EQ(minutesOfDay(QTime(7, 30, 59)), 450); // seconds are dropped
    EXPECT_EQ(minutesOfDay(QTime()), 0);
}

} // namespace
} // namespace halvoren::settings
