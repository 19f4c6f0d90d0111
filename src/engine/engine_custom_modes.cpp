#include "engine/halvoren_engine.h"

namespace halvoren {

void HalvorenEngine::addCustomMode(const CustomMode& mode) {
    customModes_.modify([&](std::vector<CustomMode>& modes) {
        modes.push_back(mode);
        return true;
    });
    persistCustomModes();
}

void HalvorenEngine::updateCustomMode(const CustomMode& mode) {
    const auto& modes = customModes_.value();
    const auto it = std::ranges::find(modes, mode.id, &CustomMode::id);
    if (it == modes.end()) {
        return;
    }
    const auto index = it - modes.begin();
    // An active mode's new values reach the control path at the next tick.
    customModes_.modify([&](std::vector<CustomMode>& list) {
        CustomMode& stored = list[static_cast<std::size_t>(index)];
        if (stored == mode) {
            return false;
        }
        stored = mode;
        return true;
    });
    persistCustomModes();
}

void HalvorenEngine::deleteCustomMode(const Uuid& id) {
    customModes_.modify([&](std::vector<CustomMode>& modes) {
        return std::erase_if(modes, [&](const CustomMode& mode) { return mode.id == id; }) > 0;
    });
    persistCustomModes();
    // The fans go to Balanced, not back to the firmware.
    if (activeCustomModeID_.value() == id) {
        selectPreset(FanPreset::auto_);
    }
}

void HalvorenEngine::selectCustomMode(const Uuid& id) {
    if (fans_->empty() ||
        std::ranges::find(customModes_.value(), id, &CustomMode::id) == customModes_->end()) {
        return;
    }
    activePreset_.set(std::nullopt);
    // Before applyProfile: its pipeline rebuild reads the active mode.
    setActiveCustomModeID(id);
    applyProfile(FanProfile::halvorenStandard());
}

std::optional<CustomMode> HalvorenEngine::activeCustomMode() const {
    const std::optional<Uuid>& id = activeCustomModeID_.value();
    if (!id) {
        return std::nullopt;
    }
    const auto it = std::ranges::find(customModes_.value(), *id, &CustomMode::id);
    if (it == customModes_->end()) {
        return std::nullopt; // a stored id whose mode is gone reads as no mode
    }
    return *it;
}

void HalvorenEngine::persistCustomModes() {
    store_.persistCustomModes(customModes_.value());
}

void HalvorenEngine::setActiveCustomModeID(std::optional<Uuid> id) {
    activeCustomModeID_.set(id);
    store_.persistActiveCustomModeID(id);
}

} // namespace halvoren
