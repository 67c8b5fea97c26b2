// The parameters of the facade's operations, one trace line each, at the detail level.
#pragma once

#include <cstdint>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxItemValue.h>
#include <korvex/native/OpxServerConnectInfo.h>

namespace OpxOpc::ParameterTrace {

// Each does nothing unless detail lines are wanted.
void connectInputs(const OpxString& url, const OpxServerConnectInfo& info, std::uint32_t clientHandle);
void readInputs(std::uint32_t maxAge, const std::vector<OpxItemIdentifier>& items);
void readOutputs(const std::vector<OpxItemIdentifier>& items, const std::vector<OpxItemValue>& values,
                 const std::vector<std::int32_t>& errors);

}  // namespace OpxOpc::ParameterTrace
