// Mutexes that say what they guard: clang checks it when it compiles (-Wthread-safety), other compilers read past it.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#ifdef __clang__
#define KORVEX_LOCK_ATTRIBUTE(...) __attribute__((__VA_ARGS__))
#else
#define KORVEX_LOCK_ATTRIBUTE(...)
#endif

// Of classes: a lock, and what holds one for as long as it lives.
#define CAPABILITY(kind) KORVEX_LOCK_ATTRIBUTE(capability(kind))
#define SCOPED_CAPABILITY KORVEX_LOCK_ATTRIBUTE(scoped_lockable)
// Of fields: touched with the lock held only.
#define GUARDED_BY(lock) KORVEX_LOCK_ATTRIBUTE(guarded_by(lock))
// Of functions: called with the locks held; takes them; gives them up; answers a reference to one.
#define REQUIRES(...) KORVEX_LOCK_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define ACQUIRE(...) KORVEX_LOCK_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define RELEASE(...) KORVEX_LOCK_ATTRIBUTE(release_capability(__VA_ARGS__))
#define RETURN_CAPABILITY(lock) KORVEX_LOCK_ATTRIBUTE(lock_returned(lock))
// Of functions that are left out; a comment says why.
#define NO_THREAD_SAFETY_ANALYSIS KORVEX_LOCK_ATTRIBUTE(no_thread_safety_analysis)

namespace Korvex {

class CAPABILITY("mutex") Mutex {
public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

private:
    friend class Condition;
    std::mutex mutex_;
};

class CAPABILITY("mutex") RecursiveMutex {
public:
    void lock() ACQUIRE() { mutex_.lock(); }
    void unlock() RELEASE() { mutex_.unlock(); }

private:
    std::recursive_mutex mutex_;
};

// Holds a lock of any kind, but for the time between `unlock` and `lock`.
template <typename Lock>
class SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(Lock& lock) ACQUIRE(lock) : lock_(lock) { lock_.lock(); }
    ~ScopedLock() RELEASE() {
        if (held_) lock_.unlock();
    }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    void unlock() RELEASE() {
        held_ = false;
        lock_.unlock();
    }
    void lock() ACQUIRE() {
        lock_.lock();
        held_ = true;
    }

private:
    Lock& lock_;
    bool held_ = true;
};

// A condition variable. A wait without `isTrue` returns for no reason too, so it stands in a loop that tests the
// condition. `isTrue` is called with the mutex held, by the name that the caller has for it: the analysis cannot
// follow.
class Condition {
public:
    void notifyOne() noexcept { changed_.notify_one(); }
    void notifyAll() noexcept { changed_.notify_all(); }

    void wait(Mutex& mutex) REQUIRES(mutex) {
        Held held(mutex);
        changed_.wait(held.lock);
    }
    template <typename IsTrue>
    void wait(Mutex& mutex, const IsTrue& isTrue) NO_THREAD_SAFETY_ANALYSIS {
        while (!isTrue()) wait(mutex);
    }
    // False after `limit`.
    template <typename Rep, typename Period>
    bool waitFor(Mutex& mutex, std::chrono::duration<Rep, Period> limit) REQUIRES(mutex) {
        return waitUntil(mutex, std::chrono::steady_clock::now() + limit);
    }
    template <typename Clock, typename Duration>
    bool waitUntil(Mutex& mutex, std::chrono::time_point<Clock, Duration> time) REQUIRES(mutex) {
        Held held(mutex);
        return changed_.wait_until(held.lock, time) == std::cv_status::no_timeout;
    }

    template <typename Rep, typename Period, typename IsTrue>
    bool waitFor(Mutex& mutex, std::chrono::duration<Rep, Period> limit,
                 const IsTrue& isTrue) NO_THREAD_SAFETY_ANALYSIS {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (!isTrue()) {
            if (!waitUntil(mutex, end)) return isTrue();
        }
        return true;
    }

private:
    // The caller's hold on the mutex, in the form that the standard library asks for.
    struct Held {
        explicit Held(Mutex& mutex) : lock(mutex.mutex_, std::adopt_lock) {}
        ~Held() { lock.release(); }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;

        std::unique_lock<std::mutex> lock;
    };

    std::condition_variable changed_;
};

}  // namespace Korvex
