// How far an item value can be trusted: the OPC quality word with its name and description.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

namespace Korvex::OPC::OpcDaClient {

/// Immutable; may be used by any thread. The texts live as long as the library.
class KORVEX_OPC_API QualityID {
public:
    /// `code` is the whole quality word: status, limit and vendor bits.
    explicit QualityID(std::int32_t code) noexcept;

    /// The word as it was given.
    std::int32_t FullCode() const noexcept { return m_Code; }
    /// The status: major quality and sub-status, 0x00 to 0xFC.
    std::int32_t Quality() const noexcept { return m_QualityBits; }
    /// 0 not limited, 1 low, 2 high, 3 constant.
    std::int32_t LimitBits() const noexcept { return m_LimitBits; }
    /// The vendor's own bits, which lie above the status.
    std::int32_t VendorBits() const noexcept { return m_VendorBits; }
    /// The symbolic name of the status, "OPC_QUALITY_GOOD"; for one that is not known its upper-case
    /// hexadecimal digits.
    OpxStringView Name() const noexcept { return m_Name; }
    /// A sentence for people to read; the name if there is none.
    OpxStringView Description() const noexcept { return m_Description; }
    /// Whether the value can be used as it is.
    bool IsGood() const noexcept { return (m_QualityBits & 0xC0) == 0xC0; }

    /// The description.
    OpxString ToString() const;

    /// Compare the status alone: a good value at its limit is as good as any.
    friend bool operator==(const QualityID& a, const QualityID& b) noexcept {
        return a.m_QualityBits == b.m_QualityBits;
    }

    /// Bad, for no particular reason. This and the following are all statuses that have a name, without limit and
    /// vendor bits.
    static const QualityID OPC_QUALITY_BAD;
    /// Bad: the server lacks configuration for the item.
    static const QualityID OPC_QUALITY_CONFIG_ERROR;
    /// Bad: the source of the value is not connected.
    static const QualityID OPC_QUALITY_NOT_CONNECTED;
    /// Bad: the device has failed.
    static const QualityID OPC_QUALITY_DEVICE_FAILURE;
    /// Bad: the sensor has failed.
    static const QualityID OPC_QUALITY_SENSOR_FAILURE;
    /// Bad: communication has failed; the value is the last known.
    static const QualityID OPC_QUALITY_LAST_KNOWN;
    /// Bad: communication has failed; there is no last value.
    static const QualityID OPC_QUALITY_COMM_FAILURE;
    /// Bad: the item is inactive or locked.
    static const QualityID OPC_QUALITY_OUT_OF_SERVICE;
    /// Bad: there has been no value yet.
    static const QualityID OPC_QUALITY_WAITING_FOR_INITIAL_DATA;
    /// Uncertain, for no particular reason.
    static const QualityID OPC_QUALITY_UNCERTAIN;
    /// Uncertain: whatever wrote the value has stopped doing so.
    static const QualityID OPC_QUALITY_LAST_USABLE;
    /// Uncertain: the sensor is at one of its limits or not calibrated.
    static const QualityID OPC_QUALITY_SENSOR_CAL;
    /// Uncertain: the value is outside its engineering limits.
    static const QualityID OPC_QUALITY_EGU_EXCEEDED;
    /// Uncertain: fewer sources than required are good.
    static const QualityID OPC_QUALITY_SUB_NORMAL;
    /// Good, for no particular reason.
    static const QualityID OPC_QUALITY_GOOD;
    /// Good: the value was overridden by hand.
    static const QualityID OPC_QUALITY_LOCAL_OVERRIDE;

private:
    struct Named;

    constexpr QualityID(std::int32_t code, OpxStringView name, OpxStringView description) noexcept
        : m_Code(code),
          m_QualityBits(code & 0xFC),
          m_LimitBits(code & 0x03),
          /// Right shifts of negative numbers keep the sign.
          m_VendorBits(static_cast<std::int32_t>(static_cast<std::uint32_t>(code) & 0xFFFFFF03u) >> 8),
          m_Name(name),
          m_Description(description) {}

    std::int32_t m_Code;
    std::int32_t m_QualityBits;
    std::int32_t m_LimitBits;
    std::int32_t m_VendorBits;
    OpxStringView m_Name;
    OpxStringView m_Description;
};

}  // namespace Korvex::OPC::OpcDaClient
