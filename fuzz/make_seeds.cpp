// Writes the seed inputs of every fuzz target into DIR/<target>/, each made by the program's own
// encoders from its own values, so the seeds follow the formats as they change. The machine
// profiles are seeded by scripts/fuzz.sh from data/machines.
//   make_seeds DIR

#include "core/alert_rules.h"
#include "core/custom_mode.h"
#include "core/enum_keyed_map.h"
#include "core/fan_profile.h"
#include "core/fan_status.h"
#include "core/frame_codec.h"
#include "core/helper_messages.h"
#include "core/json_value.h"
#include "core/power_telemetry.h"
#include "core/preset_power_caps.h"
#include "core/sensor.h"
#include "core/smc_data_codec.h"
#include "core/thermal_almanac.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace {

using namespace halvoren;
namespace fs = std::filesystem;

class SeedWriter {
public:
    SeedWriter(const fs::path& root, const std::string& target)
        : dir_(root / target) {
        fs::create_directories(dir_);
    }

    void add(const std::string& bytes) {
        std::ofstream(dir_ / ("seed-" + std::to_string(count_++)), std::ios::binary) << bytes;
    }
    // A selector byte before the rest, as the targets that fuzz several types read it.
    void add(int selector, const std::string& rest) {
        add(std::string(1, static_cast<char>(selector)) + rest);
    }

private:
    fs::path dir_;
    int count_ = 0;
};

std::string doubleBytes(double value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

void helperFrames(const fs::path& root) {
    SeedWriter seeds(root, "fuzz_helper_frames");
    const std::vector<HelperRequest> requests{
        {.id = 1, .method = HelperMethod::setTargetRPM, .fan = 0, .rpm = 2400.0},
        {.id = 2, .method = HelperMethod::setManualControl, .fan = 1, .enabled = true},
        {.id = 3, .method = HelperMethod::restoreAutomaticControl},
        {.id = 4, .method = HelperMethod::heartbeat},
        {.id = 5, .method = HelperMethod::helperVersion},
    };
    std::string all;
    for (const auto& request : requests) {
        seeds.add(3, frameBytes(encodeRequest(request)));
        all += frameBytes(encodeRequest(request));
    }
    seeds.add(0, all);
    for (const auto& reply : std::vector<HelperReply>{{1, HelperReply::Applied{2400.0}},
                                                      {2, std::monostate{}},
                                                      {4, HelperReply::Uptime{12.5}},
                                                      {5, HelperReply::Version{"1.2.0"}},
                                                      {6, HelperReply::Failure{"fan 7 does not exist"}}}) {
        seeds.add(7, frameBytes(encodeReply(reply)));
    }
    seeds.add(1, frameBytes("") + frameBytes("{}") + std::string("\xff\xff\xff\xff", 4));
}

void smcCodec(const fs::path& root) {
    SeedWriter seeds(root, "fuzz_smc_codec");
    // Selector: the low bits pick fpe2, sp78, flt, ui8, ui16, ui32, flag, other; 0x80 encodes.
    const std::vector<std::pair<SMCDataType, double>> values{
        {SMCDataType::Kind::fpe2, 1200.25}, {SMCDataType::Kind::sp78, -12.5},
        {SMCDataType::Kind::flt, 48.75},    {SMCDataType::Kind::ui8, 2.0},
        {SMCDataType::Kind::ui16, 900.0},   {SMCDataType::Kind::ui32, 70000.0},
        {SMCDataType::Kind::flag, 1.0},
    };
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto bytes = SMCDataCodec::encode(values[i].second, values[i].first);
        seeds.add(static_cast<int>(i), std::string(bytes.begin(), bytes.end()));
        seeds.add(static_cast<int>(i) | 0x80, doubleBytes(values[i].second));
    }
    seeds.add(7, std::string("ch8*\x01\x02", 6));
}

template <class T>
void addJson(SeedWriter& seeds, int selector, const T& value) {
    seeds.add(selector, Json(value).dump());
}

