#include "Interruption.h"

#include <atomic>
#include <csignal>

namespace Korvex::Tool {
namespace {

std::atomic<bool> isRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void noteInterruption(int signal) {
    isRequested = true;
    std::signal(signal, SIG_DFL);
}

}  // namespace

Interruption::Interruption() {
    isRequested = false;
    previousInterrupt_ = std::signal(SIGINT, noteInterruption);
    previousTerminate_ = std::signal(SIGTERM, noteInterruption);
}

Interruption::~Interruption() {
    std::signal(SIGINT, previousInterrupt_);
    std::signal(SIGTERM, previousTerminate_);
}

bool Interruption::requested() const noexcept {
    return isRequested;
}

}  // namespace Korvex::Tool
