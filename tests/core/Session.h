// Sessions of a client with its server; tests/support/Steps.h tells the way of writing them.
#pragma once

#include <future>
#include <map>
#include <string>
#include <vector>

#include "tests/core/RecoveryFixture.h"
#include "tests/support/SimulationSteps.h"

namespace OpxOpc {

using Korvex::Testing::told;

class Session : public RecoveryFixture {
protected:
    explicit Session(int speed) : RecoveryFixture(speed) {
        Korvex::Testing::addSimulationSteps(steps, sim, trace);
        addCalls();
        addSubscriptionCalls();
        addStory();
        addThreads();
    }
    // What hangs has to return, and what is told to end, before the rest goes.
    ~Session() override {
        sim.reset();
        started_.clear();
        server.disconnect();
    }

    Korvex::Testing::Steps steps;

private:
    using Step = Korvex::Testing::Step;
    using Codes = std::vector<std::int32_t>;

    void addCalls() {
        steps.add("connect", [this](const Step& step) {
            if (const auto locale = step.setting("locale")) info.localId = fromUtf8(*locale);
            info.retryInitialConnect = step.numberOf("retry", info.retryInitialConnect) != 0;
            info.reconnectAfterConnectionError = step.numberOf("reconnect", 1) != 0;
            info.keepAliveTime = static_cast<std::int32_t>(step.numberOf("keepalive", 2000));
            const auto host = fromUtf8(step.setting("host").value_or("opcda://localhost"));
            const auto url = step.setting("url");
            return told(server.connect(url ? fromUtf8(*url) : Korvex::Testing::simulationUrl(host), info, kClient,
                                       step.setting("callback") == "none" ? nullptr : &story));
        });
        steps.add("info", [this](const Step&) {
            return "locale=" + toUtf8(info.localId) + " retry=" + std::to_string(info.retryInitialConnect);
        });
        steps.add("disconnect", [this](const Step&) { return told(server.disconnect()); });
        // Names the items of the following reads that name none.
        steps.addSilent("name", [this](const Step& step) { items = itemsOf(step, 0); });
        steps.add("types", [this](const Step&) {
            std::string types;
            for (const auto& item : items) types += " " + std::to_string(OpxVariant::varTypeFromType(item.dataType));
            return types.substr(1);
        });
        steps.add("read", [this](const Step& step) { return read(step); });
        steps.add("write", [this](const Step& step) {
            auto written = itemsOf(step, 0);
            Codes codes;
            return told(server.write(written, valuesOf(step), codes), codes);
        });
        steps.add("readasync", [this](const Step& step) {
            auto read = itemsOf(step, 2);
            Codes codes;
            return told(server.readAsync(step.number(0), step.number(1), read, codes), codes);
        });
        steps.add("writeasync", [this](const Step& step) {
            auto written = itemsOf(step, 1);
            Codes codes;
            return told(server.writeAsync(step.number(0), written, valuesOf(step), codes), codes);
        });
        steps.add("browse", [this](const Step& step) {
            OpxString point;
            std::vector<OpxBrowseElement> found;
            std::string answer =
                told(server.browse(step.name(), {}, point, 0, BrowseFilter::All, {}, false, false, found, nullptr));
            for (const auto& each : found) answer += " " + toUtf8(each.name) + (each.isItem ? "*" : "");
            return answer;
        });
        // The number of items that it was successful for.
        steps.add("properties", [this](const Step& step) {
            std::vector<OpxItemProperties> results;
            const bool all = step.numberOf("all", 1) != 0;
            const HRESULT hr = server.getProperties(itemsOf(step, 0), {}, all, true, results);
            return hr == S_OK ? std::to_string(results.size()) : told(hr);
        });
    }
    std::string read(const Step& step) {
        auto own = itemsOf(step, 1);
        std::vector<OpxItemValue> values;
        Codes codes;
        const HRESULT hr = server.read(step.number(0), own.empty() ? items : own, values, codes);
        std::string answer = told(hr);
        for (std::size_t i = 0; i < values.size() && succeeded(hr); ++i) {
            const bool isRefused = i < codes.size() && codes[i] != S_OK;
            answer += " " + (isRefused ? Korvex::Testing::hex(codes[i]) : toUtf8(values[i].value.toString()));
        }
        return answer;
    }

