#pragma once

#include "helper/fan_writer.h"
#include "smc/linux/hwmon_directory.h"

#include <filesystem>
#include <memory>

namespace halvoren {

// Fan writes through the applesmc driver of a Mac running Linux. Fan i is the driver's
// fan<i+1>: fan<N>_manual = 1 then fan<N>_output = RPM as an integer for a target,
// fan<N>_manual = 0 to hand it back; the limits are fan<N>_min and fan<N>_max.
class AppleSMCFanWriter final : public FanWriter {
public:
    // The writer for the device named "applesmc" under `root`, or null when there is none.
    static std::unique_ptr<AppleSMCFanWriter> open(const std::filesystem::path& root);

    explicit AppleSMCFanWriter(Hwmon::Device device);

    std::string description() const override;
    int fanCount() const override { return fanCount_; }
    FanLimits limits(int fan) override;
    double setTarget(int fan, double rpm) override;
    void setAutomatic(int fan) override;
    std::vector<std::pair<std::filesystem::path, long long>> handBackFiles() const override;

private:
    std::filesystem::path file(int fan, std::string_view suffix) const;

    Hwmon::Device device_;
    int fanCount_ = 0;
};

} // namespace halvoren
