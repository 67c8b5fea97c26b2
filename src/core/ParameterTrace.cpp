#include "core/ParameterTrace.h"

#include "trace/LibT.h"

namespace OpxOpc::ParameterTrace {
namespace {

// A value or time that has no text is traced as nothing: the trace must not disturb the call.
template <typename ToText>
OpxString textOrNothing(ToText&& toText) {
    try {
        return toText();
    } catch (const OpxTypeConversionException&) {
        return {};
    }
}

void items(const std::vector<OpxItemIdentifier>& list) {
    LibT::lDetail("  Item count = %d", list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        LibT::lDetail("    Item[%d] %ls %ls DT=%d SH=%d", i, list[i].itemName, list[i].itemPath, list[i].dataType,
                      list[i].serverHandle);
    }
}

void itemValue(std::size_t i, const OpxItemIdentifier& item, const OpxItemValue& value) {
    const OpxString text = textOrNothing([&] { return value.value.toString(); });
    const OpxString time = textOrNothing([&] { return value.timestamp.toDateTimeText(OpxDate::kUtc); });
    LibT::lDetail("    Item[%d] %ls %ls value=%ls quality=0X%x TS=%ls SH=%d", i, item.itemName, item.itemPath, text,
                  value.quality, time, item.serverHandle);
}

}  // namespace

void connectInputs(const OpxString& url, const OpxServerConnectInfo& info, std::uint32_t clientHandle) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  URL = %ls", url);
    LibT::lDetail("  ServerConnectInfo:");
    LibT::lDetail("    KeepAliveTime = %d", info.keepAliveTime);
    LibT::lDetail("    LocalId = %ls", info.localId);
    if (info.reconnectAfterConnectionError)
        LibT::lDetail("    ReconnectAfterConnectionError = true");
    else
        LibT::lDetail("    ReconnectAfterConnectionError = false");
    if (info.retryInitialConnect)
        LibT::lDetail("    RetryInitialConnect = true");
    else
        LibT::lDetail("    RetryInitialConnect = false");
    LibT::lDetail("  ClientHandle = %d", clientHandle);
}

void readInputs(std::uint32_t maxAge, const std::vector<OpxItemIdentifier>& list) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  IN Parameters:");
    LibT::lDetail("  MaxAge = %d", maxAge);
    items(list);
}

void readOutputs(const std::vector<OpxItemIdentifier>& list, const std::vector<OpxItemValue>& values,
                 const std::vector<std::int32_t>& errors) {
    if (!LibT::detailWanted()) return;
    LibT::lDetail("  OUT Parameters:");
    LibT::lDetail("  Value count = %d", values.size());
    if (errors.empty()) LibT::lDetail("  No item errors");
    for (std::size_t i = 0; i < list.size() && i < values.size(); ++i) {
        const std::int32_t error = i < errors.size() ? errors[i] : S_OK;
        if (error < 0) {
            LibT::lDetail("    Item[%d] %ls %ls error=0x%lx", i, list[i].itemName, list[i].itemPath, error);
        } else {
            itemValue(i, list[i], values[i]);
        }
    }
}

}  // namespace OpxOpc::ParameterTrace
