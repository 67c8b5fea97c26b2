#include <korvex/opc_da_client/Type.h>

namespace Korvex::OPC::OpcDaClient {
namespace {

const OLECHAR* kindName(Type::Kind kind) noexcept {
    switch (kind) {
        case Type::Kind::None:
            return OLESTR("");
        case Type::Kind::Object:
            return OLESTR("Object");
        case Type::Kind::Boolean:
            return OLESTR("Boolean");
        case Type::Kind::Character:
            return OLESTR("Character");
        case Type::Kind::Int8:
            return OLESTR("Int8");
        case Type::Kind::Int16:
            return OLESTR("Int16");
        case Type::Kind::Int32:
            return OLESTR("Int32");
        case Type::Kind::Int64:
            return OLESTR("Int64");
        case Type::Kind::UInt8:
            return OLESTR("UInt8");
        case Type::Kind::UInt16:
            return OLESTR("UInt16");
        case Type::Kind::UInt32:
            return OLESTR("UInt32");
        case Type::Kind::UInt64:
            return OLESTR("UInt64");
        case Type::Kind::Float:
            return OLESTR("Float");
        case Type::Kind::Double:
            return OLESTR("Double");
        case Type::Kind::String:
            return OLESTR("String");
        case Type::Kind::DateTime:
            return OLESTR("DateTime");
        case Type::Kind::Decimal:
            return OLESTR("Decimal");
        case Type::Kind::Type:
            return OLESTR("Type");
        case Type::Kind::Application:
            return OLESTR("Application");
    }
    return OLESTR("");
}

}  // namespace

OpxString Type::name() const {
    if (!isArray_) return kindName(kind_);
    if (kind_ == Kind::None) return OLESTR("Array");
    return OpxString(kindName(kind_)) + OLESTR("[]");
}

}  // namespace Korvex::OPC::OpcDaClient
