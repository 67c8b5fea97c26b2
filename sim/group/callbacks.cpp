#include "sim/group/callbacks.h"

#include "sim/Simulation.h"
#include "sim/group/Group.h"
#include "sim/server/Server.h"

namespace Korvex::Simulation {
namespace {

// The arguments of the callbacks, one array each.
struct Arguments {
    explicit Arguments(const std::vector<Delivery>& items) {
        for (const auto& [clientHandle, sample] : items) {
            clientHandles.push_back(clientHandle);
            values.push_back(sample.value.get());
            qualities.push_back(sample.quality);
            times.push_back(sample.time);
            errors.push_back(sample.error);
            if (failed(sample.error)) masterError = S_FALSE;
            if (!isGood(sample.quality)) masterQuality = S_FALSE;
        }
        const CompletionFaults::Masters commanded = simulation().completions.masters();
        masterQuality = commanded.quality.value_or(masterQuality);
        masterError = commanded.error.value_or(masterError);
    }

    std::vector<OPCHANDLE> clientHandles;
    std::vector<VARIANT> values;  // which the samples own
    std::vector<WORD> qualities;
    std::vector<FILETIME> times;
    std::vector<HRESULT> errors;
    HRESULT masterQuality = S_OK;
    HRESULT masterError = S_OK;
};

void call(IOPCDataCallback& sink, OPCHANDLE group, const Callback& callback, Arguments& arguments) {
    const auto count = static_cast<DWORD>(callback.items.size());
    const auto arrayOrNull = [&](auto& elements) { return callback.withoutArrays ? nullptr : elements.data(); };
    auto* handles = arrayOrNull(arguments.clientHandles);
    auto* errors = arrayOrNull(arguments.errors);
    if (callback.kind == CallbackKind::writeComplete) {
        sink.OnWriteComplete(callback.transaction, group, arguments.masterError, count, handles, errors);
        return;
    }
    const auto deliver =
        callback.kind == CallbackKind::dataChange ? &IOPCDataCallback::OnDataChange : &IOPCDataCallback::OnReadComplete;
    (sink.*deliver)(callback.transaction, group, arguments.masterQuality, arguments.masterError, count, handles,
                    arrayOrNull(arguments.values), arrayOrNull(arguments.qualities), arrayOrNull(arguments.times),
                    errors);
}

}  // namespace

void callSinks(Group& group, const Callback& callback) {
    if (simulation().faults.isDead()) return;
    Arguments arguments(callback.items);
    const OPCHANDLE clientHandle = group.settings().clientHandle;
    if (const auto server = group.server()) server->noteUpdate();
    for (const auto& [cookie, sink] : group.sinks().snapshot()) call(*sink, clientHandle, callback, arguments);
}

void callSinksOfCancelled(Group& group, DWORD transaction) {
    if (simulation().faults.isDead()) return;
    const OPCHANDLE clientHandle = group.settings().clientHandle;
    for (const auto& [cookie, sink] : group.sinks().snapshot()) sink->OnCancelComplete(transaction, clientHandle);
}

}  // namespace Korvex::Simulation
