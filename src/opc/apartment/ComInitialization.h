// COM as the library brings it up for its objects: by the first of them, and down with the last.
#pragma once

#include <optional>
#include <thread>
#include <utility>

#include "com/ComCalls.h"
#include "com/com.h"
#include "com/platform.h"

namespace OpxOpc {

// Not synchronised: the lock that guards the count of the objects guards this.
class ComInitialization {
public:
    // Puts the calling thread into the multi-threaded apartment. RPC_E_CHANGED_MODE where it is in one of its own.
    HRESULT begin() {
        const HRESULT hr = Korvex::Com::comCalls().coInitializeEx(COINIT_MULTITHREADED);
        if (succeeded(hr)) thread_ = std::this_thread::get_id();
        return hr;
    }
    // Keeps the multi-threaded apartment up for other threads, also when the one that began has ended.
    void holdMultiThreadedApartment() { hold_ = Korvex::Com::holdMultiThreadedApartment(); }
    // An apartment is a thread's: ended on another one, it would be that thread's own that ends.
    void end() {
        Korvex::Com::releaseMultiThreadedApartment(std::exchange(hold_, nullptr));
        if (thread_ == std::this_thread::get_id()) Korvex::Com::comCalls().coUninitialize();
        thread_.reset();
    }

private:
    std::optional<std::thread::id> thread_;  // the one that began, if it did
    void* hold_ = nullptr;
};

}  // namespace OpxOpc