void modelJson(const fs::path& root) {
    SeedWriter seeds(root, "fuzz_model_json");
    // Selectors in the order of fuzz_model_json.cpp.
    addJson(seeds, 0, AlertRule{true, 95.0, true});
    addJson(seeds, 1, ControlSource::cpuPerformance);
    addJson(seeds, 2, FanProfile::halvorenStandard().curvePoints.front());
    addJson(seeds, 3, ControlMode::adaptiveCurve);
    for (const auto& profile : FanProfile::builtins()) {
        addJson(seeds, 4, profile);
    }
    addJson(seeds, 5, FanPreset::auto_);
    addJson(seeds, 6, FanStatus{1, 2100.0, 1200.0, 6000.0, 2400.0, true});
    addJson(seeds, 7, PowerSource::battery);
    addJson(seeds, 8, PowerTelemetry{PowerSource::ac, 21.5, true, false, 72.0});
    addJson(seeds, 9, PresetPowerCaps{0.55, 0.35});
    addJson(seeds, 10, SensorCategory::neuralEngine);
    addJson(seeds, 11, SensorClass::power);
    addJson(seeds, 12,
            SMCSensor{"smc.Tp09", "Tp09", "CPU Performance Core 1", SensorCategory::cpu, 61.5,
                      SensorClass::temperature, "°C"});
    addJson(seeds, 13, Uuid::fromLiteral("6F9619FF-8B86-D011-B42D-00C04FC964FF"));
    seeds.add(14, encodeEnumKeyedMap(defaultAlertRules()).dump());
    seeds.add(15, encodeEnumKeyedMap(defaultPresetPowerCaps()).dump());
    seeds.add(16, "6f9619ff-8b86-d011-b42d-00c04fc964ff");
}

void customModes(const fs::path& root) {
    SeedWriter seeds(root, "fuzz_custom_modes");
    seeds.add(encodeCustomModes(CustomMode::templates()));
    seeds.add(encodeCustomModes(
        {CustomMode(Uuid::random(), "Desk", "moon.fill", ModeSpeed::fixed(0.4),
                    ModeSensor::sensor("smc.Tp09"), ModeSensor::source(ControlSource::gpuAverage), true)}));
    seeds.add(R"([{"id":"6F9619FF-8B86-D011-B42D-00C04FC964FF","name":"Old","symbolName":"cube.fill",)"
              R"("floorPercentage":0.3}])");
}

void settingsStore(const fs::path& root) {
    SeedWriter seeds(root, "fuzz_settings_store");
    // Key index in the order of fuzz_settings_store.cpp, then the kind: 0 bytes, 1 text,
    // 2 double, 3 integer, 4 boolean.
    const auto add = [&](int key, int kind, const std::string& rest) {
        seeds.add(std::string{static_cast<char>(key), static_cast<char>(kind)} + rest);
    };
    add(0, 2, doubleBytes(1800.0));
    add(0, 1, "450.5");
    add(2, 1, "nebula");
    add(4, 4, "\x01");
    add(12, 1, "95");
    add(15, 0, encodeEnumKeyedMap(defaultAlertRules()).dump());
    add(16, 0, encodeEnumKeyedMap(defaultPresetPowerCaps()).dump());
    add(17, 0, encodeCustomModes(CustomMode::templates()));
    add(18, 1, CustomMode::gamingTemplate().id.toString());
    add(20, 3, std::string("\x10\x02\0\0\0\0\0\0", 8));
    add(21, 1, "480");
    add(23, 1, "600");
    add(24, 0, R"(["TC0P","Tp09"])");
}

} // namespace

void thermalAlmanac(const fs::path& root) {
    SeedWriter seeds(root, "fuzz_thermal_almanac");
    ThermalAlmanac almanac;
    almanac.days = {{"2027-01-14", {{0, 48.5}, {13, 71.0}, {23, 55.25}}}, {"2027-01-15", {{9, 62.0}}}};
    seeds.add(encodeThermalAlmanac(almanac).value_or("{}"));
    seeds.add(R"({"days":[{"dayKey":"2027-01-15","hourPeaks":{"09":60}}]})");
}

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_seeds DIR\n");
        return 2;
    }
    const fs::path root = argv[1];
    helperFrames(root);
    smcCodec(root);
    modelJson(root);
    customModes(root);
    settingsStore(root);
    thermalAlmanac(root);
    return 0;
}
