#pragma once

namespace halvoren {

// Whether a minute of the day (0...1439) falls in the daily window from `start` to `end`,
// which wraps over midnight when `start` is after `end`. The end minute is outside; equal
// bounds are an empty window, never a whole day.
constexpr bool isInQuietWindow(int minuteOfDay, int start, int end) {
    if (start == end) {
        return false;
    }
    if (start < end) {
        return minuteOfDay >= start && minuteOfDay < end;
    }
    return minuteOfDay >= start || minuteOfDay < end;
}

} // namespace halvoren
