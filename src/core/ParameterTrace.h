// The parameters of the facade's operations, one trace line each, at the detail level.
#pragma once

#include <cstdint>
#include <vector>

#include "core/requests.h"

namespace OpxOpc::ParameterTrace {

// Each does nothing unless detail lines are wanted.
void inputs(const ConnectRequest& request);
void inputs(const ReadRequest& request);
void inputs(const WriteRequest& request);
void inputs(const SubscribeRequest& request);
void inputs(const ModifyRequest& request);
void inputs(const AddItemsRequest& request);
void inputs(const RemoveItemsRequest& request);
void inputs(const BrowseRequest& request, const OpxString& itemPath, const OpxString& continuationPoint);
void inputs(const PropertiesRequest& request);

void outputs(const ReadRequest& request, const ReadAnswer& answer);
void outputs(const SubscribeRequest& request, const SubscribeAnswer& answer);
void outputs(const BrowseAnswer& answer);
void modifyOutputs(const std::uint32_t* revisedUpdateRate);
void itemOutputs(const Items& items, const Codes& errors);
void errorOutputs(const Items& items, const Codes& errors);
void propertyOutputs(const Items& items, const std::vector<OpxItemProperties>& results);

// Written whatever the level of detail.
void cancelInputs(std::uint32_t serverSubscription);

}  // namespace OpxOpc::ParameterTrace
