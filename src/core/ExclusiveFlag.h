// Marks an operation that one thread at a time may carry out.
#pragma once

#include <atomic>

namespace OpxOpc {

class ExclusiveFlag {
public:
    // Taken while it lives; false where another one lives already, on this thread or another.
    class Claim {
    public:
        explicit Claim(ExclusiveFlag& flag) : flag_(flag), taken_(!flag.taken_.exchange(true)) {}
        ~Claim() {
            if (taken_) flag_.taken_ = false;
        }
        Claim(const Claim&) = delete;
        Claim& operator=(const Claim&) = delete;

        explicit operator bool() const noexcept { return taken_; }

    private:
        ExclusiveFlag& flag_;
        const bool taken_;
    };

private:
    std::atomic<bool> taken_ = false;
};

}  // namespace OpxOpc
