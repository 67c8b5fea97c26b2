// The value of an item with its quality and time.
#pragma once

#include <optional>
#include <utility>

#include <korvex/opc_da_client/DateTime.h>
#include <korvex/opc_da_client/Object.h>
#include <korvex/opc_da_client/QualityID.h>

namespace Korvex::OPC::OpcDaClient {

/// Every field has a getter and a setter of the same name. Nothing is set in the beginning: the value
/// is null, there is no quality, and the time is the minimal one.
class ItemValue {
public:
    /// The value; null where there is none.
    const Object& Value() const noexcept { return m_Value; }
    /// Sets it.
    void Value(Object value) { m_Value = std::move(value); }

    /// Nothing where the item could not be read.
    const std::optional<QualityID>& Quality() const noexcept { return m_Quality; }
    /// Sets it.
    void Quality(const std::optional<QualityID>& value) noexcept { m_Quality = value; }

    /// When the server got the value, in UTC.
    const DateTime& TimeStamp() const noexcept { return m_TimeStamp; }
    /// Sets it.
    void TimeStamp(const DateTime& value) noexcept { m_TimeStamp = value; }

private:
    Object m_Value;
    std::optional<QualityID> m_Quality;
    DateTime m_TimeStamp;
};

}  // namespace Korvex::OPC::OpcDaClient
