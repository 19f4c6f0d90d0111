#pragma once

#include <optional>

namespace halvoren::theme {

enum class Appearance { light, dark };

// The desktop's light or dark scheme, unless the shell forced one (as "--appearance" does).
Appearance currentAppearance();
void forceAppearance(std::optional<Appearance> appearance);

// Accessibility preferences the views honour. Qt reports neither portably, so the shell sets
// them from the platform where it can; both start off.
bool prefersReducedMotion();
void setPrefersReducedMotion(bool reduced);
bool prefersIncreasedContrast();
void setPrefersIncreasedContrast(bool increased);

} // namespace halvoren::theme
