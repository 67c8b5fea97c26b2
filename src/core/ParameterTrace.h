// The parameters of the facade's operations, one trace line each, at the detail level.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

#include "opc/browse/BrowseRequest.h"

namespace OpxOpc::ParameterTrace {

// Each does nothing unless detail lines are wanted.
void connectInputs(const OpxString& url, const OpxServerConnectInfo& info, std::uint32_t clientHandle);
void readInputs(std::uint32_t maxAge, const std::vector<OpxItemIdentifier>& items);
void readAsyncInputs(std::uint32_t transaction, std::uint32_t maxAge, const std::vector<OpxItemIdentifier>& items);
void readOutputs(const std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values,
                 const std::vector<std::int32_t>& errors);
void writeInputs(const std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values);
void writeAsyncInputs(std::uint32_t transaction, const std::vector<OpxItemIdentifier>& items,
                      const std::vector<OpxItemValue>& values);

void subscribeInputs(std::uint32_t clientSubscription, bool active, std::uint32_t updateRate, float deadband,
                     const std::vector<OpxItemIdentifier>& items);
void subscribeOutputs(const std::uint32_t* revisedUpdateRate, const std::uint32_t* serverSubscription,
                      const std::vector<OpxItemIdentifier>& items, const std::vector<std::int32_t>& errors);

// The settings that a modification changes.
struct Settings {
    std::optional<bool> active = std::nullopt;
    std::optional<std::uint32_t> updateRate = std::nullopt;
    std::optional<float> deadband = std::nullopt;
};
void modifyInputs(std::uint32_t serverSubscription, const Settings& settings);
void modifyOutputs(const std::uint32_t* revisedUpdateRate);

void addItemsInputs(std::uint32_t serverSubscription, const std::vector<OpxItemIdentifier>& items);
void removeItemsInputs(std::uint32_t serverSubscription, const std::vector<OpxItemIdentifier>& items);
void itemOutputs(const std::vector<OpxItemIdentifier>& items, const std::vector<std::int32_t>& errors);
void errorOutputs(const std::vector<OpxItemIdentifier>& items, const std::vector<std::int32_t>& errors);

void browseInputs(const OpxString& itemName, const OpxString& itemPath, const OpxString& continuationPoint,
                  std::uint32_t maxElementsReturned, BrowseFilter filter, const PropertyRequest& properties);
void browseOutputs(const OpxString& continuationPoint, const bool* moreElements,
                   const std::vector<OpxBrowseElement>& elements);
void getPropertiesInputs(const std::vector<OpxItemIdentifier>& items, const PropertyRequest& properties);
void getPropertiesOutputs(const std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemProperties>& results);

// Written whatever the level of detail.
void cancelInputs(std::uint32_t serverSubscription);

}  // namespace OpxOpc::ParameterTrace
