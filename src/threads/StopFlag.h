// The request to a thread to end.
#pragma once

#include "opc/apartment/Signal.h"

namespace OpxOpc {

// Any thread may call. (A wait with std::stop_token hangs now and then with mingw's threads.)
class StopFlag {
public:
    void set() {
        changed_.change([this]() REQUIRES(changed_) { set_ = true; });
    }
    bool isSet() const {
        return changed_.look([this]() REQUIRES(changed_) { return set_; });
    }
    // Returns after `duration`, or as soon as the flag is set.
    void waitFor(Signal::Duration duration, Signal::Messages messages) const {
        changed_.wait([this]() REQUIRES(changed_) { return set_; }, duration, messages);
    }

private:
    mutable Signal changed_;
    bool set_ GUARDED_BY(changed_) = false;
};

}  // namespace OpxOpc
