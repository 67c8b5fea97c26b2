// An element of a server's address space.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxItemProperties.h>
#include <korvex/text.h>

namespace OpxOpc {

/// Which elements a browse is to find.
enum class BrowseFilter : std::int32_t {
    All = 0,
    Branch = 1,  ///< that have elements below them
    Item = 2,    ///< that can be read or written
};

/// One element of the address space; it may have elements below it and be an item at once.
struct OpxBrowseElement {
    OpxString name;      ///< within its branch
    OpxString itemName;  ///< OPC item ID, also of what is no item: browsing goes on with it
    OpxString itemPath;  ///< always empty
    /// Whether it can be read or written.
    bool isItem = false;
    /// Whether elements lie below it.
    bool hasChildren = false;
    /// How many properties came with it.
    std::int32_t propertyCount = 0;
    std::vector<OpxItemProperty> properties;  ///< of items, when properties were requested
};

}  // namespace OpxOpc
