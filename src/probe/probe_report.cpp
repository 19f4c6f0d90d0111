#include "probe/probe_report.h"

#include "core/json_support.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace halvoren::probe {
namespace {

std::string fixed(double value, int decimals) {
    if (!std::isfinite(value)) {
        return "-";
    }
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
    return buffer;
}

// Pads to `width` display columns; counts UTF-8 lead bytes so "°C" is two columns.
std::string pad(const std::string& text, std::size_t width) {
    const auto columns = static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    return columns >= width ? text + " " : text + std::string(width - columns, ' ');
}

std::string row(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += i + 1 < cells.size() ? pad(cells[i], widths[i]) : cells[i];
    }
    while (!line.empty() && line.back() == ' ') {
        line.pop_back();
    }
    return line + "\n";
}

std::string table(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (const auto& r : rows) {
        for (std::size_t i = 0; i < r.size(); ++i) {
            widths[i] = std::max(widths[i], r[i].size() + 2);
        }
    }
    std::string out;
    for (const auto& r : rows) {
        out += row(r, widths);
    }
    return out;
}

} // namespace

std::string formatText(const Report& report) {
    std::string out = "Source: " + report.source + "\n\n";
    out += "Sensors (" + std::to_string(report.sensors.size()) + ")\n";
    if (!report.sensors.empty()) {
        std::vector<std::vector<std::string>> rows{{"KEY", "NAME", "CATEGORY", "CLASS", "VALUE", "UNIT"}};
        for (const auto& s : report.sensors) {
            rows.push_back({s.key, s.name, std::string(rawValue(s.category)),
                            std::string(rawValue(s.sensorClass)), fixed(s.currentTemp, 2), s.unit});
        }
        out += table(rows);
    }
    out += "\nFans (" + std::to_string(report.fans.size()) + ")\n";
    if (!report.fans.empty()) {
        std::vector<std::vector<std::string>> rows{{"ID", "CURRENT", "MIN", "MAX", "TARGET", "MANAGED"}};
        for (const auto& f : report.fans) {
            rows.push_back({std::to_string(f.id), f.currentRPMValid ? fixed(f.currentRPM, 0) : "unreadable",
                            fixed(f.minRPM, 0), fixed(f.maxRPM, 0), fixed(f.targetRPM, 0),
                            f.isManaged ? "yes" : "no"});
        }
        out += table(rows);
    }
    return out;
}

std::string formatJson(const Report& report) {
    Json sensors = Json::array();
    for (const auto& s : report.sensors) {
        Json j = s;
        sensors.push_back(std::move(j));
    }
    Json fans = Json::array();
    for (const auto& f : report.fans) {
        Json j = f;
        j["currentRPMValid"] = f.currentRPMValid; // the probe shows it; the stored form leaves it out
        fans.push_back(std::move(j));
    }
    Json document{{"source", report.source}, {"sensors", sensors}, {"fans", fans}};
    // Key text from the controller may not be UTF-8: replace rather than fail.
    return document.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace halvoren::probe
