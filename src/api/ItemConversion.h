// The records of the object API as native records, and back.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/opc_da_client/DateTime.h>
#include <korvex/opc_da_client/ItemIdentifier.h>
#include <korvex/opc_da_client/ItemValue.h>
#include <korvex/opc_da_client/NullableArray.h>
#include <korvex/opc_da_client/ReturnCode.h>

#include "com/com.h"
#include "values/codeAt.h"

namespace Korvex::OPC::OpcDaClient {

// The items as the engine takes them. The client handle that it carries is the hash of the
// application's, or 0 for none.
std::vector<OpxOpc::OpxItemIdentifier> CreateItemIdentifierVector(const std::vector<ItemIdentifier>& itemIdentifiers);

// The handles that an application gave its items, by the hashes that the engine carries for them.
using ItemHandles = std::unordered_map<std::uint32_t, Object>;

// Of handles with the same hash the first counts.
ItemHandles CreateItemHandles(const std::vector<ItemIdentifier>& itemIdentifiers);

// The results of a native call's items: the call's result and the codes, which may be fewer than items.
class ItemResults {
public:
    ItemResults(std::int32_t hr, const std::vector<std::int32_t>& errors) : hr_(hr), errors_(errors) {}

    // The code of item `i`. While the call's result is 0, every item's is.
    std::int32_t operator[](std::size_t i) const { return hr_ == S_OK ? S_OK : OpxOpc::codeAt(errors_, i); }
    ReturnCode returnCode(bool allQualitiesGood) const;

private:
    std::int32_t hr_;
    const std::vector<std::int32_t>& errors_;
};

// Copies handles, types and results back into `identifiers`.
void CopyItemResults(const std::vector<OpxOpc::OpxItemIdentifier>& items, const ItemResults& results,
                     std::vector<ItemIdentifier>& identifiers);

// Answers S_OK, or why `result` is null: DISP_E_TYPEMISMATCH for a value that has no VARIANT, E_FAIL for
// one whose VARIANT has no form in the object API.
std::int32_t ToPublicValue(const OpxOpc::OpxVariant& value, Object& result);

// Fills in value, quality and time; the answer is that of ToPublicValue.
std::int32_t CopyItemValue(const OpxOpc::OpxItemValue& native, ItemValue& itemValue);

// The values of `identifiers`: a default one where the item's result is not 0. An identifier gets
// the result of a conversion that fails. `allGood` becomes false when a quality is not good.
std::vector<ItemValue> ReadItemValues(const std::vector<OpxOpc::OpxItemValue>& values, const ItemResults& results,
                                      std::vector<ItemIdentifier>& identifiers, bool& allGood);

// The values as the engine takes them, without quality and time. One that is null, or has no native form,
// is empty. Throws NullReferenceException for a null array.
std::vector<OpxOpc::OpxItemValue> CreateItemValueVector(const NullableArray<ItemValue>& itemValues);

// The code of item `i`; an empty list means that all of them are 0.
std::int32_t CodeOf(const std::vector<std::int32_t>& errors, std::size_t i);

// 100-ns units since 1601 UTC as a UTC time.
DateTime GetDateTimeFromFileTimeUtc(const FILETIME& fileTime);

}  // namespace Korvex::OPC::OpcDaClient
