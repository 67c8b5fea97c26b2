#include "values/TypeConverter.h"

#include <chrono>
#include <optional>
#include <utility>
#include <vector>

#include "com/owners.h"
#include "values/ObjectForm.h"

namespace Korvex::OPC::OpcDaClient {
namespace {

using Kind = Type::Kind;
using Opx::VType;

constexpr std::chrono::sys_seconds kFirstSecond = std::chrono::sys_days(std::chrono::year(1) / 1 / 1);
constexpr std::chrono::sys_seconds kEndOfSeconds = std::chrono::sys_days(std::chrono::year(10000) / 1 / 1);

struct TypePair {
    Kind kind;
    VType tag;
};

// Scalars, and as elements the arrays of both directions but for tag Int8.
constexpr TypePair kPairs[] = {
    {Kind::Boolean, VType::Bool},    {Kind::Int16, VType::Int16},   {Kind::Int32, VType::Int32},
    {Kind::Int64, VType::Int64},     {Kind::UInt8, VType::UInt8},   {Kind::UInt16, VType::UInt16},
    {Kind::UInt32, VType::UInt32},   {Kind::UInt64, VType::UInt64}, {Kind::Float, VType::Float},
    {Kind::Double, VType::Double},   {Kind::String, VType::String}, {Kind::DateTime, VType::Date},
    {Kind::Decimal, VType::Decimal},
};

Kind kindOf(VType scalar, Kind otherwise) noexcept {
    if (scalar == VType::Int8) return Kind::Int8;
    for (const TypePair& pair : kPairs) {
        if (pair.tag == scalar) return pair.kind;
    }
    return otherwise;
}

VType tagOf(Kind kind, VType otherwise) noexcept {
    for (const TypePair& pair : kPairs) {
        if (pair.kind == kind) return pair.tag;
    }
    return otherwise;
}

VType arrayTagOf(Kind element) noexcept {
    switch (element) {
        case Kind::None:
            return VType::Array;
        case Kind::Character:
            return Opx::arrayOf(VType::Int8);
        case Kind::Object:
            return Opx::arrayOf(VType::Variant);
        default:
            break;
    }
    const VType tag = tagOf(element, VType::Empty);
    return tag == VType::Empty ? VType::Empty : Opx::arrayOf(tag);
}

// Of the instant itself: no date of before 1970 has a VARIANT, and servers deliver 1601 for "no time".
DateTime publicDate(const OpxOpc::OpxVariant& native) {
    const OpxOpc::OpxDate date = native.toDate();
    const std::chrono::sys_seconds second{std::chrono::seconds(date.time())};
    if (second < kFirstSecond || second >= kEndOfSeconds) throw ObjectConversionException();
    return DateTime(second + std::chrono::milliseconds(date.millitm()));
}

template <typename T>
std::vector<T> publicElements(const OpxOpc::OpxVariant& array, T (*convert)(const OpxOpc::OpxVariant&)) {
    std::vector<T> result;
    result.reserve(array.elements().size());
    for (const OpxOpc::OpxVariant& element : array.elements()) result.push_back(convert(element));
    return result;
}

// Most values by far: plain scalars have the same form on both sides and need no VARIANT in between.
std::optional<Object> publicPlain(const OpxOpc::OpxVariant& native) {
    switch (native.type()) {
        case VType::Empty:
            return Object();
        case VType::Bool:
            return native.toBool();
        case VType::Int8:
            return native.toInt8();
        case VType::Int16:
            return native.toInt16();
        case VType::Int32:
            return native.toInt32();
        case VType::Int64:
            return native.toInt64();
        case VType::UInt8:
            return native.toUInt8();
        case VType::UInt16:
            return native.toUInt16();
        case VType::UInt32:
            return native.toUInt32();
        case VType::UInt64:
            return native.toUInt64();
        case VType::Float:
            return static_cast<float>(native.toDouble());  // infinities too, which toFloat refuses
        case VType::Double:
            return native.toDouble();
        case VType::String:
            return native.toString();
        default:
            return std::nullopt;
    }
}

template <typename T>
bool assignIf(const Object& value, OpxOpc::OpxVariant& native) {
    const T* const plain = value.tryGet<T>();
    if (plain) native = *plain;
    return plain != nullptr;
}

bool nativePlain(const Object& value, OpxOpc::OpxVariant& native) {
    switch (value.type().kind()) {
        case Kind::Boolean:
            return assignIf<bool>(value, native);
        case Kind::Int8:
            return assignIf<std::int8_t>(value, native);
        case Kind::Int16:
            return assignIf<std::int16_t>(value, native);
        case Kind::Int32:
            return assignIf<std::int32_t>(value, native);
        case Kind::Int64:
            return assignIf<std::int64_t>(value, native);
        case Kind::UInt8:
            return assignIf<std::uint8_t>(value, native);
        case Kind::UInt16:
            return assignIf<std::uint16_t>(value, native);
        case Kind::UInt32:
            return assignIf<std::uint32_t>(value, native);
        case Kind::UInt64:
            return assignIf<std::uint64_t>(value, native);
        case Kind::Float:
            return assignIf<float>(value, native);
        case Kind::Double:
            return assignIf<double>(value, native);
        case Kind::String:
            return assignIf<OpxString>(value, native);
        default:
            return false;
    }
}

}  // namespace

Type TypeConverter::GetType(VType tag) noexcept {
    if (!Opx::isArray(tag)) return Type::scalar(kindOf(tag, Kind::Object));
    const VType element = Opx::elementOf(tag);
    if (element == VType::Empty) return Type::arrayOf(Kind::None);
    if (element == VType::Variant) return Type::arrayOf(Kind::Object);
    const Kind kind = kindOf(element, Kind::None);
    return kind == Kind::None ? Type::scalar(Kind::Object) : Type::arrayOf(kind);
}

VType TypeConverter::GetOpxVT(const Type& type) noexcept {
    if (type.isArray()) return arrayTagOf(type.kind());
    return type.kind() == Kind::Int8 ? VType::Int8 : tagOf(type.kind(), VType::Empty);
}

bool TypeConverter::toNative(const Object& value, OpxOpc::OpxVariant& native) {
    native.clear();
    try {
        if (nativePlain(value, native)) return true;
        Com::UniqueVariant variant;
        if (!storeObject(value, variant)) return false;
        native = variant;
        return true;
    } catch (const std::exception&) {
        native.clear();
        return false;
    }
}

Object TypeConverter::toPublic(const OpxOpc::OpxVariant& native) {
    if (std::optional<Object> plain = publicPlain(native)) return *std::move(plain);
    if (native.type() == VType::Date) return publicDate(native);
    if (native.type() == Opx::arrayOf(VType::Date)) return publicElements(native, &publicDate);
    if (native.type() == Opx::arrayOf(VType::Variant)) return publicElements(native, &TypeConverter::toPublic);
    Com::UniqueVariant variant;
    native.toVariant(variant);
    return loadObject(variant);
}

}  // namespace Korvex::OPC::OpcDaClient
