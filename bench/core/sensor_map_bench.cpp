#include "core/device_sensor_map.h"
#include "core/device_sensor_map_detail.h"
#include "core/sensor_classifier.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <vector>

namespace halvoren {
namespace {

constexpr std::size_t sensorCount = 250;

// A fixed linear congruential sequence, so every run measures the same readings.
class Readings {
public:
    double next(double lo, double hi) {
        state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
        return lo + (hi - lo) * static_cast<double>(state_ >> 11) / static_cast<double>(1ULL << 53);
    }

private:
    std::uint64_t state_ = 0x5EED;
};

std::string suffix(int index) {
    const auto alphabet = DeviceSensorMap::detail::suffixAlphabet;
    return {alphabet[static_cast<std::size_t>(index / 62)], alphabet[static_cast<std::size_t>(index % 62)]};
}

void addSensor(std::vector<SMCSensor>& sensors, const std::string& key, SMCDataType type, double value) {
    const auto classified = SensorClassifier::classify(key, type, value);
    sensors.push_back(SMCSensor{key, key, classified.name,
                                SensorClassifier::category(key, classified.sensorClass), value,
                                classified.sensorClass, std::string(unit(classified.sensorClass))});
}

// `runs` runs of `perRun` adjacent suffixes each, one index left out between runs; about
// one reading in eight is from sleeping silicon.
void addFamily(std::vector<SMCSensor>& sensors, Readings& readings, const std::string& family, int runs,
               int perRun, int firstIndex) {
    int index = firstIndex;
    for (int run = 0; run < runs; ++run, ++index) {
        for (int i = 0; i < perRun; ++i, ++index) {
            const bool asleep = readings.next(0, 1) < 0.125;
            addSensor(sensors, family + suffix(index), SMCDataType::Kind::flt,
                      asleep ? readings.next(0, 12) : readings.next(35, 95));
        }
    }
}

// A large Apple-silicon laptop: die sensors in runs for 8+2 performance units, 4 efficiency
// units (plus stray "Tex" keys that force the family path), 20+2 GPU units; battery,
// proximity, storage and power-manager sensors; two fans; then power, voltage and current
// keys up to 250, all in the controller's sorted order.
std::vector<SMCSensor> appleSiliconSensors() {
    Readings readings;
    std::vector<SMCSensor> sensors;
    sensors.reserve(sensorCount);
    addFamily(sensors, readings, "Tp", 10, 4, 1);
    addFamily(sensors, readings, "Te", 4, 3, 5);
    addFamily(sensors, readings, "Tg", 20, 3, 5);
    addFamily(sensors, readings, "TG", 2, 2, 1);
    for (const char* key : {"Tex0", "Tex1", "Tex2", "Tex3", "Tex4", "Tex5"}) {
        addSensor(sensors, key, SMCDataType::Kind::flt, readings.next(35, 70));
    }
    for (const char* key : {"TB0T", "TB1T", "TB2T", "TW0P", "TPSP", "TDeL", "TDeR", "TH0x", "TH0a", "TH0b",
                            "TPD0", "TPD1", "TPD2", "TPD3", "TPD4", "TPD5", "TPD6", "TPD7", "TPD8", "TPD9",
                            "Ts0P", "Ts1P", "Ta0P", "Ta1P", "Tm0P", "Tm1P", "TC0P", "Tf04", "Tne0", "TZ0P"}) {
        addSensor(sensors, key, SMCDataType::Kind::sp78, readings.next(25, 50));
    }
    addSensor(sensors, "F0Ac", SMCDataType::Kind::flt, readings.next(1200, 5000));
    addSensor(sensors, "F1Ac", SMCDataType::Kind::flt, readings.next(1200, 5000));
    for (int i = 0; sensors.size() < sensorCount; ++i) {
        const char letter = "PVI"[i % 3];
        const std::string key = std::string(1, letter).append(suffix(i / 3 + 100)).append("R");
        addSensor(sensors, key, SMCDataType::Kind::flt, readings.next(0, 20));
    }
    std::sort(sensors.begin(), sensors.end(),
              [](const SMCSensor& a, const SMCSensor& b) { return a.key < b.key; });
    return sensors;
}

// What the main thread does on every sensor refresh: the device list plus every control source.
void BM_SensorMapRefresh(benchmark::State& state) {
    const std::vector<SMCSensor> sensors = appleSiliconSensors();
    const DeviceSensorMap::CoreCounts counts{8, 4};
    for (auto _ : state) {
        auto rows = DeviceSensorMap::fixedList(sensors, counts);
        benchmark::DoNotOptimize(rows);
        for (const ControlSource source : allCases<ControlSource>()) {
            auto value = DeviceSensorMap::aggregate(source, sensors, counts);
            benchmark::DoNotOptimize(value);
        }
    }
    state.counters["sensors"] = static_cast<double>(sensors.size());
}
BENCHMARK(BM_SensorMapRefresh)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace halvoren
