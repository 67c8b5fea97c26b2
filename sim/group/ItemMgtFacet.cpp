#include "sim/group/ItemMgtFacet.h"

#include <algorithm>
#include <iterator>

#include "sim/Simulation.h"
#include "sim/group/ItemAttributesEnumerator.h"

namespace Korvex::Simulation {
namespace {

// A blob has a meaning for the server only; here it is a pattern of bytes.
constexpr BYTE kBlob[] = {0x4B, 0x4F, 0x52, 0x56, 0x45, 0x58};

void addBlob(OPCITEMRESULT& result) {
    result.pBlob = Com::allocateTaskArray<BYTE>(std::size(kBlob));
    if (!result.pBlob) throw std::bad_alloc();
    result.dwBlobSize = static_cast<DWORD>(std::size(kBlob));
    std::copy(std::begin(kBlob), std::end(kBlob), result.pBlob);
}

// Whether the item can be had as `definition` wants it; fills `item` and `result` in.
HRESULT examine(const OPCITEMDEF& definition, GroupItem& item, OPCITEMRESULT& result) {
    const HRESULT found = simulation().plant.find(viewOf(definition.szItemID), item.item);
    if (failed(found)) return found;
    const HRESULT allowed = item.item->addResult();
    if (failed(allowed)) return allowed;
    const VARTYPE canonical = item.item->definition().initial.type();
    if (!isConvertible(canonical, definition.vtRequestedDataType)) return OPC_E_BADTYPE;
    item.accessPath = viewOf(definition.szAccessPath);
    item.active = definition.bActive != FALSE;
    item.clientHandle = definition.hClient;
    item.requestedType = definition.vtRequestedDataType;
    result.vtCanonicalDataType = item.item->canonicalType();
    result.dwAccessRights = item.item->accessRights();
    return allowed;
}

// Does `accept(item, result)` with each item that can be had.
template <typename Accept>
HRESULT examineAll(DWORD count, const OPCITEMDEF* definitions, OPCITEMRESULT** results, HRESULT** errors,
                   const Accept& accept) {
    if (count == 0 || !definitions) return E_INVALIDARG;
    Results<OPCITEMRESULT> items(count);
    Results<HRESULT> codes(count);
    for (DWORD i = 0; i < count; ++i) {
        GroupItem item;
        codes[i] = examine(definitions[i], item, items[i]);
        if (succeeded(codes[i])) accept(std::move(item), items[i]);
    }
    const HRESULT overall = overallResult(codes);
    items.give(results);
    codes.give(errors);
    return overall;
}

}  // namespace

HRESULT ItemMgtFacet::AddItems(DWORD count, OPCITEMDEF* definitions, OPCITEMRESULT** results, HRESULT** errors) {
    return serveGroup("IOPCItemMgt::AddItems", note("count", count),
                      outputs(array(results, count), array(errors, count)), [&] {
                          const bool blobs = simulation().options.get().blobs;
                          const auto add = [&](GroupItem item, OPCITEMRESULT& added) {
                              added.hServer = group().addItem(std::move(item));
                              if (blobs && added.hServer % 2 != 0) addBlob(added);
                          };
                          const HRESULT result = [&] {
                              const ScopedLock adding(group().addingItems());
                              return examineAll(count, definitions, results, errors, add);
                          }();
                          group().publisher().wake();
                          return result;
                      });
}

HRESULT ItemMgtFacet::ValidateItems(DWORD count, OPCITEMDEF* definitions, BOOL blobUpdate, OPCITEMRESULT** results,
                                    HRESULT** errors) {
    return serveGroup("IOPCItemMgt::ValidateItems", note("count", count, "blobs", blobUpdate),
                      outputs(array(results, count), array(errors, count)), [&] {
                          const bool blobs = blobUpdate != FALSE && simulation().options.get().blobs;
                          return examineAll(count, definitions, results, errors,
                                            [&](const GroupItem&, OPCITEMRESULT& valid) {
                                                if (blobs) addBlob(valid);
                                            });
                      });
}

HRESULT ItemMgtFacet::RemoveItems(DWORD count, OPCHANDLE* handles, HRESULT** errors) {
    return serveGroup("IOPCItemMgt::RemoveItems", note("count", count), outputs(array(errors, count)), [&] {
        return forEachItem(count, handles, errors, [&](DWORD i, const GroupItem&) -> HRESULT {
            return group().removeItem(handles[i]) ? S_OK : OPC_E_INVALIDHANDLE;
        });
    });
}

HRESULT ItemMgtFacet::SetActiveState(DWORD count, OPCHANDLE* handles, BOOL active, HRESULT** errors) {
    return serveGroup("IOPCItemMgt::SetActiveState", note("count", count, "active", active),
                      outputs(array(errors, count)), [&] {
                          return forEachItem(count, handles, errors, [&](DWORD i, const GroupItem&) {
                              return group().changeItem(handles[i], [&](GroupItem& item) -> HRESULT {
                                  item.active = active != FALSE;
                                  return S_OK;
                              });
                          });
                      });
}

HRESULT ItemMgtFacet::SetClientHandles(DWORD count, OPCHANDLE* handles, OPCHANDLE* clientHandles, HRESULT** errors) {
    return serveGroup("IOPCItemMgt::SetClientHandles", note("count", count), outputs(array(errors, count)),
                      [&]() -> HRESULT {
                          if (!clientHandles) return E_INVALIDARG;
                          return forEachItem(count, handles, errors, [&](DWORD i, const GroupItem&) {
                              return group().changeItem(handles[i], [&](GroupItem& item) -> HRESULT {
                                  item.clientHandle = clientHandles[i];
                                  return S_OK;
                              });
                          });
                      });
}

HRESULT ItemMgtFacet::SetDatatypes(DWORD count, OPCHANDLE* handles, VARTYPE* types, HRESULT** errors) {
    return serveGroup("IOPCItemMgt::SetDatatypes", note("count", count), outputs(array(errors, count)),
                      [&]() -> HRESULT {
                          if (!types) return E_INVALIDARG;
                          return forEachItem(count, handles, errors, [&](DWORD i, const GroupItem&) {
                              return group().changeItem(handles[i], [&](GroupItem& item) -> HRESULT {
                                  const VARTYPE canonical = item.item->definition().initial.type();
                                  if (!isConvertible(canonical, types[i])) return OPC_E_BADTYPE;
                                  item.requestedType = types[i];
                                  return S_OK;
                              });
                          });
                      });
}

HRESULT ItemMgtFacet::CreateEnumerator(REFIID riid, LPUNKNOWN* enumerator) {
    return serveGroup("IOPCItemMgt::CreateEnumerator", note(), outputs(out(enumerator)), [&]() -> HRESULT {
        const auto items = group().items();
        const auto made = makeObject<ItemAttributesEnumerator>(items);
        const HRESULT result = made->QueryInterface(riid, reinterpret_cast<void**>(enumerator));
        return succeeded(result) && items.empty() ? S_FALSE : result;
    });
}

}  // namespace Korvex::Simulation
