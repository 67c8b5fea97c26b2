#include "sim/steering/FaultSwitches.h"

#include <algorithm>
#include <thread>

#include "sim/OpcCodes.h"
#include "sim/com/interface_names.h"

namespace Korvex::Simulation {
namespace {

std::string_view withoutInterface(std::string_view method) {
    return method.substr(0, method.find(" ("));
}

}  // namespace

FaultSwitches::Verdict FaultSwitches::admit(std::string_view method) {
    std::unique_lock lock(mutex_);
    Verdict verdict;
    std::chrono::milliseconds delay{0};
    const auto consult = [&](std::string_view name) {
        Method& switches = at(name);
        ++switches.calls;
        delay = std::max(delay, switches.delay);
        if (switches.nonsense != Nonsense::none) verdict.nonsense = switches.nonsense;
        if (!switches.fault || switches.fault->callsBefore-- > 0) return;
        verdict.answer = switches.fault->code;
        if (switches.fault->once)
            switches.fault.reset();
        else
            switches.fault->callsBefore = 0;
    };
    consult(method);
    if (const auto general = withoutInterface(method); general != method) consult(general);

    if (delay.count() > 0) {
        lock.unlock();
        std::this_thread::sleep_for(delay);
        lock.lock();
    }
    released_.wait(lock, [&] { return !isHanging(method); });
    if (dead_) verdict.answer = kServerUnavailable;
    return verdict;
}

unsigned FaultSwitches::calls(std::string_view method) const {
    const std::lock_guard lock(mutex_);
    const auto found = methods_.find(method);
    return found == methods_.end() ? 0 : found->second.calls;
}

void FaultSwitches::fault(std::string_view method, HRESULT code, std::optional<unsigned> nth) {
    const std::lock_guard lock(mutex_);
    at(method).fault = Fault{code, nth ? *nth - 1 : 0, nth.has_value()};
}

void FaultSwitches::delay(std::string_view method, std::chrono::milliseconds time) {
    const std::lock_guard lock(mutex_);
    at(method).delay = time;
}

void FaultSwitches::hang(std::string_view method) {
    const std::lock_guard lock(mutex_);
    at(method).hanging = true;
}

void FaultSwitches::release(std::string_view method) {
    const std::lock_guard lock(mutex_);
    at(method).hanging = false;
    released_.notify_all();
}

void FaultSwitches::answer(std::string_view method, Nonsense nonsense) {
    const std::lock_guard lock(mutex_);
    at(method).nonsense = nonsense;
}

void FaultSwitches::refuse(std::string_view interfaceName) {
    const std::lock_guard lock(mutex_);
    refused_.emplace(interfaceName);
}

void FaultSwitches::accept(std::string_view interfaceName) {
    const std::lock_guard lock(mutex_);
    if (const auto found = refused_.find(interfaceName); found != refused_.end()) refused_.erase(found);
}

void FaultSwitches::refuseDataAccess3(bool refused) {
    const std::lock_guard lock(mutex_);
    refusesDataAccess3_ = refused;
}

bool FaultSwitches::isRefused(std::string_view interfaceName) const {
    const std::lock_guard lock(mutex_);
    return refused_.contains(interfaceName) || (refusesDataAccess3_ && isDataAccess3(interfaceName));
}

void FaultSwitches::setDead(bool dead) {
    const std::lock_guard lock(mutex_);
    dead_ = dead;
}

bool FaultSwitches::isDead() const {
    const std::lock_guard lock(mutex_);
    return dead_;
}

void FaultSwitches::reset() {
    const std::lock_guard lock(mutex_);
    methods_.clear();
    refused_.clear();
    refusesDataAccess3_ = false;
    dead_ = false;
    released_.notify_all();
}

FaultSwitches::Method& FaultSwitches::at(std::string_view method) {
    const auto found = methods_.find(method);
    return found != methods_.end() ? found->second : methods_[std::string(method)];
}

bool FaultSwitches::isHanging(std::string_view method) const {
    const auto hangs = [&](std::string_view name) {
        const auto found = methods_.find(name);
        return found != methods_.end() && found->second.hanging;
    };
    return hangs(method) || hangs(withoutInterface(method));
}

}  // namespace Korvex::Simulation
