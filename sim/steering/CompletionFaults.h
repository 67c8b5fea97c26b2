// The faults of the completions of asynchronous calls.
#pragma once

#include <functional>
#include <optional>

#include "com/Mutex.h"
#include "com/com.h"

namespace Korvex::Simulation {

enum class Completion {
    normal,
    dropped,             // never comes
    doubled,             // comes twice
    unknownTransaction,  // names a transaction that the client did not start
    unknownHandle,       // its first item is none of the client's
    early,               // comes before the call that started it has returned
    nullArrays,          // counts its items and delivers no arrays
};

class CompletionFaults {
public:
    Completion mode() const;
    void setMode(Completion mode);

    // While held, completions wait before the operation is carried out, where it can be cancelled.
    void hold(bool held);
    void waitWhileHeld(const std::function<bool()>& abandoned) const;

    // Codes that replace the master quality and the master error of read completions and data
    // changes; the master error of write completions too.
    struct Masters {
        std::optional<HRESULT> quality;
        std::optional<HRESULT> error;
    };
    Masters masters() const;
    void setMasters(Masters masters);

    void reset();

private:
    mutable Mutex mutex_;
    mutable Condition released_;
    Completion mode_ GUARDED_BY(mutex_) = Completion::normal;
    bool held_ GUARDED_BY(mutex_) = false;
    Masters masters_ GUARDED_BY(mutex_);
};

}  // namespace Korvex::Simulation
