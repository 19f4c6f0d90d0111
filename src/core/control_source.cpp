#include "core/control_source.h"

#include <nlohmann/json.hpp>

namespace halvoren {

std::string_view displayName(ControlSource source) {
    switch (source) {
    case ControlSource::hottest:
        return "Hottest Sensor";
    case ControlSource::cpuAverage:
        return "CPU Core Average";
    case ControlSource::cpuPerformance:
        return "CPU Performance";
    case ControlSource::cpuEfficiency:
        return "CPU Efficiency";
    case ControlSource::gpuAverage:
        return "GPU Average";
    }
    return {};
}

void to_json(Json& j, ControlSource source) {
    j = json::enumToJson(source);
}
void from_json(const Json& j, ControlSource& source) {
    source = json::enumFromJson<ControlSource>(j, "controlSource");
}

} // namespace halvoren
