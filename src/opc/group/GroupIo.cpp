#include "opc/group/GroupIo.h"

#include "opc/ServerArrays.h"
#include "opc/callbacks/DeliveredItem.h"
#include "opc/callbacks/ValueText.h"
#include "opc/group/WriteConversion.h"
#include "trace/TraceScope.h"

namespace OpxOpc {

using Korvex::Com::TaskArray;
using Korvex::Com::UniqueVariant;

namespace {

using ItemFailedLine = TraceFormat<std::size_t, std::uint32_t, HRESULT>;

// Servers take handles as an array that they could write to.
std::vector<OPCHANDLE> serverHandles(const std::vector<std::uint32_t>& handles) {
    return {handles.begin(), handles.end()};
}

Opx::VType typeAt(const GroupIo::Types& types, std::size_t i) {
    return i < types.size() ? types[i] : Opx::VType::Empty;
}

HRESULT takeReadItem(const DeliveredItem& item, Opx::VType requestedType, LCID locale, OpxItemValue& out) {
    if (failed(item.code)) return item.code;
    const HRESULT code =
        isEmptyButGood(item) ? OPC_E_BADTYPE : takeValueAs(requestedVarType(requestedType), locale, item, out.value);
    out.quality = item.quality;
    out.timestamp = timeOf(item);
    return code;
}

void traceReadItem(std::size_t i, std::uint32_t handle, const OpxItemValue& item) {
    if (!LibT::detailWanted()) return;
    const std::int64_t second = item.timestamp.time() % 86400;
    LibT::lDetail("  Item[%d] SH=%d Quality=0X%x Value=%ls TS=%d:%d:%d,%d", i, handle, item.quality,
                  valueText(item.value), second / 3600, second / 60 % 60, second % 60, item.timestamp.millitm());
}

struct ReadRequest {
    const std::vector<std::uint32_t>& handles;
    const std::vector<Opx::VType>& types;
    LCID locale;
};

// Takes what a read that succeeded with `hr` delivered; answers what the read comes to.
template <typename Items>
HRESULT takeReadItems(HRESULT hr, const Items& items, const ReadRequest& request, ItemFailedLine failedLine,
                      std::vector<OpxItemValue>& values, std::vector<std::int32_t>& errors) {
    const std::size_t count = request.handles.size();
    values.assign(count, OpxItemValue());
    errors.assign(count, S_OK);
    const bool codesLeftOut = hr == S_FALSE && !items.codes;
    for (std::size_t i = 0; i < count; ++i) {
        DeliveredItem item = items[i];
        if (codesLeftOut) item.code = E_FAIL;
        if (failed(item.code)) LibT::lError(failedLine, i, request.handles[i], item.code);
        const HRESULT code = takeReadItem(item, typeAt(request.types, i), request.locale, values[i]);
        errors[i] = code;
        if (failed(code)) {
            hr = S_FALSE;
        } else {
            traceReadItem(i, request.handles[i], values[i]);
        }
    }
    if (hr != S_FALSE) errors.clear();
    return hr;
}

struct WriteLines {
    TraceFormat<std::size_t> notConverted;
    TraceFormat<std::size_t> notCopied;
};

static_assert(sizeof(UniqueVariant) == sizeof(VARIANT), "an array of owners is handed out as an array of VARIANT");

std::vector<UniqueVariant> convertAll(const std::vector<OpxVariant>& values, const GroupIo::Types& types, LCID locale,
                                      const WriteLines& lines) {
    std::vector<UniqueVariant> converted(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const WriteConversion outcome = convertForWrite(values[i], typeAt(types, i), locale, converted[i]);
        if (outcome == WriteConversion::NotConverted) LibT::lError(lines.notConverted, i);
        if (outcome == WriteConversion::NotCopied) LibT::lError(lines.notCopied, i);
    }
    return converted;
}

// Carries out a call that answers nothing but a code an item.
template <typename Call>
HRESULT callForCodes(const char* method, TraceFormat<HRESULT> failedLine, const std::vector<OPCHANDLE>& asked,
                     GroupIo::Codes& errors, Call&& call) {
    ItemCodes codes(asked.size());
    const HRESULT hr = tracedCall(method, [&] { return call(static_cast<DWORD>(asked.size()), codes.put()); });
    if (failed(hr)) LibT::lError(failedLine, hr);
    copyCodes(hr, codes, asked.size(), errors);
    return hr;
}

}  // namespace

HRESULT GroupIo::read(std::uint32_t maxAge, const Handles& handles, const Types& types,
                      std::vector<OpxItemValue>& values, Codes& errors) const {
    return takesAges_ && maxAge != 0 ? readMaxAge(maxAge, handles, types, values, errors)
                                     : readDevice(handles, types, values, errors);
}

HRESULT GroupIo::readMaxAge(std::uint32_t maxAge, const Handles& handles, const Types& types,
                            std::vector<OpxItemValue>& values, Codes& errors) const {
    const TraceScope scope("DaGroupMgtPrivate::read");
    const auto syncIO2 = interfaces_.borrow<IOPCSyncIO2>();
    if (!syncIO2) return scope.refuse("[E_NOINTERFACE] - IOPCSyncIO2 interface is NULL", E_NOINTERFACE);

    const std::size_t count = handles.size();
    auto asked = serverHandles(handles);
    std::vector<DWORD> maxAges(count, maxAge);
    TaskArray<VARIANT> read(count);
    TaskArray<WORD> qualities(count);
    TaskArray<FILETIME> times(count);
    ItemCodes codes(count);
    const HRESULT hr = tracedCall("IOPCSyncIO2::ReadMaxAge", [&] {
        return syncIO2->ReadMaxAge(static_cast<DWORD>(count), asked.data(), maxAges.data(), read.put(), qualities.put(),
                                   times.put(), codes.put());
    });
    if (failed(hr)) {
        LibT::lError("Error: IOPCSyncIO2::ReadMaxAge FAILED [hr=0x%lx]", hr);
        return scope.leave(hr);
    }
    LibT::lDetail("IOPCSyncIO2::ReadMaxAge returned %d items", count);
    const DeliveredArrays items{read.get(), qualities.get(), times.get(), codes.get()};
    return scope.leave(takeReadItems(hr, items, {handles, types, locale_},
                                     "  Item[%d] SH=%d Error=0x%lx - IOPCSyncIO2::ReadMaxAge FAILED", values, errors));
}

HRESULT GroupIo::readDevice(const Handles& handles, const Types& types, std::vector<OpxItemValue>& values,
                            Codes& errors) const {
    const TraceScope scope("DaGroupMgtPrivate::read");
    const auto syncIO = interfaces_.borrow<IOPCSyncIO>();
    if (!syncIO) return scope.refuse("[E_NOINTERFACE] - IOPCSyncIO interface is NULL", E_NOINTERFACE);

    const std::size_t count = handles.size();
    auto asked = serverHandles(handles);
    TaskArray<OPCITEMSTATE> states(count);
    ItemCodes codes(count);
    const HRESULT hr = tracedCall("IOPCSyncIO::Read", [&] {
        return syncIO->Read(OPC_DS_DEVICE, static_cast<DWORD>(count), asked.data(), states.put(), codes.put());
    });
    if (failed(hr)) {
        LibT::lError("Error: IOPCSyncIO::Read FAILED [hr=0x%lx]", hr);
        return scope.leave(hr);
    }
    LibT::lDetail("IOPCSyncIO::Read returned %d items", count);
    const DeliveredStates items{states.get(), codes.get()};
    return scope.leave(takeReadItems(hr, items, {handles, types, locale_},
                                     "  Item[%d] SH=%d Error=0x%lx - IOPCSyncIO::Read FAILED", values, errors));
}

HRESULT GroupIo::readAsync(std::uint32_t transactionId, std::uint32_t maxAge, const Handles& handles,
                           Codes& errors) const {
    return takesAges_ && maxAge != 0 ? readAsyncMaxAge(transactionId, maxAge, handles, errors)
                                     : readAsyncDevice(transactionId, handles, errors);
}

HRESULT GroupIo::readAsyncMaxAge(std::uint32_t transactionId, std::uint32_t maxAge, const Handles& handles,
                                 Codes& errors) const {
    const TraceScope scope("DaGroupMgtPrivate::readAsync");
    const auto asyncIO3 = interfaces_.borrow<IOPCAsyncIO3>();
    if (!asyncIO3) return scope.refuse("[E_NOINTERFACE] - IOPCAsyncIO3 interface is NULL", E_NOINTERFACE);

    auto asked = serverHandles(handles);
    std::vector<DWORD> maxAges(asked.size(), maxAge);
    DWORD cancelId = 0;
    return scope.leave(callForCodes("IOPCAsyncIO3::ReadMaxAge", "Error: IOPCAsyncIO3::ReadMaxAge FAILED [hr=0x%lx]",
                                    asked, errors, [&](DWORD count, HRESULT** codes) {
                                        return asyncIO3->ReadMaxAge(count, asked.data(), maxAges.data(), transactionId,
                                                                    &cancelId, codes);
                                    }));
}

HRESULT GroupIo::readAsyncDevice(std::uint32_t transactionId, const Handles& handles, Codes& errors) const {
    const TraceScope scope("DaGroupMgtPrivate::readAsync");
    const auto asyncIO2 = interfaces_.borrow<IOPCAsyncIO2>();
    if (!asyncIO2) return scope.refuse("[E_NOINTERFACE] - IOPCAsyncIO2 interface is NULL", E_NOINTERFACE);

    auto asked = serverHandles(handles);
    DWORD cancelId = 0;
    // The line of a failure names the other interface, and is searched for by that name.
    return scope.leave(callForCodes("IOPCAsyncIO2::Read", "Error: IOPCAsyncIO3::Read FAILED [hr=0x%lx]", asked, errors,
                                    [&](DWORD count, HRESULT** codes) {
                                        return asyncIO2->Read(count, asked.data(), transactionId, &cancelId, codes);
                                    }));
}

HRESULT GroupIo::write(const Handles& handles, const std::vector<OpxVariant>& values, const Types& types,
                       Codes& errors) const {
    const TraceScope scope("DaGroupMgtPrivate::write");
    auto variants = convertAll(values, types, locale_,
                               {"Error: DaGroupMgtPrivate::write - value conversion error for item %d",
                                "Error: DaGroupMgtPrivate::write - value copy error for item %d"});
    const auto syncIO = interfaces_.borrow<IOPCSyncIO>();
    if (!syncIO) return scope.refuse("[E_NOINTERFACE] - IOPCSyncIO interface is NULL", E_NOINTERFACE);

    auto asked = serverHandles(handles);
    const HRESULT hr = callForCodes(
        "IOPCSyncIO::Write", "Error: IOPCSyncIO::Write FAILED [hr=0x%lx]", asked, errors,
        [&](DWORD count, HRESULT** codes) { return syncIO->Write(count, asked.data(), variants.data(), codes); });
    for (std::size_t i = 0; i < errors.size(); ++i) {
        if (errors[i] >= 0) continue;
        LibT::lError("  Item[%d] SH=%d Error=0x%lx - IOPCSyncIO::Write FAILED", i, handles[i], errors[i]);
    }
    return scope.leave(hr);
}

HRESULT GroupIo::writeAsync(std::uint32_t transactionId, const Handles& handles, const std::vector<OpxVariant>& values,
                            const Types& types, Codes& errors) const {
    const TraceScope scope("DaGroupMgtPrivate::writeAsync");
    auto variants = convertAll(values, types, locale_,
                               {"Error: DaGroupMgtPrivate::writeAsync - value conversion error for item %d",
                                "Error: DaGroupMgtPrivate::writeAsync - value copy error for item %d"});
    const auto asyncIO2 = interfaces_.borrow<IOPCAsyncIO2>();
    if (!asyncIO2) return scope.refuse("[E_NOINTERFACE] - IOPCAsyncIO2 interface is NULL", E_NOINTERFACE);

    auto asked = serverHandles(handles);
    DWORD cancelId = 0;
    return scope.leave(callForCodes("IOPCAsyncIO2::Write", "Error: IOPCAsyncIO2::Write FAILED [hr=0x%lx]", asked,
                                    errors, [&](DWORD count, HRESULT** codes) {
                                        return asyncIO2->Write(count, asked.data(), variants.data(), transactionId,
                                                               &cancelId, codes);
                                    }));
}

}  // namespace OpxOpc
