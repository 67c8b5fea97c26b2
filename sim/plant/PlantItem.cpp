#include "sim/plant/PlantItem.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <utility>

#include "sim/FileTime.h"

namespace Korvex::Simulation {
namespace {

// Cuts an analog value to its range; true if that changed it.
bool clamp(Value& value, const AnalogRange& range) {
    double number = 0;
    if (!toDouble(value, number)) return false;
    const double clamped = std::isnan(number) ? range.low : std::clamp(number, range.low, range.high);
    if (clamped == number) return false;
    return succeeded(convert(makeDouble(clamped), value.type(), 0, value));
}

}  // namespace

PlantItem::PlantItem(ItemDefinition definition)
    : definition_(std::move(definition)), value_(definition_.initial), quality_(definition_.quality), time_(now()) {}

VARTYPE PlantItem::canonicalType() const {
    const ScopedLock lock(mutex_);
    return overrides_.canonicalType.value_or(definition_.initial.type());
}

DWORD PlantItem::accessRights() const {
    const ScopedLock lock(mutex_);
    return accessRightsLocked();
}

HRESULT PlantItem::addResult() const {
    const ScopedLock lock(mutex_);
    return overrides_.addResult.value_or(S_OK);
}

Sample PlantItem::scan() {
    const ScopedLock lock(mutex_);
    cache_ = takeSample();
    cachedAt_ = ticksOf(now());
    return *cache_;
}

Sample PlantItem::readDevice() {
    if (definition_.deviceMilliseconds > 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(definition_.deviceMilliseconds));
    return scan();
}

std::optional<Sample> PlantItem::cached(DWORD maximumAgeMilliseconds) const {
    const ScopedLock lock(mutex_);
    const std::uint64_t age = ticksOf(now()) - cachedAt_;
    if (!cache_ || age > maximumAgeMilliseconds * kTicksPerMillisecond) return std::nullopt;
    return cache_;
}

HRESULT PlantItem::write(const VARIANT& value, LCID lcid, std::optional<WORD> quality, std::optional<FILETIME> time) {
    const ScopedLock lock(mutex_);
    written_ = Value(value);
    if (overrides_.writeError) return *overrides_.writeError;
    if ((accessRightsLocked() & OPC_WRITEABLE) == 0) return OPC_E_BADRIGHTS;
    if (value.vt == VT_EMPTY) return OPC_E_BADTYPE;
    Value converted;
    const HRESULT result = convert(Value(value), definition_.initial.type(), lcid, converted);
    if (failed(result)) return result;
    const bool clamped = definition_.analog && clamp(converted, *definition_.analog);
    value_ = std::move(converted);
    quality_ = quality.value_or(kQualityGood);
    time_ = time.value_or(now());
    cache_.reset();
    return clamped ? OPC_S_CLAMP : S_OK;
}

Value PlantItem::written() const {
    const ScopedLock lock(mutex_);
    return written_;
}

void PlantItem::reset() {
    const ScopedLock lock(mutex_);
    overrides_ = {};
    written_ = Value();
    value_ = definition_.initial;
    quality_ = definition_.quality;
    time_ = now();
    cache_.reset();
}

Sample PlantItem::takeSample() {
    const HRESULT error = overrides_.readError.value_or(definition_.readError);
    if (failed(error)) return Sample::failure(error);
    if ((accessRightsLocked() & OPC_READABLE) == 0) return Sample::failure(OPC_E_BADRIGHTS);
    if (definition_.signal) {
        time_ = now();
        value_ = definition_.signal(time_);
    }
    Sample sample{value_, quality_, time_, error, false};
    if (overrides_.value) {
        sample.value = *overrides_.value;
        sample.asIs = true;
    }
    sample.quality = overrides_.quality.value_or(sample.quality);
    sample.time = overrides_.time.value_or(sample.time);
    return sample;
}

}  // namespace Korvex::Simulation
