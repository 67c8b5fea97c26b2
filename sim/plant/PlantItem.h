// One item of the simulated plant.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "com/Mutex.h"
#include "com/opc_interfaces.h"
#include "sim/plant/Sample.h"

namespace Korvex::Simulation {

// The range of an analog item in engineering units.
struct AnalogRange {
    double low;
    double high;
    OpxString units;
};

// The part of an item that never changes.
struct ItemDefinition {
    OpxString id;
    Value initial;  // its type is the item's canonical type
    OpxString description;
    DWORD accessRights = OPC_READABLE | OPC_WRITEABLE;
    WORD quality = kQualityGood;
    std::shared_ptr<const AnalogRange> analog{};  // none for what is not analog
    std::vector<OpxString> states{};              // of an enumerated item
    std::function<Value(FILETIME)> signal{};      // of an item that moves by itself
    DWORD deviceMilliseconds = 0;                 // that a read from the device takes
    HRESULT readError = S_OK;
};

// The part of an item that commands change.
struct ItemOverrides {
    std::optional<HRESULT> readError;
    std::optional<HRESULT> writeError;
    std::optional<WORD> quality;
    std::optional<Value> value;
    std::optional<FILETIME> time;
    std::optional<HRESULT> addResult;
    std::optional<VARTYPE> canonicalType;
    std::optional<DWORD> accessRights;
};

// Safe for all threads.
class PlantItem {
public:
    explicit PlantItem(ItemDefinition definition);

    const OpxString& id() const noexcept { return definition_.id; }
    const ItemDefinition& definition() const noexcept { return definition_; }
    VARTYPE canonicalType() const;
    DWORD accessRights() const;
    // The result with which a group may take the item.
    HRESULT addResult() const;

    // The item's present value, as a scan finds it; it becomes the cached one.
    Sample scan();
    // The same from the device, which takes its time.
    Sample readDevice();
    // The cached value unless it is older.
    std::optional<Sample> cached(DWORD maximumAgeMilliseconds) const;

    // Takes a value; without quality and time it is good and of now. Values outside an analog
    // range are cut to it and answered with OPC_S_CLAMP.
    HRESULT write(const VARIANT& value, LCID lcid, std::optional<WORD> quality = std::nullopt,
                  std::optional<FILETIME> time = std::nullopt);

    // Returns the last written value as it came; empty if none did.
    Value written() const;

    template <typename Change>
    void changeOverrides(const Change& change) {
        const ScopedLock lock(mutex_);
        change(overrides_);
        cache_.reset();
    }

    // Forgets what was written and commanded.
    void reset();

private:
    Sample takeSample() REQUIRES(mutex_);
    DWORD accessRightsLocked() const REQUIRES(mutex_) {
        return overrides_.accessRights.value_or(definition_.accessRights);
    }

    const ItemDefinition definition_;

    mutable Mutex mutex_;
    ItemOverrides overrides_ GUARDED_BY(mutex_);
    Value value_ GUARDED_BY(mutex_);
    Value written_ GUARDED_BY(mutex_);
    WORD quality_ GUARDED_BY(mutex_);
    FILETIME time_ GUARDED_BY(mutex_);  // of the last change
    std::optional<Sample> cache_ GUARDED_BY(mutex_);
    std::uint64_t cachedAt_ GUARDED_BY(mutex_) = 0;
};

}  // namespace Korvex::Simulation
