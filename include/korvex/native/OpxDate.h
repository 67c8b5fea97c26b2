// A point in time, as item timestamps and date values carry it through the native layers.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

struct _FILETIME;

namespace OpxOpc {

/// Seconds since 1970-01-01 00:00:00 UTC with milliseconds, and the local zone's offset at the moment
/// the value was made, which only the local text forms use. Dates from 1970 to 3000 can be converted.
///
/// A conversion that cannot be done throws OpxTypeConversionException with reason 3 (INVALIDDATE).
/// Distinct values may be used by distinct threads; one value is not synchronised.
class KORVEX_OPC_API OpxDate {
public:
    /// How a text form is written.
    enum TextMode : std::int32_t { kUtc = 1, kLocal = 2 };

    /// 1970-01-01T00:00:00.000Z, zone fields 0.
    OpxDate() noexcept = default;
    /// From seconds since 1970-01-01 UTC, and the zone fields.
    OpxDate(std::int64_t seconds, std::uint16_t milliseconds, std::int16_t minutesWest = 0,
            std::int16_t daylightSaving = 0) noexcept;

    /// The current time, with the local zone's offset and daylight-saving flag.
    static OpxDate now();

    /// From an OLE automation date: days since 1899-12-30, the time as fraction, UTC. Any of the years 100
    /// to 9999 is taken, rounded to the millisecond.
    static OpxDate fromOleDate(double oleDate);

    /// From 100-ns ticks since 1601-01-01 UTC.
    static OpxDate fromFileTime(const _FILETIME& fileTime);

    /// From ISO 8601 text such as "2008-03-01T12:34:56.789+01:00". The zone designator is required.
    static OpxDate fromIsoText(OpxStringView text);

    /// The OLE automation date.
    double toOleDate() const;
    /// 100-ns ticks since 1601-01-01 UTC.
    _FILETIME toFileTime() const;

    /// "2008-03-01T12:34:56.789Z" in UTC, "2008-03-01T13:34:56.789+01:00" in local time. Another mode
    /// gives the form's template.
    OpxString toDateTimeText(std::int32_t mode) const;
    /// "2008-03-01"; UTC only.
    OpxString toDateText(std::int32_t mode) const;
    /// "12:34:56.789Z" in UTC, "13:34:56.789+01:00" in local time.
    OpxString toTimeText(std::int32_t mode) const;

    /// Seconds since 1970-01-01 UTC.
    std::int64_t time() const noexcept { return time_; }
    /// Milliseconds, 0 to 999.
    std::uint16_t millitm() const noexcept { return millitm_; }
    /// The zone in minutes west of UTC.
    std::int16_t timezone() const noexcept { return timezone_; }
    /// Not 0 while daylight saving is on.
    std::int16_t dstflag() const noexcept { return dstflag_; }

private:
    std::int64_t time_ = 0;
    std::uint16_t millitm_ = 0;
    std::int16_t timezone_ = 0;
    std::int16_t dstflag_ = 0;
};

}  // namespace OpxOpc
