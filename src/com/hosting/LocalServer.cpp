#include "com/hosting/LocalServer.h"

#include <chrono>

#include "com/Mutex.h"
#include "com/hosting/ProcessHold.h"

namespace Korvex::Com {
namespace {

// A client that had found a class object is on its way still.
constexpr std::chrono::milliseconds kUnderWay(300);
// Clients that leave often come back, as the next command of a script does, and would run into a process that is
// about to end.
constexpr std::chrono::seconds kLinger(5);

class Holds {
public:
    void change(int by) {
        const ScopedLock lock(mutex_);
        count_ += by;
        hadAny_ = true;
        changed_.notifyAll();
    }
    void waitForFirst(std::chrono::milliseconds patience) {
        const ScopedLock lock(mutex_);
        changed_.waitFor(mutex_, patience, [this]() REQUIRES(mutex_) { return hadAny_ || isRevoked_; });
    }
    // Until there have been none for as long as others may come.
    void waitForLast() {
        const ScopedLock lock(mutex_);
        do {
            changed_.wait(mutex_, [this]() REQUIRES(mutex_) { return count_ == 0; });
        } while (areHeldAgain());
    }
    // Waits for clients however long none come.
    void stay() {
        const ScopedLock lock(mutex_);
        stays_ = true;
        hadAny_ = true;
    }
    // Waits for no new clients any more.
    void revoke() {
        const ScopedLock lock(mutex_);
        isRevoked_ = true;
        changed_.notifyAll();
    }

private:
    bool areHeldAgain() REQUIRES(mutex_) {
        const auto isDecided = [this]() REQUIRES(mutex_) { return count_ > 0 || isRevoked_; };
        if (stays_)
            changed_.wait(mutex_, isDecided);
        else
            changed_.waitFor(mutex_, kLinger, isDecided);
        const auto more = isRevoked_ ? kUnderWay : std::chrono::milliseconds(0);
        return changed_.waitFor(mutex_, more, [this]() REQUIRES(mutex_) { return count_ > 0; });
    }

    Mutex mutex_;
    Condition changed_;
    int count_ GUARDED_BY(mutex_) = 0;
    bool hadAny_ GUARDED_BY(mutex_) = false;
    bool stays_ GUARDED_BY(mutex_) = false;
    bool isRevoked_ GUARDED_BY(mutex_) = false;
};

class ClassObjects {
public:
    HRESULT add(const ServedClass& served) {
        const ScopedLock lock(mutex_);
        DWORD cookie = 0;
        const HRESULT hr = CoRegisterClassObject(served.clsid, served.classObject.get(), CLSCTX_LOCAL_SERVER,
                                                 REGCLS_MULTIPLEUSE | REGCLS_SUSPENDED, &cookie);
        if (succeeded(hr)) cookies_.push_back(cookie);
        return hr;
    }
    void revoke() {
        const ScopedLock lock(mutex_);
        for (const DWORD cookie : cookies_) CoRevokeClassObject(cookie);
        cookies_.clear();
    }

private:
    Mutex mutex_;
    std::vector<DWORD> cookies_ GUARDED_BY(mutex_);
};

// Both outlive main(): threads of the server may still run then.
Holds& holds() {
    static Holds& instance = *new Holds();
    return instance;
}

ClassObjects& classObjects() {
    static ClassObjects& instance = *new ClassObjects();
    return instance;
}

// Not by COM's own count of the process, which suspends the classes for good when it reaches zero.
void changeHolds(int by) {
    holds().change(by);
}

HRESULT registerAll(const std::vector<ServedClass>& classes) {
    for (const ServedClass& each : classes)
        if (const HRESULT hr = classObjects().add(each); failed(hr)) return hr;
    return CoResumeClassObjects();
}

HRESULT serveInApartment(const std::vector<ServedClass>& classes, Stay stay) {
    constexpr std::chrono::minutes kPatience(1);
    holdCounter = &changeHolds;
    if (stay == Stay::untilRevoked) holds().stay();
    const HRESULT hr = registerAll(classes);
    if (succeeded(hr)) {
        holds().waitForFirst(kPatience);
        holds().waitForLast();
    }
    revokeServedClasses();
    holds().waitForLast();
    return hr;
}

}  // namespace

HRESULT serveClasses(const std::vector<ServedClass>& classes, Stay stay) {
    if (const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED); failed(hr)) return hr;
    const HRESULT hr = serveInApartment(classes, stay);
    CoUninitialize();
    return hr;
}

void revokeServedClasses() {
    holds().revoke();
    classObjects().revoke();
}

}  // namespace Korvex::Com
