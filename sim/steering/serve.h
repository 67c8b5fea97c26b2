// Every call of an OPC method is carried out here, so that it is journalled and faults reach it.
#pragma once

#include <charconv>
#include <cstdint>
#include <new>
#include <string>
#include <tuple>
#include <type_traits>

#include "sim/OpcCodes.h"
#include "sim/com/Results.h"
#include "sim/steering/FaultSwitches.h"

namespace Korvex::Simulation {

// ---- Arguments as the journal shows them: note("name", name, "rate", rate) -> " name=Main rate=100"

inline std::string noteText(LPCWSTR text) {
    return text ? toUtf8(text) : "null";
}
template <typename Number>
requires std::is_arithmetic_v<Number> std::string noteText(Number number) {
    char digits[32];
    return std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}
template <typename Enumeration>
requires std::is_enum_v<Enumeration> std::string noteText(Enumeration value) {
    return noteText(static_cast<std::int32_t>(value));
}
// An optional argument.
template <typename Number>
requires std::is_arithmetic_v<Number> std::string noteText(const Number* number) {
    return number ? noteText(*number) : "null";
}

inline std::string note() {
    return {};
}
template <typename Value, typename... Rest>
std::string note(const char* name, const Value& value, const Rest&... rest) {
    return std::string(" ").append(name).append("=").append(noteText(value)).append(note(rest...));
}

// ---- Outputs of a method, cleared before it runs: outputs(array(values, count), out(cancelId))

template <typename T>
struct Out {
    T* place;
    bool isValid() const noexcept { return place != nullptr; }
    void clear() const noexcept {
        if (place) *place = T{};
    }
    void dropValues() const noexcept {}
    void dropErrors() const noexcept {}
};

template <typename T>
struct OutArray {
    static constexpr bool kHoldsErrors = std::is_same_v<T, HRESULT>;

    T** place;
    const DWORD* count;

    bool isValid() const noexcept { return place != nullptr; }
    void clear() const noexcept {
        if (place) *place = nullptr;
    }
    void drop() const noexcept { disposeArray(std::exchange(*place, nullptr), *count); }
    void dropValues() const noexcept {
        if constexpr (!kHoldsErrors) drop();
    }
    void dropErrors() const noexcept {
        if constexpr (kHoldsErrors) drop();
    }
};

template <typename T>
Out<T> out(T* place) noexcept {
    return {place};
}
// `count` must live until the method has run.
template <typename T>
OutArray<T> array(T** place, const DWORD& count) noexcept {
    return {place, &count};
}
// An array whose length the method answers in `count`.
template <typename T>
OutArray<T> array(T** place, const DWORD* count) noexcept {
    return {place, count};
}
template <typename... Places>
std::tuple<Places...> outputs(Places... places) {
    return {places...};
}

// ---- The call ------------------------------------------------------------------------------------

// A call from its arrival to its result.
class ServedCall {
public:
    ServedCall(const std::string& method, const std::string& arguments);

    const FaultSwitches::Verdict& verdict() const noexcept { return verdict_; }
    HRESULT finish(HRESULT result) const;

private:
    std::uint64_t entry_;
    FaultSwitches::Verdict verdict_;
};

// The result of `body`, as a method that must not throw answers it.
template <typename Body>
HRESULT withoutThrowing(const Body& body) noexcept {
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

template <typename Body, typename... Places>
HRESULT carryOut(const FaultSwitches::Verdict& verdict, const std::tuple<Places...>& places, const Body& body) {
    const bool valid = std::apply([](const auto&... place) { return (place.isValid() && ...); }, places);
    if (verdict.answer) return *verdict.answer;
    if (!valid) return E_INVALIDARG;
    if (verdict.nonsense == Nonsense::nullEverything) return S_OK;
    const HRESULT result = withoutThrowing(body);
    if (failed(result) || verdict.nonsense == Nonsense::none) return result;
    if (verdict.nonsense == Nonsense::hiddenErrors) return S_OK;
    if (verdict.nonsense == Nonsense::nullValues) {
        std::apply([](const auto&... place) { (place.dropValues(), ...); }, places);
        return result;
    }
    std::apply([](const auto&... place) { (place.dropErrors(), ...); }, places);
    return S_FALSE;
}

// Answers one call: `body` does the work and may throw. A missing output is E_INVALIDARG.
template <typename Body, typename... Places>
HRESULT serve(const std::string& method, const std::string& arguments, const std::tuple<Places...>& places,
              const Body& body) noexcept {
    return withoutThrowing([&] {
        std::apply([](const auto&... place) { (place.clear(), ...); }, places);
        const ServedCall call(method, arguments);
        return call.finish(carryOut(call.verdict(), places, body));
    });
}

}  // namespace Korvex::Simulation
