#pragma once

#include "helper/fan_writer.h"

#include <filesystem>
#include <memory>
#include <vector>

namespace halvoren {

// Fan writes through a generic hwmon driver that takes a target speed. A channel N qualifies
// when the device has a writable pwm<N>_enable and a fan<N>_target; fan i is the i-th
// qualifying channel in ascending N. A target is pwm<N>_enable = 1 then fan<N>_target = RPM;
// handing back writes pwm<N>_enable as it was when the writer was made, or 2 (automatic)
// when it could not be read or was 1, which may be left over from a helper that was killed.
// The limits are fan<N>_min and fan<N>_max; without both the fan's target cannot be set.
class HwmonFanWriter final : public FanWriter {
public:
    // The first device under `root`, in hwmon order, that is not applesmc and has a
    // qualifying channel; null when there is none.
    static std::unique_ptr<HwmonFanWriter> open(const std::filesystem::path& root);

    std::string description() const override;
    int fanCount() const override { return static_cast<int>(channels_.size()); }
    FanLimits limits(int fan) override;
    double setTarget(int fan, double rpm) override;
    void setAutomatic(int fan) override;
    std::vector<std::pair<std::filesystem::path, long long>> handBackFiles() const override;

    static constexpr long long automaticMode = 2;

private:
    struct Channel {
        int number = 0;
        std::filesystem::path enable;
        std::filesystem::path target;
        std::filesystem::path minimum;
        std::filesystem::path maximum;
        long long handBackMode = automaticMode;
    };

    HwmonFanWriter(std::filesystem::path directory, std::vector<Channel> channels);

    std::filesystem::path directory_;
    std::vector<Channel> channels_;
};

} // namespace halvoren
