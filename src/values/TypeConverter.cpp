#include "values/TypeConverter.h"

#include <chrono>
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
    if (native.type() == VType::Date) return publicDate(native);
    if (native.type() == Opx::arrayOf(VType::Date)) return publicElements(native, &publicDate);
    if (native.type() == Opx::arrayOf(VType::Variant)) return publicElements(native, &TypeConverter::toPublic);
    Com::UniqueVariant variant;
    native.toVariant(variant);
    return loadObject(variant);
}

}  // namespace Korvex::OPC::OpcDaClient
