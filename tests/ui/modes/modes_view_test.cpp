#include "ui/components/glass_controls.h"
#include "ui/components/module_card.h"
#include "ui/components/notice_view.h"
#include "ui/modes/mode_controls.h"
#include "ui/modes/mode_delete_dialog.h"
#include "ui/modes/mode_editor_sheet.h"
#include "ui/modes/mode_row.h"
#include "ui/modes/mode_values.h"
#include "ui/modes/modes_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/panel/speed_slider.h"
#include "ui/ui_engine_fixture.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <limits>

namespace halvoren::modes {
namespace {

const std::vector<DeviceSensorReading>& machineSensors() {
    static const std::vector<DeviceSensorReading> sensors{
        {.id = "TC0P", .name = "CPU Proximity", .symbol = "cpu", .value = 50.0},
        {.id = "TG0P", .name = "GPU Proximity", .symbol = "cpu", .value = std::nullopt},
        {.id = "TC0P", .name = "Duplicate", .symbol = "cpu", .value = 1.0},
    };
    return sensors;
}

TEST(ModeValues, SpeedSubtitleRoundsToAWholePercent) {
    const struct {
        ModeSpeed speed;
        const char* text;
    } cases[] = {
        {ModeSpeed::fixed(0.7), "Fixed 70%"},
        {ModeSpeed::floor(0.25), "Min 25%"},
        {ModeSpeed::floor(0.125), "Min 13%"}, // halves away from zero
        {ModeSpeed::floor(std::numeric_limits<double>::quiet_NaN()), "Min 0%"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(speedSubtitle(c.speed), c.text);
    }
}

TEST(ModeValues, PickerRowsAggregatesThenSensorsInOrderAndLookupsBothWays) {
    const std::vector<ModePickerBoxOption> options = triggerOptions(machineSensors());
    ASSERT_EQ(options.size(), 8U);
    EXPECT_EQ(options[0], (ModePickerBoxOption{"mode-sensor.source.hottest", "Hottest Sensor",
                                               ModeSensor::source(ControlSource::hottest)}));
    EXPECT_EQ(options[4].id, "mode-sensor.source.gpuAverage");
    EXPECT_EQ(options[6],
              (ModePickerBoxOption{"mode-sensor.sensor.TG0P", "GPU Proximity", ModeSensor::sensor("TG0P")}));

    const std::vector<ModePickerBoxOption> display = displayOptions(machineSensors());
    ASSERT_EQ(display.size(), 9U);
    EXPECT_EQ(display[0],
              (ModePickerBoxOption{"mode-sensor.same-as-trigger", "Same as trigger", std::nullopt}));
    EXPECT_EQ(display[1], options[0]);

    EXPECT_EQ(sensorForOption("mode-sensor.sensor.TG0P", display), ModeSensor::sensor("TG0P"));
    EXPECT_EQ(sensorForOption(sameAsTriggerID, display), std::nullopt);
    EXPECT_EQ(sensorForOption("mode-sensor.sensor.gone", display), std::nullopt);

    EXPECT_EQ(optionIndex(display, std::nullopt), 0U);
    EXPECT_EQ(optionIndex(display, ModeSensor::source(ControlSource::cpuEfficiency)), 4U);
    // The first of two rows holding the same sensor; none for a sensor no row holds.
    EXPECT_EQ(optionIndex(display, ModeSensor::sensor("TC0P")), 6U);
    EXPECT_EQ(optionIndex(display, ModeSensor::sensor("gone")), std::nullopt);
    EXPECT_EQ(optionIndex(options, std::nullopt), std::nullopt);
}

// A vanished sensor reads as "Sensor" and "—" in the view's test.
TEST(ModeValues, RowTexts) {
    const Uuid id = Uuid::random();
    EXPECT_TRUE(isActive(id, id));
    EXPECT_FALSE(isActive(id, std::nullopt));

    EXPECT_EQ(sensorName(ModeSensor::source(ControlSource::cpuAverage), machineSensors()),
              "CPU Core Average");
    EXPECT_EQ(sensorName(ModeSensor::sensor("TC0P"), machineSensors()), "CPU Proximity");
    EXPECT_EQ(sensorName(ModeSensor::sensor("TC0P"), {}), "Sensor");

    EXPECT_EQ(temperatureText(54.26, false, true), "54.3°C");
}

TEST(ModeValues, StartersCopyTheTemplateUnderANewIdentityAndTheEditorSeedsAndSaves) {
    const CustomMode& gaming = CustomMode::gamingTemplate();
    EXPECT_EQ(starterAccessibleText(gaming), "Adds a custom mode named Gaming with a 70 percent Fixed speed");
    CustomMode made = starterMode(gaming);
    EXPECT_NE(made.id, gaming.id);
    made.id = gaming.id;
    EXPECT_EQ(made, gaming);

    const EditorSeed fresh = editorSeed(std::nullopt);
    EXPECT_FALSE(fresh.id.isNil());
    EXPECT_NE(editorSeed(std::nullopt).id, fresh.id);
    EXPECT_TRUE(fresh.name.isEmpty());
    EXPECT_EQ(fresh.symbolName, CustomMode::curatedSymbolNames.front());
    EXPECT_EQ(fresh.controlSensor, ModeSensor::source(ControlSource::hottest));

    const CustomMode stored(Uuid::random(), "Quiet", "moon.fill", ModeSpeed::fixed(0.37),
                            ModeSensor::sensor("TC0P"), ModeSensor::sensor("gone"), true);
    // Saved untouched it is the same mode: the editor sheet's test.
    EditorSeed edited = editorSeed(stored);
    edited.isFixedSpeed = false;
    edited.name = QStringLiteral("\n\tMode \r\n");
    const CustomMode saved = savedMode(edited);
    EXPECT_EQ(saved.name, "Mode");
    EXPECT_EQ(saved.speed, ModeSpeed::floor(0.37));
    EXPECT_EQ(saved.id, stored.id);
    EXPECT_TRUE(trimmedName(QStringLiteral(" \t\r\n ")).isEmpty());
}

class ModesViewTest : public UiEngineTest {
protected:
    ModesViewTest() {
        sweep(54.0, {fan(0, 2000.0)});
        view.show();
    }

    CustomMode add(const char* name, std::optional<ModeSensor> display = std::nullopt) {
        CustomMode mode(Uuid::random(), name, "moon.fill", ModeSpeed::floor(0.25),
                        ModeSensor::source(ControlSource::hottest), std::move(display));
        engine->addCustomMode(mode);
        return mode;
    }

    ModeEditorSheet& editor() {
        EXPECT_NE(view.editor(), nullptr);
        return *view.editor();
    }

    ModesView view{*engine};
};

TEST_F(ModesViewTest, StartersAddUnselectedCopiesAndLeaveWithTheEmptyState) {
    EXPECT_FALSE(view.emptyState().isHidden());
    ASSERT_EQ(view.starterButtons().size(), CustomMode::templates().size());
    view.starterButtons()[0]->click();
    ASSERT_EQ(engine->customModes().value().size(), 1U);
    const CustomMode& made = engine->customModes().value().front();
    EXPECT_EQ(made.name, "Gaming");
    EXPECT_EQ(engine->activeCustomModeID().value(), std::nullopt);
    EXPECT_TRUE(view.emptyState().isHidden());
    ASSERT_EQ(view.rows().size(), 1U);
    EXPECT_EQ(view.rows()[0]->editButton().accessibleName(), "Edit Gaming");
    EXPECT_EQ(view.rows()[0]->deleteButton().accessibleName(), "Delete Gaming");
}

TEST_F(ModesViewTest, WithoutFansRowsAreInertButModesCanStillBeChanged) {
    const CustomMode mode = add("Quiet");
    EXPECT_FALSE(view.addButton().isHidden());
    EXPECT_TRUE(view.noFansNotice().isHidden());
    sweep(54.0, {});
    EXPECT_TRUE(view.addButton().isHidden());
    EXPECT_FALSE(view.noFansNotice().isHidden());

    ModeRow& row = *view.rows().at(0);
    EXPECT_FALSE(row.content().canEngage);
    int engaged = 0;
    row.setOnEngage([&] { ++engaged; });
    row.click();
    press(row, Qt::Key_Return);
    EXPECT_EQ(engaged, 0);

    row.editButton().click();
    editor().nameField().setText(QStringLiteral("Quieter"));
    editor().saveButton().click();
    EXPECT_EQ(view.editor(), nullptr);
    EXPECT_EQ(engine->customModes().value().at(0).name, "Quieter");
    view.newModeButton().click(); // hidden with modes present, but the action stays
    editor().nameField().setText(QStringLiteral("Other"));
    editor().save();
    EXPECT_EQ(engine->customModes().value().size(), 2U);

    row.deleteButton().click();
    ASSERT_NE(view.deleteDialog(), nullptr);
    view.deleteDialog()->deleteButton().click();
    ASSERT_EQ(engine->customModes().value().size(), 1U);
    EXPECT_EQ(engine->customModes().value().at(0).name, "Other");
    EXPECT_EQ(view.pendingDelete(), std::nullopt);
}

TEST_F(ModesViewTest, RowsEngageFromTheKeyboardAndKeepTheMarkThroughAnEdit) {
    const CustomMode mode = add("Quiet");
    ModeRow& row = *view.rows().at(0);
    press(row, Qt::Key_Space);
    EXPECT_EQ(engine->activeCustomModeID().value(), mode.id);
    EXPECT_TRUE(row.content().isActive);

    view.openEditor(mode);
    EXPECT_EQ(editor().title().text(), "Edit Mode");
    editor().nameField().setText(QStringLiteral("Hush"));
    editor().speedStyle().tabs().back()->click();
    editor().save();
    EXPECT_EQ(engine->activeCustomModeID().value(), mode.id);
    EXPECT_TRUE(view.rows().at(0)->content().isActive);
    EXPECT_EQ(engine->activeCustomMode()->name, "Hush");
    EXPECT_EQ(view.rows().at(0)->content().mode.speed, ModeSpeed::fixed(0.25));
}

TEST_F(ModesViewTest, AVanishedDisplaySensorReadsAsADashAndSensor) {
    add("Gone", ModeSensor::sensor("no-such-sensor"));
    add("Hot");
    const ModeRow::Content& gone = view.rows().at(0)->content();
    EXPECT_EQ(gone.temperature, "—");
    EXPECT_EQ(gone.sensorName, "Sensor");
    EXPECT_EQ(view.rows().at(0)->accessibleDescription(), "Min 25%. Sensor, —.");
    EXPECT_EQ(view.rows().at(1)->content().temperature, "54.0°C");
    engine->setUseFahrenheit(true);
    EXPECT_EQ(view.rows().at(1)->content().temperature, "129.2°F");
}

TEST_F(ModesViewTest, DeleteAsksFirstAndCancelOrEscapeKeepsTheMode) {
    const CustomMode mode = add("Quiet");
    for (const bool escape : {false, true}) {
        view.confirmDelete(mode);
        ModeDeleteDialog* dialog = view.deleteDialog();
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(view.pendingDelete(), mode);
        if (escape) {
            press(*dialog, Qt::Key_Escape);
        } else {
            dialog->cancelButton().click();
        }
        EXPECT_EQ(view.pendingDelete(), std::nullopt);
        EXPECT_EQ(engine->customModes().value().size(), 1U);
    }
}

TEST_F(ModesViewTest, EditorSavesOnlyANamedModeTrimmed) {
    view.addButton().click();
    EXPECT_EQ(editor().title().text(), "New Mode");
    EXPECT_EQ(editor().slider().value(), 50);
    EXPECT_FALSE(editor().saveButton().isEnabled());
    editor().nameField().setText(QStringLiteral(" \t "));
    EXPECT_FALSE(editor().saveButton().isEnabled());
    press(editor().nameField(), Qt::Key_Return);
    EXPECT_TRUE(engine->customModes().value().empty());

    editor().nameField().setText(QStringLiteral("  Mode  "));
    editor().swatches().at(3)->click();
    editor().slider().setValue(80);
    editor().readoutToggle().click();
    editor().saveButton().click();
    ASSERT_EQ(engine->customModes().value().size(), 1U);
    const CustomMode& saved = engine->customModes().value().front();
    EXPECT_EQ(saved.name, "Mode");
    EXPECT_EQ(saved.symbolName, CustomMode::curatedSymbolNames[3]);
    EXPECT_EQ(saved.speed, ModeSpeed::floor(0.8));
    EXPECT_TRUE(saved.drivesMainReadout);
    EXPECT_EQ(saved.displaySensor, std::nullopt);

    view.addButton().click();
    press(editor(), Qt::Key_Escape);
    EXPECT_EQ(view.editor(), nullptr);
    EXPECT_EQ(engine->customModes().value().size(), 1U);
}

TEST_F(ModesViewTest, PickersKeepAStoredSensorNoRowHolds) {
    const CustomMode stored(Uuid::random(), "Odd", "moon.fill", ModeSpeed::fixed(0.333),
                            ModeSensor::sensor("gone-a"), ModeSensor::sensor("gone-b"));
    engine->addCustomMode(stored);
    view.openEditor(stored);
    EXPECT_EQ(editor().triggerPicker().currentIndex(), -1);
    EXPECT_EQ(editor().displayPicker().currentIndex(), 0);
    EXPECT_EQ(editor().sliderLabel().text(), "Fixed speed");
    // Untouched, every stored value survives a save, the finer-than-a-step speed too.
    editor().save();
    EXPECT_EQ(engine->customModes().value().front(), stored);

    view.openEditor(stored);
    editor().triggerPicker().setCurrentIndex(1);
    editor().displayPicker().setCurrentIndex(2);
    EXPECT_EQ(editor().fields().controlSensor, ModeSensor::source(ControlSource::cpuAverage));
    EXPECT_EQ(editor().fields().displaySensorChoice, ModeSensor::source(ControlSource::cpuAverage));
    editor().displayPicker().setCurrentIndex(0);
    EXPECT_EQ(editor().fields().displaySensorChoice, std::nullopt);
}

} // namespace
} // namespace halvoren::modes
