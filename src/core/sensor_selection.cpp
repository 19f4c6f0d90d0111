#include "core/sensor_selection.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

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
std::uint64_t familyOf(const SMCSensor& sensor, std::size_t index) {
    const std::string_view key = sensor.key;
    if (key.size() != 4) {
        return (std::uint64_t{1} << 32U) + index;
    }
    const auto byte = [&](std::size_t i) {
        return static_cast<std::uint64_t>(static_cast<unsigned char>(key[i]));
    };
    return (byte(0) << 16U) | (byte(1) << 8U) | byte(3);
}

struct FamilyReading {
    std::uint64_t family;
    double value;
};

// Leaves one entry per family, holding its middle reading (the lower of two middles).
void keepFamilyMedians(std::vector<FamilyReading>& readings) {
    std::sort(readings.begin(), readings.end(), [](const FamilyReading& a, const FamilyReading& b) {
        return a.family != b.family ? a.family < b.family : a.value < b.value;
    });
    std::size_t kept = 0;
    for (std::size_t begin = 0; begin < readings.size();) {
        std::size_t end = begin;
        while (end < readings.size() && readings[end].family == readings[begin].family) {
            ++end;
        }
        readings[kept++] = readings[begin + (end - begin - 1) / 2];
        begin = end;
    }
    readings.resize(kept);
}

double familyMedian(const std::vector<FamilyReading>& medians, std::uint64_t family) {
    const auto it =
        std::lower_bound(medians.begin(), medians.end(), family,
                         [](const FamilyReading& entry, std::uint64_t f) { return entry.family < f; });
    // Every live reading's family is there; a dead one's is not, and it is never asked for.
    return it != medians.end() && it->family == family ? it->value : 0.0;
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

    // Every other live reading is held, alone and as a family, to the reference plus its margin.
    const auto bound = [&](const SMCSensor& sensor) {
        return *reference + (placement(sensor.category) == Placement::onDie ? onDieMargin : offDieMargin);
    };
    std::vector<FamilyReading> families;
    if (reference) {
        for (std::size_t i = 0; i < sensors.size(); ++i) {
            const SMCSensor& sensor = sensors[i];
            if (isCandidate(sensor) && placement(sensor.category) != Placement::die &&
                isLive(sensor.currentTemp)) {
                families.push_back({familyOf(sensor, i), sensor.currentTemp});
            }
        }
        keepFamilyMedians(families);
    }

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
        const double limit = bound(sensor);
        return sensor.currentTemp <= limit && familyMedian(families, familyOf(sensor, i)) <= limit;
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
