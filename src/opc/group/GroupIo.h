// The reads and writes of a group.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxItemValue.h>

#include "com/com.h"
#include "opc/group/GroupInterfaces.h"

namespace OpxOpc {

// Goes through the group's interfaces, which have to outlive it. `errors` gets one code an item where a call answers
// S_FALSE, else none. Any thread may call, and several at once.
class GroupIo {
public:
    using Handles = std::vector<std::uint32_t>;
    using Types = std::vector<Opx::VType>;
    using Codes = std::vector<std::int32_t>;

    explicit GroupIo(const GroupInterfaces& interfaces) : interfaces_(interfaces) {}

    // Whether the server takes ages of values, as data access 3.0 has it; otherwise the device is asked.
    void takesAges(bool takes) noexcept { takesAges_ = takes; }
    // The locale of conversions.
    void locale(LCID locale) noexcept { locale_ = locale; }
    LCID locale() const noexcept { return locale_; }

    HRESULT read(std::uint32_t maxAge, const Handles& handles, const Types& types, std::vector<OpxItemValue>& values,
                 Codes& errors) const;
    HRESULT readAsync(std::uint32_t transactionId, std::uint32_t maxAge, const Handles& handles, Codes& errors) const;
    HRESULT write(const Handles& handles, const std::vector<OpxVariant>& values, const Types& types,
                  Codes& errors) const;
    HRESULT writeAsync(std::uint32_t transactionId, const Handles& handles, const std::vector<OpxVariant>& values,
                       const Types& types, Codes& errors) const;

private:
    HRESULT readMaxAge(std::uint32_t maxAge, const Handles& handles, const Types& types,
                       std::vector<OpxItemValue>& values, Codes& errors) const;
    HRESULT readDevice(const Handles& handles, const Types& types, std::vector<OpxItemValue>& values,
                       Codes& errors) const;
    HRESULT readAsyncMaxAge(std::uint32_t transactionId, std::uint32_t maxAge, const Handles& handles,
                            Codes& errors) const;
    HRESULT readAsyncDevice(std::uint32_t transactionId, const Handles& handles, Codes& errors) const;

    const GroupInterfaces& interfaces_;
    bool takesAges_ = false;
    LCID locale_ = LOCALE_SYSTEM_DEFAULT;
};

}  // namespace OpxOpc
