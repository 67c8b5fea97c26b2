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
    ScopedLock lock(mutex_);
    Verdict verdict;
    std::chrono::milliseconds delay = consult(method, verdict);
    if (const auto general = withoutInterface(method); general != method)
        delay = std::max(delay, consult(general, verdict));

    if (delay.count() > 0) {
        lock.unlock();
        std::this_thread::sleep_for(delay);
        lock.lock();
    }
    while (isHanging(method)) released_.wait(mutex_);
    if (dead_) verdict.answer = kServerUnavailable;
    return verdict;
}

// Counts a call under `name`, adds what is switched on for it to the verdict, and returns its delay.
std::chrono::milliseconds FaultSwitches::consult(std::string_view name, Verdict& verdict) {
    Method& switches = at(name);
    ++switches.calls;
    if (switches.nonsense != Nonsense::none) verdict.nonsense = switches.nonsense;
    if (!switches.fault || switches.fault->callsBefore-- > 0) return switches.delay;
    verdict.answer = switches.fault->code;
    if (switches.fault->once)
        switches.fault.reset();
    else
        switches.fault->callsBefore = 0;
    return switches.delay;
}

unsigned FaultSwitches::calls(std::string_view method) const {
    const ScopedLock lock(mutex_);
    const auto found = methods_.find(method);
    return found == methods_.end() ? 0 : found->second.calls;
}

void FaultSwitches::fault(std::string_view method, HRESULT code, std::optional<unsigned> nth) {
    const ScopedLock lock(mutex_);
    at(method).fault = Fault{code, nth ? *nth - 1 : 0, nth.has_value()};
}

void FaultSwitches::delay(std::string_view method, std::chrono::milliseconds time) {
    const ScopedLock lock(mutex_);
    at(method).delay = time;
}

void FaultSwitches::hang(std::string_view method) {
    const ScopedLock lock(mutex_);
    at(method).hanging = true;
}

void FaultSwitches::release(std::string_view method) {
    const ScopedLock lock(mutex_);
    at(method).hanging = false;
    released_.notifyAll();
}

void FaultSwitches::answer(std::string_view method, Nonsense nonsense) {
    const ScopedLock lock(mutex_);
    at(method).nonsense = nonsense;
}

void FaultSwitches::refuse(std::string_view interfaceName) {
    const ScopedLock lock(mutex_);
    refused_.emplace(interfaceName);
}

void FaultSwitches::accept(std::string_view interfaceName) {
    const ScopedLock lock(mutex_);
    if (const auto found = refused_.find(interfaceName); found != refused_.end()) refused_.erase(found);
}

void FaultSwitches::refuseDataAccess3(bool refused) {
    const ScopedLock lock(mutex_);
    refusesDataAccess3_ = refused;
}

bool FaultSwitches::isRefused(std::string_view interfaceName) const {
    const ScopedLock lock(mutex_);
    return refused_.contains(interfaceName) || (refusesDataAccess3_ && isDataAccess3(interfaceName));
}

void FaultSwitches::setDead(bool dead) {
    const ScopedLock lock(mutex_);
    dead_ = dead;
}

bool FaultSwitches::isDead() const {
    const ScopedLock lock(mutex_);
    return dead_;
}

void FaultSwitches::reset() {
    const ScopedLock lock(mutex_);
    methods_.clear();
    refused_.clear();
    refusesDataAccess3_ = false;
    dead_ = false;
    released_.notifyAll();
}

FaultSwitches::Method& FaultSwitches::at(std::string_view method) {
    const auto found = methods_.find(method);
    return found != methods_.end() ? found->second : methods_[std::string(method)];
}

bool FaultSwitches::isHanging(std::string_view method) const {
    for (const std::string_view name : {method, withoutInterface(method)}) {
        if (const auto found = methods_.find(name); found != methods_.end() && found->second.hanging) return true;
    }
    return false;
}

}  // namespace Korvex::Simulation
