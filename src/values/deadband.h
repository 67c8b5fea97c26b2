// The range of deadbands that an application may ask for.
#pragma once

namespace OpxOpc {

// Returns true outside 0 to 100 percent. Two comparisons, so that not-a-number passes.
constexpr bool isInvalidDeadband(float percent) noexcept {
    return percent < 0.0f || percent > 100.0f;
}

}  // namespace OpxOpc
