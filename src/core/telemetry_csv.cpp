#include "core/telemetry_csv.h"

#include "core/double_text.h"

#include <cstdio>

namespace halvoren {

std::string iso8601UTC(WallTime time) {
    using namespace std::chrono;
    const auto second = floor<seconds>(time);
    const auto day = floor<days>(second);
    const year_month_day date{day};
    const hh_mm_ss clock{second - day};
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

std::string telemetryCSV(std::span<const HistorySample> samples) {
    std::string csv = "timestamp,maxTempC,fanRPM,systemWatts,fanWatts\n";
    for (const auto& sample : samples) {
        csv += iso8601UTC(sample.timestamp);
        csv += ',' + fixedText(sample.maxTemp, 2);
        csv += ',' + fixedText(sample.fanRPM, 0);
        csv += ',' + fixedText(sample.systemWatts, 2);
        csv += ',' + fixedText(sample.fanWatts, 2);
        csv += '\n';
    }
    return csv;
}

std::string historyExportFileName(WallTime now) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now.time_since_epoch());
    return "Halvoren-History-" + std::to_string(seconds.count()) + ".csv";
}

} // namespace halvoren
