// The state of a group and its interfaces, and the reads and writes that go through them.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

#include <korvex/native/OpxItemValue.h>

#include "com/ComPtr.h"
#include "com/Mutex.h"
#include "com/opc_interfaces.h"
#include "opc/callbacks/OpxOPCDataCallback.h"
#include "opc/group/GroupInterfaces.h"

namespace OpxOpc {

struct DaGroupMgtPrivate {
    using Handles = std::vector<std::uint32_t>;
    using Codes = std::vector<std::int32_t>;

    // Keeps the group's interfaces and makes the group available.
    HRESULT SetIOPCItemMgt(IOPCItemMgt* itemMgt);
    // Makes the group unavailable. Answers the code of the last revocation, S_OK in a multi-threaded
    // apartment.
    HRESULT ReleaseOPCGroupInterfaces();

    HRESULT read(std::uint32_t maxAge, const Handles& handles, const std::vector<Opx::VType>& types,
                 std::vector<OpxItemValue>& values, Codes& errors) const;
    HRESULT readAsync(std::uint32_t transactionId, std::uint32_t maxAge, const Handles& handles, Codes& errors) const;
    HRESULT write(const Handles& handles, const std::vector<OpxVariant>& values, const std::vector<Opx::VType>& types,
                  Codes& errors) const;
    HRESULT writeAsync(std::uint32_t transactionId, const Handles& handles, const std::vector<OpxVariant>& values,
                       const std::vector<Opx::VType>& types, Codes& errors) const;

    // The callback's sink and how the server knows it.
    struct Advice {
        Korvex::Com::ComPtr<OpxOPCDataCallback> sink;
        DWORD cookie = 0;
        bool advised = false;
    };
    Advice advice() const {
        const Korvex::ScopedLock guard(adviceLock_);
        return advice_;
    }
    Advice exchangeAdvice(Advice replacement) {
        const Korvex::ScopedLock guard(adviceLock_);
        return std::exchange(advice_, std::move(replacement));
    }

    GroupInterfaces interfaces;
    OpxString name;
    std::atomic<std::uint32_t> updateRate = 0;
    std::atomic<bool> active = false;
    std::atomic<float> percentDeadband = 0;
    std::uint32_t clientHandle = 0;
    std::uint32_t serverHandle = 0;
    bool created = false;
    std::atomic<bool> available = false;
    bool dataAccess3IO = false;
    LCID localeId = LOCALE_SYSTEM_DEFAULT;

private:
    HRESULT readMaxAge(std::uint32_t maxAge, const Handles& handles, const std::vector<Opx::VType>& types,
                       std::vector<OpxItemValue>& values, Codes& errors) const;
    HRESULT readDevice(const Handles& handles, const std::vector<Opx::VType>& types, std::vector<OpxItemValue>& values,
                       Codes& errors) const;
    HRESULT readAsyncMaxAge(std::uint32_t transactionId, std::uint32_t maxAge, const Handles& handles,
                            Codes& errors) const;
    HRESULT readAsyncDevice(std::uint32_t transactionId, const Handles& handles, Codes& errors) const;

    mutable Korvex::Mutex adviceLock_;  // held for moments only
    Advice advice_ GUARDED_BY(adviceLock_);
};

}  // namespace OpxOpc
