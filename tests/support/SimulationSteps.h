// Steps of sessions with the simulation server.
#pragma once

#include <string>
#include <vector>

#include <korvex/native/OpxItemIdentifier.h>
#include <korvex/native/OpxVariant.h>

#include "tests/support/SimulationFixture.h"
#include "tests/support/Steps.h"

namespace Korvex::Testing {

inline Opx::VType typeNumbered(const std::string& varType) {
    return OpxOpc::OpxVariant::typeFromVarType(static_cast<VARTYPE>(std::stoul(varType)));
}

// "ITEM" or "ITEM:TYPE" with the client handles 1, 2, ...
inline std::vector<OpxOpc::OpxItemIdentifier> itemsNamed(const std::vector<std::string>& names) {
    std::vector<OpxOpc::OpxItemIdentifier> items;
    for (const std::string& name : names) {
        const std::size_t colon = name.find(':');
        auto& item = items.emplace_back();
        item.itemName = fromUtf8(name.substr(0, colon));
        item.clientHandle = static_cast<std::uint32_t>(items.size());
        if (colon != name.npos) item.dataType = typeNumbered(name.substr(colon + 1));
    }
    return items;
}

// What a call answers: its code, unless it is S_OK, and the items' codes.
inline std::string told(HRESULT hr, const std::vector<std::int32_t>& codes = {}) {
    std::string text = hr == S_OK ? "" : hex(hr);
    for (const std::int32_t code : codes) text += code == S_OK ? " ok" : " " + hex(code);
    return text;
}

// Those that steer a simulation and tell what it saw and what was traced.
inline void addSimulationSteps(Steps& steps, SimulationControl& sim, TraceCapture& trace) {
    steps.add("sim", [&](const Step& step) { return sim.execute(step.text); });
    // How many calls of a method there were, of those that hold the other words.
    steps.add("calls", [&](const Step& step) {
        std::size_t count = 0;
        for (const std::string& call : sim.journal(step.names.at(0))) {
            std::istringstream words(step.text.substr(step.names[0].size()));
            bool holdsAll = true;
            for (std::string word; words >> word;) holdsAll = holdsAll && call.find(word) != call.npos;
            count += holdsAll ? 1 : 0;
        }
        return std::to_string(count);
    });
    steps.add("awaitcalls", [&](const Step& step) {
        return Steps::waitFor([&] { return sim.journal(step.names.at(0)).size() >= step.number(1); });
    });
    steps.add("count", [&](const Step& step) { return std::to_string(sim.counts().at(step.names.at(0))); });
    // The lines, between which " ; " stands, are there in this order.
    steps.add("trace", [&](const Step& step) {
        std::vector<std::string> lines;
        for (std::size_t begin = 0; begin < step.text.size();) {
            const std::size_t end = std::min(step.text.find(" ; ", begin), step.text.size());
            lines.push_back(step.text.substr(begin, end - begin));
            begin = end + 3;
        }
        return trace.hasInOrder(lines) ? "" : trace.dump();
    });
    steps.add("traced", [&](const Step& step) { return std::to_string(trace.textsWith(step.text).size()); });
    steps.add("awaittrace", [&](const Step& step) { return Steps::waitFor([&] { return trace.has(step.text); }); });
    steps.addSilent("forget", [&](const Step&) {
        trace.clear();
        sim.clearJournal();
    });
}

}  // namespace Korvex::Testing
