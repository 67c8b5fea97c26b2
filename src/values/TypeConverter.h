// The object API's types and values as native ones, and back.
#pragma once

#include <exception>

#include <korvex/native/OpxVariant.h>
#include <korvex/opc_da_client/Object.h>
#include <korvex/opc_da_client/Type.h>

namespace Korvex::OPC::OpcDaClient {

// A native value has no value of the object API: a date that no DateTime can hold.
class ObjectConversionException : public std::exception {
public:
    const char* what() const noexcept override { return "The value has no form in the object API."; }
};

// Stateless; values but dates cross over in the form of a VARIANT.
class TypeConverter {
public:
    // The type that an item of a native type is reported with; Kind::Object for a tag that has none.
    static Type GetType(Opx::VType tag) noexcept;

    // The native type to request for a type that an application asks for; Empty, the server's own
    // choice, for one that has none. Not the inverse of GetType: an array of Character is tag 130, which
    // is reported as an array of Int8, and neither an array of Int8 nor a single Character has a tag.
    static Opx::VType GetOpxVT(const Type& type) noexcept;

    // False, and an empty `native`, for a value that has no native form.
    static bool toNative(const Object& value, OpxOpc::OpxVariant& native);

    // A date may be any of a DateTime, also one that cannot be written. Throws OpxTypeConversionException
    // for a value that has no VARIANT, ObjectConversionException for a date that no DateTime can hold.
    static Object toPublic(const OpxOpc::OpxVariant& native);
};

}  // namespace Korvex::OPC::OpcDaClient
