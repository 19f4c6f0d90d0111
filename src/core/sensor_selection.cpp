#include "core/sensor_selection.h"

#include <algorithm>
#include <string_view>

namespace halvoren::SensorSelection {

namespace {

// Where a sensor sits relative to the silicon that makes the heat.
enum class Placement { die, onDie, offDie };

Placement placement(SensorCategory category) {
    switch (category) {
    case SensorCategory::cpu:
    case SensorCategory::gpu:
        return Placement::die;
    case SensorCategory::neuralEngine: // the fabric and neural-engine families
        return Placement::onDie;
    case SensorCategory::memory:
    case SensorCategory::battery:
    case SensorCategory::enclosure:
        break;
    }
    return Placement::offDie;
}

bool isCandidate(const SMCSensor& sensor) {
    return sensor.sensorClass == SensorClass::temperature && isNamed(sensor);
}

// The same sensor repeated over a chip's blocks shares its family letters and its last
// character ("Tf06", "Tf16", "Tf26"): one family. Keys of another shape are families alone.
bool sameFamily(const SMCSensor& a, const SMCSensor& b) {
    const std::string_view x = a.key;
    const std::string_view y = b.key;
    if (x.size() != 4 || y.size() != 4) {
        return &a == &b;
    }
    return x[0] == y[0] && x[1] == y[1] && x[3] == y[3];
}

// Whether the middle live reading of `sensor`'s family (the lower of two middles) is at most
// `limit`: at least half of the family, rounded up, is.
bool familyWithin(std::span<const SMCSensor> sensors, const SMCSensor& sensor, double limit) {
    int members = 0;
    int within = 0;
    for (const SMCSensor& other : sensors) {
        if (isCandidate(other) && isLive(other.currentTemp) && sameFamily(sensor, other)) {
            ++members;
            within += other.currentTemp <= limit ? 1 : 0;
        }
    }
    return within >= (members + 1) / 2;
}

} // namespace

bool isNamed(const SMCSensor& sensor) {
    return sensor.name != sensor.key;
}

void ReadingHistory::record(std::span<const SMCSensor> sensors, double now) {
    const bool sameKeys = std::equal(sensors.begin(), sensors.end(), entries_.begin(), entries_.end(),
                                     [](const SMCSensor& s, const Entry& e) { return s.key == e.key; });
    if (!sameKeys) {
        entries_.clear();
        entries_.reserve(sensors.size());
        for (const SMCSensor& sensor : sensors) {
            entries_.push_back({sensor.key, sensor.currentTemp, now});
        }
    } else {
        for (std::size_t i = 0; i < sensors.size(); ++i) {
            Entry& entry = entries_[i];
            if (entry.value != sensors[i].currentTemp) {
                entry.value = sensors[i].currentTemp;
                entry.since = now;
            }
        }
    }
    now_ = now;
}

double ReadingHistory::stillFor(std::size_t index, const SMCSensor& sensor) const {
    if (index >= entries_.size()) {
        return 0.0;
    }
    const Entry& entry = entries_[index];
    if (entry.key != sensor.key || entry.value != sensor.currentTemp) {
        return 0.0;
    }
    return now_ - entry.since;
}

std::optional<std::size_t> trustedHottest(std::span<const SMCSensor> sensors, const ReadingHistory& history) {
    // The reference: the hottest live die reading, leaving out parked ones as long as some
    // die reading still moves. With none moving (a static controller), none counts as parked.
    std::optional<double> movingReference;
    std::optional<double> anyReference;
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        const SMCSensor& sensor = sensors[i];
        if (!isCandidate(sensor) || placement(sensor.category) != Placement::die ||
            !isLive(sensor.currentTemp)) {
            continue;
        }
        const double value = sensor.currentTemp;
        anyReference = std::max(anyReference.value_or(value), value);
        if (history.stillFor(i, sensor) < parkedAfter) {
            movingReference = std::max(movingReference.value_or(value), value);
        }
    }
    const bool parkingKnown = movingReference.has_value();
    const std::optional<double> reference = parkingKnown ? movingReference : anyReference;

    const auto believed = [&](std::size_t i, const SMCSensor& sensor) {
        if (!isLive(sensor.currentTemp)) {
            return false;
        }
        if (placement(sensor.category) == Placement::die) {
            return !parkingKnown || history.stillFor(i, sensor) < parkedAfter;
        }
        if (!reference) {
            return true;
        }
        // Held, alone and as a family, to the reference plus the margin of its place.
        const double limit =
            *reference + (placement(sensor.category) == Placement::onDie ? onDieMargin : offDieMargin);
        return sensor.currentTemp <= limit && familyWithin(sensors, sensor, limit);
    };

    std::optional<std::size_t> hottest;
    std::optional<std::size_t> hottestOfAll; // the plain largest, for when nothing live is believed
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        const SMCSensor& sensor = sensors[i];
        if (!isCandidate(sensor)) {
            continue;
        }
        if (!hottestOfAll || sensor.currentTemp > sensors[*hottestOfAll].currentTemp) {
            hottestOfAll = i;
        }
        if ((!hottest || sensor.currentTemp > sensors[*hottest].currentTemp) && believed(i, sensor)) {
            hottest = i;
        }
    }
    return hottest ? hottest : hottestOfAll;
}

std::optional<double> trustedMaxTemperature(std::span<const SMCSensor> sensors,
                                            const ReadingHistory& history) {
    if (const std::optional<std::size_t> index = trustedHottest(sensors, history)) {
        return sensors[*index].currentTemp;
    }
    return std::nullopt;
}

} // namespace halvoren::SensorSelection
