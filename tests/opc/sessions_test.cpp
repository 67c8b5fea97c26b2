// Plays the sessions of sessions.txt: connections and their groups.
#include "tests/opc/calls.h"
#include "tests/support/SimulationSteps.h"

namespace Korvex::Testing {
namespace {

using OpxOpc::OpxItemIdentifier;
using OpxOpc::OpxVariant;

class Connections : public SimulationFixture, public ::testing::WithParamInterface<std::string> {
protected:
    Connections() {
        addSimulationSteps(steps, sim, trace);
        steps.add("connect", [this](const Step& step) {
            return told(step.setting("group") ? c.connectWithGroup() : c.connect());
        });
        // An operation of calls.h.
        steps.add("call", [this](const Step& step) { return told(callNamed(step.names.at(0), c)); });
        steps.add("locale", [this](const Step& step) {
            OpxString locale = step.name();
            const HRESULT hr = c.server.setLocalID(locale);
            return told(hr) + (locale.empty() ? "" : " " + toUtf8(locale));
        });
        steps.add("set", [this](const Step& step) {
            return told(c.group.setState(step.numberOf("active", 0) != 0,
                                         static_cast<float>(step.numberOf("deadband", 0)), step.numberOf("rate", 0)));
        });
        steps.add("state", [this](const Step&) {
            std::ostringstream text;
            text << "rate=" << c.group.updateRate() << " active=" << c.group.active()
                 << " deadband=" << c.group.percentDeadband();
            return text.str();
        });
        steps.add("add", [this](const Step& step) { return add(step); });
        // Removes the last item and one more with that handle, and shows their handles.
        steps.add("remove", [this](const Step& step) {
            std::vector<OpxItemIdentifier> items(2);
            items[0].serverHandle = handle;
            items[1].serverHandle = step.number(0);
            const HRESULT hr = c.group.removeItems(items, c.errors);
            return told(hr, c.errors) + " " + std::to_string(items[0].serverHandle) + " " +
                   std::to_string(items[1].serverHandle);
        });
        steps.add("read", [this](const Step& step) {
            const HRESULT hr = c.read(handle, step.number(0));
            return told(hr) + toUtf8(c.values.at(0).value.toString());
        });
        // The subscription of the data changes and the state, when there are so many.
        steps.add("changes", [this](const Step& step) {
            return c.client.waitForDataChanges(step.number(0)) ? std::to_string(c.client.dataChanges()[0].id) : "none";
        });
        steps.add("statuses", [this](const Step& step) {
            return c.client.waitForStatuses(step.number(0)) ? std::to_string(c.client.statuses()[0].status) : "none";
        });
        steps.add("alltraces", [this](const Step&) {
            std::string all;
            for (const std::string& line : trace.texts()) all += (all.empty() ? "" : " ; ") + line;
            return all;
        });
        steps.addSilent("calledinorder", [this](const Step& step) {
            const std::string journal = sim.execute("journal");
            EXPECT_LT(journal.find(step.names.at(0)), journal.find(step.names.at(1))) << journal;
        });
    }

    // What items learn: "TYPE/RIGHTS", with "+" behind those that have a handle. "ITEM:TYPE" asks for a type.
    std::string add(const Step& step) {
        auto items = itemsNamed(step.names);
        const HRESULT hr = c.group.addItems(items, c.errors, step.setting("validate").has_value());
        std::string answer = told(hr, c.errors);
        for (const OpxItemIdentifier& each : items)
            answer += " " + std::to_string(OpxVariant::varTypeFromType(each.dataType)) + "/" +
                      std::to_string(each.accessRights) + (each.serverHandle == 0 ? "" : "+");
        handle = items[0].serverHandle;
        return answer;
    }

    Connection c;
    std::uint32_t handle = 0;  // of the first item that was added last
    Steps steps;
};

TEST_P(Connections, AreAsTheirSessionsTell) {
    steps.playAll(linesOf("opc/sessions.txt", GetParam()));
}
INSTANTIATE_TEST_SUITE_P(Sessions, Connections, ::testing::ValuesIn(sectionsOf("opc/sessions.txt")), nameOfSection);

}  // namespace
}  // namespace Korvex::Testing
