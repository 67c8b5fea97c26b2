// The properties of items, as servers tell them.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxVType.h>
#include <korvex/native/OpxVariant.h>
#include <korvex/text.h>

namespace OpxOpc {

/// One property of one item.
struct OpxItemProperty {
    /// The number of the property.
    std::int32_t propertyId = 0;
    /// The type of the value.
    Opx::VType dataType = Opx::VType::Empty;
    /// The server's description of the property.
    OpxString description;
    /// Empty unless values were requested. Of the item's data type, property 1, it is the number of the
    /// library's own tag (Opx::VType), not that of COM's.
    OpxVariant value;
    OpxString itemName;  ///< the item that is this property, where the server has one
    OpxString itemPath;  ///< always empty
    /// Why there is no value; 0 where there is one.
    std::int32_t resultCode = 0;
};

/// The answer for one item of a request for properties.
struct OpxItemProperties {
    std::int32_t resultCode = 0;  ///< S_FALSE when one of the properties failed
    /// The properties that were asked for, or all.
    std::vector<OpxItemProperty> properties;
};

}  // namespace OpxOpc