    void addSubscriptionCalls() {
        steps.add("subscribe", [this](const Step& step) {
            auto own = itemsOf(step, 1);
            const std::uint32_t asked = step.numberOf("rate", 100);
            std::uint32_t revised = asked;
            std::uint32_t made = 0;
            Codes codes;
            const HRESULT hr =
                server.subscribe(step.number(0), step.numberOf("active", 1) != 0, asked,
                                 std::stof(step.setting("deadband").value_or("2.5")), own, &revised, &made, codes);
            if (made != 0) handles_[step.number(0)] = made;
            EXPECT_TRUE(failed(hr) || revised == asked) << revised;
            return told(hr, codes);
        });
        steps.add("modify", [this](const Step& step) {
            std::uint32_t revised = 0;
            return told(step.setting("rate")
                            ? server.subscriptionModify(handleOf(step), step.numberOf("rate", 0), &revised)
                            : server.subscriptionModify(handleOf(step), step.numberOf("active", 1) != 0));
        });
        steps.add("remove", [this](const Step& step) {
            Codes codes;
            return told(server.subscriptionRemoveItems(handleOf(step), itemsOf(step, 1), codes), codes);
        });
        steps.add("cancel", [this](const Step& step) { return told(server.subscriptionCancel(handleOf(step))); });
        steps.add("handle", [this](const Step& step) { return std::to_string(handleOf(step)); });
    }

    void addStory() {
        steps.addSilent("told", [this](const Step& step) { EXPECT_TRUE(story.reaches(step.text)); });
        steps.add("story", [this](const Step&) {
            std::string whole;
            for (const std::string& line : story.lines()) whole += (whole.empty() ? "" : ", ") + line;
            return whole;
        });
        steps.addSilent("forget", [this](const Step&) {
            story.forget();
            trace.clear();
            sim.clearJournal();
        });
        steps.add("idle", [this](const Step&) { return steps.waitFor([&] { return sim.counts() == idle; }); });
    }

    void addThreads() {
        steps.addSilent("start", [this](const Step& step) {
            started_.push_back(std::async(std::launch::async, [this, line = step.text] { steps.play(line); }));
        });
        steps.addSilent("running", [this](const Step&) {
            for (auto& each : started_)
                EXPECT_EQ(each.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        });
        steps.addSilent("finish", [this](const Step&) {
            started_.clear();  // waits
        });
        // "on state 3 => disconnect": plays the step inside the next callback that is told so.
        steps.addSilent("on", [this](const Step& step) {
            const std::size_t arrow = step.text.find(" => ");
            const std::lock_guard guard(lock_);
            reactions_.emplace(step.text.substr(0, arrow), step.text.substr(arrow + 4));
        });
        steps.add("throw", [](const Step&) -> std::string { throw std::runtime_error("the application's trouble"); });
        story.onLine = [this](const std::string& line) { react(line); };
    }
    void react(const std::string& line) {
        std::vector<std::string> due;
        {
            const std::lock_guard guard(lock_);
            for (auto [each, end] = reactions_.equal_range(line); each != end; ++each) due.push_back(each->second);
            reactions_.erase(line);
        }
        steps.playAll(due);
    }

    // "ITEM", "ITEM:TYPE" or "ITEM=VALUE"; those with a value come behind the others.
    static std::vector<OpxItemIdentifier> itemsOf(const Step& step, std::size_t first) {
        std::vector<std::string> names(step.names.begin() + static_cast<std::ptrdiff_t>(first), step.names.end());
        for (const auto& [name, value] : step.settings) {
            if (name.find('.') != name.npos) names.push_back(name);
        }
        return itemsNamed(names);
    }
    static std::vector<OpxItemValue> valuesOf(const Step& step) {
        std::vector<OpxItemValue> values;
        for (const auto& [name, value] : step.settings) values.emplace_back().value = OpxVariant::of(std::stoi(value));
        return values;
    }
    std::uint32_t handleOf(const Step& step) const {
        const auto found = handles_.find(step.number(0));
        return found == handles_.end() ? step.number(0) : found->second;
    }

    std::map<std::uint32_t, std::uint32_t> handles_;  // of subscriptions, by the client's numbers
    std::mutex lock_;
    std::multimap<std::string, std::string> reactions_;  // by the line that they react to
    std::vector<std::future<void>> started_;
};

}  // namespace OpxOpc
