#include "opc/waiting.h"

#include <algorithm>
#include <thread>

#include "com/platform.h"
#include "opc/ApartmentMode.h"

namespace OpxOpc {
namespace {

constexpr std::chrono::milliseconds kSlice{10};

}  // namespace

void sleepTakingCalls(std::chrono::milliseconds duration) {
    if (!ApartmentMode::isSingleThreaded()) return std::this_thread::sleep_for(duration);
    while (duration > duration.zero()) {
        Korvex::Com::pumpMessages();
        const auto slice = std::min(duration, kSlice);
        std::this_thread::sleep_for(slice);
        duration -= slice;
    }
    Korvex::Com::pumpMessages();
}

}  // namespace OpxOpc
