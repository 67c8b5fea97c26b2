// The faults that a test or a demonstration has switched on.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "com/Mutex.h"
#include "com/com.h"

namespace Korvex::Simulation {

// Answers that no client should get: a success code with
enum class Nonsense {
    none,
    nullEverything,  // no output at all
    nullValues,      // the errors but no other array
    nullErrors,      // S_FALSE and no errors
    hiddenErrors,    // S_OK whatever the errors say
};

// A method is named "IOPCServer::AddGroup"; where the call is about an interface that stands behind
// it: "IOPCServer::QueryInterface (IID_IOPCBrowse)". What is switched on for the name without the
// interface holds for every interface.
class FaultSwitches {
public:
    // The fate of a call.
    struct Verdict {
        std::optional<HRESULT> answer;  // instead of carrying it out
        Nonsense nonsense = Nonsense::none;
    };

    // A call of `method` has arrived. Takes as long as delays and hangs tell; no lock is held meanwhile.
    Verdict admit(std::string_view method);

    // Number of calls of `method` since the last reset.
    unsigned calls(std::string_view method) const;

    // The nth call from now, or every call, answers `code`.
    void fault(std::string_view method, HRESULT code, std::optional<unsigned> nth);
    void delay(std::string_view method, std::chrono::milliseconds time);
    void hang(std::string_view method);
    void release(std::string_view method);
    void answer(std::string_view method, Nonsense nonsense);

    void refuse(std::string_view interfaceName);
    void accept(std::string_view interfaceName);
    void refuseDataAccess3(bool refused);
    bool isRefused(std::string_view interfaceName) const;

    void setDead(bool dead);
    bool isDead() const;

    // Switches everything off and lets hanging calls go on.
    void reset();

private:
    struct Fault {
        HRESULT code;
        unsigned callsBefore;  // that still go well
        bool once;
    };
    struct Method {
        std::optional<Fault> fault;
        std::chrono::milliseconds delay{0};
        bool hanging = false;
        Nonsense nonsense = Nonsense::none;
        unsigned calls = 0;
    };

    Method& at(std::string_view method) REQUIRES(mutex_);
    bool isHanging(std::string_view method) const REQUIRES(mutex_);
    std::chrono::milliseconds consult(std::string_view name, Verdict& verdict) REQUIRES(mutex_);

    mutable Mutex mutex_;
    Condition released_;
    std::map<std::string, Method, std::less<>> methods_ GUARDED_BY(mutex_);
    std::set<std::string, std::less<>> refused_ GUARDED_BY(mutex_);
    bool refusesDataAccess3_ GUARDED_BY(mutex_) = false;
    bool dead_ GUARDED_BY(mutex_) = false;
};

}  // namespace Korvex::Simulation
