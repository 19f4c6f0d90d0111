#pragma once

#include "core/json_support.h"

#include <array>
#include <nlohmann/json_fwd.hpp>
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

void to_json(nlohmann::json& j, ControlSource source);
void from_json(const nlohmann::json& j, ControlSource& source);

} // namespace halvoren
