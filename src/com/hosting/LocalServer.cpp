#include "com/hosting/LocalServer.h"

#include <chrono>

#include "com/Mutex.h"
#include "com/hosting/ProcessHold.h"
#include "com/hosting/windows/ClassRegistration.h"

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
    // Waits for no new clients any more.
    void revoke() {
        const ScopedLock lock(mutex_);
        isRevoked_ = true;
        changed_.notifyAll();
    }

private:
    bool areHeldAgain() REQUIRES(mutex_) {
        changed_.waitFor(mutex_, kLinger, [this]() REQUIRES(mutex_) { return count_ > 0 || isRevoked_; });
        const auto more = isRevoked_ ? kUnderWay : std::chrono::milliseconds(0);
        return changed_.waitFor(mutex_, more, [this]() REQUIRES(mutex_) { return count_ > 0; });
    }

    Mutex mutex_;
    Condition changed_;
    int count_ GUARDED_BY(mutex_) = 0;
    bool hadAny_ GUARDED_BY(mutex_) = false;
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

HRESULT serveInApartment(const std::vector<ServedClass>& classes) {
    constexpr std::chrono::minutes kPatience(1);
    holdCounter = &changeHolds;
    const HRESULT hr = registerAll(classes);
    if (succeeded(hr)) {
        holds().waitForFirst(kPatience);
        holds().waitForLast();
    }
    revokeServedClasses();
    holds().waitForLast();
    return hr;
}

OpxString applicationKeyOf(const ModuleRegistration& registration) {
    return OLESTR("AppID\\") + registration.module.filename().native();
}

}  // namespace

HRESULT registerLocalServer(const ModuleRegistration& registration, REFGUID application) {
    const OpxString classKey = classKeyOf(registration.clsid);
    const OpxString id = guidText(application);
    std::vector<RegistryValue> values = classValues(registration);
    values.push_back({classKey, OLESTR("AppID"), id});
    values.push_back(
        {classKey + OLESTR("\\") + kProgramKey, {}, OLESTR("\"") + registration.module.native() + OLESTR("\"")});
    values.push_back({OLESTR("AppID\\") + id, {}, registration.module.stem().native()});
    values.push_back({applicationKeyOf(registration), OLESTR("AppID"), id});
    return writeClassesValues(values);
}

HRESULT unregisterLocalServer(const ModuleRegistration& registration, REFGUID application) {
    const HRESULT hr = deleteServerOfClass(registration, kProgramKey);
    if (isServedByEither(registration.clsid)) return hr;
    const HRESULT ofApplication =
        deleteClassesKeys({OLESTR("AppID\\") + guidText(application), applicationKeyOf(registration)});
    return failed(hr) ? hr : ofApplication;
}

HRESULT serveClasses(const std::vector<ServedClass>& classes) {
    if (const HRESULT hr = CoInitializeEx(nullptr, COINIT_MULTITHREADED); failed(hr)) return hr;
    const HRESULT hr = serveInApartment(classes);
    CoUninitialize();
    return hr;
}

void revokeServedClasses() {
    holds().revoke();
    classObjects().revoke();
}

}  // namespace Korvex::Com
