#include "sim/plant/standard_items.h"

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <utility>

#include "sim/FileTime.h"

namespace Korvex::Simulation {
namespace {

constexpr DATE kEpoch = 25569;  // 1970-01-01, the earliest date that every client can hold

// 2008-03-01 12:34:56, a date that reads differently in the locales.
constexpr DATE kKnownDate = 39508.0 + (12 * 3600 + 34 * 60 + 56) / 86400.0;

// A data type with the values that stand for it: what its registers begin with, what its constant
// is, and the extremes that its constant array holds too.
struct DataType {
    OpxString name;
    Value zero;
    Value constant;
    Value lowest;
    Value highest;
};

template <typename T>
DataType numberType(OpxString name, VARTYPE type, T constant) {
    using Limits = std::numeric_limits<T>;
    return {std::move(name), makeScalar(type, T{0}), makeScalar(type, constant), makeScalar(type, Limits::lowest()),
            makeScalar(type, Limits::max())};
}

std::vector<DataType> dataTypes() {
    constexpr std::int64_t kLowestCurrency = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kHighestCurrency = std::numeric_limits<std::int64_t>::max();
    return {
        {OLESTR("Boolean"), makeBool(false), makeBool(true), makeBool(false), makeBool(true)},
        numberType<std::int8_t>(OLESTR("Int8"), VT_I1, -8),
        numberType<std::int16_t>(OLESTR("Int16"), VT_I2, -1600),
        numberType<std::int32_t>(OLESTR("Int32"), VT_I4, -320000),
        numberType<std::int64_t>(OLESTR("Int64"), VT_I8, -6400000000),
        numberType<std::uint8_t>(OLESTR("UInt8"), VT_UI1, 8),
        numberType<std::uint16_t>(OLESTR("UInt16"), VT_UI2, 1600),
        numberType<std::uint32_t>(OLESTR("UInt32"), VT_UI4, 320000),
        numberType<std::uint64_t>(OLESTR("UInt64"), VT_UI8, 6400000000),
        numberType<float>(OLESTR("Float"), VT_R4, 1.5F),
        numberType<double>(OLESTR("Double"), VT_R8, -2.25),
        {OLESTR("Currency"), makeCurrency(0), makeCurrency(123456), makeCurrency(kLowestCurrency),
         makeCurrency(kHighestCurrency)},
        {OLESTR("Date"), makeDate(kEpoch), makeDate(kKnownDate), makeDate(kEpoch), makeDate(kKnownDate + 0.5)},
        {OLESTR("String"), makeText(OLESTR("")), makeText(OLESTR("Constant text")), makeText(OLESTR("")),
         makeText(OLESTR("Gr\u00FC\u00DFe, \u03A9"))},
        {OLESTR("Decimal"), makeDecimal(false, 0, 0), makeDecimal(false, 12345, 2), makeDecimal(true, 1, 4),
         makeDecimal(false, 922337203685477, 0)},
    };
}

ItemDefinition readOnly(OpxString id, Value value, OpxString description) {
    ItemDefinition item{std::move(id), std::move(value), std::move(description)};
    item.accessRights = OPC_READABLE;
    return item;
}

void addTypedItems(std::vector<ItemDefinition>& items) {
    for (const DataType& type : dataTypes()) {
        const VARTYPE vt = type.zero.type();
        items.push_back({OLESTR("Register.") + type.name, type.zero, OLESTR("Writable value")});
        items.push_back({OLESTR("Register.") + type.name + OLESTR("Array"),
                         makeArray(vt, {type.zero, type.zero, type.zero}), OLESTR("Writable array")});
        items.push_back(readOnly(OLESTR("Constant.") + type.name, type.constant, OLESTR("Value that never changes")));
        items.push_back(readOnly(OLESTR("Constant.") + type.name + OLESTR("Array"),
                                 makeArray(vt, {type.lowest, type.constant, type.highest}),
                                 OLESTR("Array that never changes")));
    }
    items.push_back({OLESTR("Register.VariantArray"), makeArray(VT_VARIANT, {makeInt32(0), makeText(OLESTR(""))}),
                     OLESTR("Writable array of any types")});
    items.push_back(
        readOnly(OLESTR("Constant.VariantArray"),
                 makeArray(VT_VARIANT, {makeInt32(1), makeText(OLESTR("two")), makeDouble(3.5), makeBool(true)}),
                 OLESTR("Array of several types")));
    items.push_back(readOnly(OLESTR("Constant.EmptyArray"), makeArray(VT_I4, {}), OLESTR("Array without elements")));
}

using Signal = std::function<Value(FILETIME)>;

// Where a cycle of `seconds` stands, from 0 up to 1.
double phase(FILETIME time, unsigned seconds) {
    const std::uint64_t cycle = std::uint64_t{seconds} * 1000 * kTicksPerMillisecond;
    return static_cast<double>(ticksOf(time) % cycle) / static_cast<double>(cycle);
}

Value ramp(FILETIME time) {
    return makeDouble(100 * phase(time, 10));
}
Value sine(FILETIME time) {
    return makeDouble(100 * std::sin(2 * std::acos(-1.0) * phase(time, 10)));
}
Value square(FILETIME time) {
    return makeBool(phase(time, 2) < 0.5);
}
// In whole milliseconds, which is what clients show of a date and of a time stamp.
Value clock(FILETIME time) {
    const std::uint64_t ticks = ticksOf(time);
    return makeDate(toDate(fileTime(ticks - ticks % kTicksPerMillisecond)));
}

Signal randomNumbers() {
    return [generator = std::make_shared<std::mt19937>(1)](FILETIME) {
        return makeDouble(std::uniform_real_distribution<double>(0, 100)(*generator));
    };
}

// Tells one sampling from the next.
Signal counter() {
    return [count = std::make_shared<std::int32_t>(0)](FILETIME) {
        *count = *count == std::numeric_limits<std::int32_t>::max() ? 0 : *count + 1;
        return makeInt32(*count);
    };
}

void addSignal(std::vector<ItemDefinition>& items, OpxString id, Value initial, OpxString description, Signal signal,
               std::shared_ptr<const AnalogRange> range = nullptr) {
    ItemDefinition item = readOnly(std::move(id), std::move(initial), std::move(description));
    item.signal = std::move(signal);
    item.analog = std::move(range);
    items.push_back(std::move(item));
}

void addSignals(std::vector<ItemDefinition>& items) {
    const auto percent = std::make_shared<AnalogRange>(AnalogRange{0, 100, OLESTR("%")});
    const auto swing = std::make_shared<AnalogRange>(AnalogRange{-100, 100, OLESTR("mV")});
    addSignal(items, OLESTR("Signal.Ramp"), makeDouble(0), OLESTR("Rises from 0 to 100 in ten seconds"), ramp, percent);
    addSignal(items, OLESTR("Signal.Sine"), makeDouble(0), OLESTR("Swings between -100 and 100"), sine, swing);
    addSignal(items, OLESTR("Signal.Square"), makeBool(false), OLESTR("Changes every second"), square);
    addSignal(items, OLESTR("Signal.Random"), makeDouble(0), OLESTR("Anything from 0 to 100"), randomNumbers(),
              percent);
    addSignal(items, OLESTR("Signal.Counter"), makeInt32(0), OLESTR("Counts how often it was sampled"), counter());
    addSignal(items, OLESTR("Signal.Clock"), makeDate(0), OLESTR("The server's time"), clock);
}

// An analog item has its properties as items too.
void addAnalog(std::vector<ItemDefinition>& items, const OpxString& id, Value initial, const AnalogRange& range) {
    ItemDefinition item{id, std::move(initial), OLESTR("Analog value")};
    item.analog = std::make_shared<AnalogRange>(range);
    items.push_back(std::move(item));
    items.push_back(readOnly(id + OLESTR(".Units"), makeText(range.units), OLESTR("Engineering units")));
    items.push_back(readOnly(id + OLESTR(".High"), makeDouble(range.high), OLESTR("High end of the range")));
    items.push_back(readOnly(id + OLESTR(".Low"), makeDouble(range.low), OLESTR("Low end of the range")));
}

void addQualityItem(std::vector<ItemDefinition>& items, OpxString id, WORD quality) {
    ItemDefinition item{std::move(id), makeInt32(42), OLESTR("Value of a known quality")};
    item.accessRights = OPC_READABLE;
    item.quality = quality;
    items.push_back(std::move(item));
}

void addPeculiarItems(std::vector<ItemDefinition>& items) {
    addQualityItem(items, OLESTR("Quality.Good"), kQualityGood);
    addQualityItem(items, OLESTR("Quality.GoodHigh"), kQualityGood | kLimitHigh);
    addQualityItem(items, OLESTR("Quality.Constant"), kQualityGood | kLimitConstant);
    addQualityItem(items, OLESTR("Quality.Bad"), kQualityBad);
    addQualityItem(items, OLESTR("Quality.OutOfService"), kQualityOutOfService);
    addQualityItem(items, OLESTR("Quality.Uncertain"), kQualityUncertain);
    addQualityItem(items, OLESTR("Quality.UncertainLow"), kQualityUncertain | kLimitLow);

    items.push_back(readOnly(OLESTR("Access.ReadOnly"), makeInt32(1), OLESTR("Refuses to be written")));
    ItemDefinition writeOnly{OLESTR("Access.WriteOnly"), makeInt32(0), OLESTR("Refuses to be read")};
    writeOnly.accessRights = OPC_WRITEABLE;
    items.push_back(std::move(writeOnly));

    ItemDefinition slow{OLESTR("Slow.Item"), makeInt32(0), OLESTR("Its device needs 200 ms")};
    slow.deviceMilliseconds = 200;
    items.push_back(std::move(slow));

    ItemDefinition broken = readOnly(OLESTR("Error.Read"), makeInt32(0), OLESTR("Every read fails"));
    broken.readError = E_FAIL;
    items.push_back(std::move(broken));

    ItemDefinition mode{OLESTR("Enumerated.Mode"), makeInt32(0), OLESTR("Mode of operation")};
    mode.states = {OLESTR("Off"), OLESTR("Manual"), OLESTR("Automatic")};
    items.push_back(std::move(mode));
}

}  // namespace

std::vector<ItemDefinition> standardItems() {
    std::vector<ItemDefinition> items;
    addTypedItems(items);
    addSignals(items);
    addAnalog(items, OLESTR("Analog.Level"), makeDouble(50), {0, 100, OLESTR("cm")});
    addAnalog(items, OLESTR("Analog.Temperature"), makeScalar(VT_R4, 20.0F), {-40, 160, OLESTR("\u00B0C")});
    addPeculiarItems(items);
    return items;
}

std::vector<ItemDefinition> loadItems(std::size_t count) {
    std::vector<ItemDefinition> items;
    items.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        items.push_back({OLESTR("Load.") + fromUtf8(std::to_string(i)), makeInt32(static_cast<std::int32_t>(i)),
                         OLESTR("One of many")});
    return items;
}

}  // namespace Korvex::Simulation
