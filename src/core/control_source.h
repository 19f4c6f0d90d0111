#pragma once

#include "core/json_support.h"
#include "core/json_value.h"

#include <array>
#include <string_view>
#include <utility>

namespace halvoren {

// The temperature that drives the fan curve; encoded by its raw text.
enum class ControlSource { hottest, cpuAverage, cpuPerformance, cpuEfficiency, gpuAverage };

template <>
struct EnumTable<ControlSource> {
    static constexpr std::array<std::pair<ControlSource, std::string_view>, 5> entries{{
        {ControlSource::hottest, "hottest"},
        {ControlSource::cpuAverage, "cpuAverage"},
        {ControlSource::cpuPerformance, "cpuPerformance"},
        {ControlSource::cpuEfficiency, "cpuEfficiency"},
        {ControlSource::gpuAverage, "gpuAverage"},
    }};
};

std::string_view displayName(ControlSource source);

void to_json(Json& j, ControlSource source);
void from_json(const Json& j, ControlSource& source);

} // namespace halvoren
