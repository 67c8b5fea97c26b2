#include "sim/steering/commands.h"

#include <functional>
#include <map>
#include <memory>
#include <utility>

#include "sim/ProcessEnd.h"
#include "sim/Simulation.h"
#include "sim/server/Server.h"
#include "sim/steering/CommandWords.h"
#include "sim/steering/item_commands.h"

namespace Korvex::Simulation {
namespace {

// The action of a command that has been parsed.
using Action = std::function<void()>;

template <typename Meaning>
Meaning chosen(CommandWords& words, const std::map<std::string_view, Meaning>& meanings) {
    const std::string_view word = words.word();
    const auto found = meanings.find(word);
    if (found == meanings.end()) throw CommandError(std::string("unknown word: ").append(word));
    return found->second;
}

// ---- Faults --------------------------------------------------------------------------------------

Action fault(CommandWords& words) {
    const std::string_view method = words.method();
    const HRESULT code = words.code();
    std::optional<unsigned> nth;
    if (!words.isEmpty()) nth = static_cast<unsigned>(words.number());
    if (nth == 0U) throw CommandError("calls are counted from 1");
    return [=] { simulation().faults.fault(method, code, nth); };
}

Action refuse(CommandWords& words) {
    return [name = words.word()] { simulation().faults.refuse(name); };
}

Action accept(CommandWords& words) {
    return [name = words.word()] { simulation().faults.accept(name); };
}

Action profile(CommandWords& words) {
    const bool old = chosen<bool>(words, {{"2", true}, {"3", false}});
    return [=] { simulation().faults.refuseDataAccess3(old); };
}

Action delay(CommandWords& words) {
    const std::string_view method = words.method();
    const std::chrono::milliseconds time(words.number());
    return [=] { simulation().faults.delay(method, time); };
}

Action hang(CommandWords& words) {
    return [method = words.method()] { simulation().faults.hang(method); };
}

Action release(CommandWords& words) {
    return [method = words.method()] { simulation().faults.release(method); };
}

Action dead(CommandWords&) {
    return [] { simulation().faults.setDead(true); };
}

Action alive(CommandWords&) {
    return [] { simulation().faults.setDead(false); };
}

Action answer(CommandWords& words) {
    const std::string_view method = words.method();
    const Nonsense nonsense = words.isEmpty() ? Nonsense::none
                                              : chosen<Nonsense>(words, {{"null", Nonsense::nullEverything},
                                                                         {"null-values", Nonsense::nullValues},
                                                                         {"null-errors", Nonsense::nullErrors},
                                                                         {"hidden-errors", Nonsense::hiddenErrors}});
    return [=] { simulation().faults.answer(method, nonsense); };
}

Action holdCompletions(bool held) {
    return [held] { simulation().completions.hold(held); };
}

template <Completion Mode>
Action completeAs(CommandWords&) {
    return [] { simulation().completions.setMode(Mode); };
}

Action setMasters(CommandWords& words) {
    const HRESULT quality = words.code();
    const HRESULT error = words.code();
    return [=] { simulation().completions.setMasters({quality, error}); };
}

Action async(CommandWords& words) {
    static const std::map<std::string_view, Action (*)(CommandWords&)> kFaults = {
        {"normal", [](CommandWords&) -> Action { return [] { simulation().completions.reset(); }; }},
        {"hold", [](CommandWords&) { return holdCompletions(true); }},
        {"release", [](CommandWords&) { return holdCompletions(false); }},
        {"drop", completeAs<Completion::dropped>},
        {"double", completeAs<Completion::doubled>},
        {"unknown-transaction", completeAs<Completion::unknownTransaction>},
        {"unknown-handle", completeAs<Completion::unknownHandle>},
        {"early", completeAs<Completion::early>},
        {"null", completeAs<Completion::nullArrays>},
        {"masters", setMasters},
    };
    return chosen(words, kFaults)(words);
}

// ---- The server ----------------------------------------------------------------------------------

Action reset(CommandWords&) {
    return [] { simulation().reset(); };
}

// Sets one of the options.
template <typename Member>
Action setOption(Member Options::*member, Member value) {
    return [member, value = std::move(value)] {
        simulation().options.change([&](Options& options) { options.*member = value; });
    };
}

Action state(CommandWords& words) {
    return setOption(&Options::state, static_cast<OPCSERVERSTATE>(static_cast<std::int32_t>(words.number())));
}

Action locales(CommandWords& words) {
    std::string list(words.word());
    for (char& c : list)
        if (c == ',') c = ' ';
    std::vector<LCID> accepted;
    for (CommandWords each(list); !each.isEmpty();) accepted.push_back(static_cast<LCID>(each.number()));
    return setOption(&Options::locales, std::move(accepted));
}

Action organisation(CommandWords& words) {
    return setOption(&Options::organization,
                     chosen<OPCNAMESPACETYPE>(words, {{"flat", OPC_NS_FLAT}, {"hierarchical", OPC_NS_HIERARCHIAL}}));
}

Action handles(CommandWords& words) {
    return setOption(&Options::zeroHandles, chosen<bool>(words, {{"zero", true}, {"usual", false}}));
}

Action blobs(CommandWords& words) {
    return setOption(&Options::blobs, chosen<bool>(words, {{"on", true}, {"off", false}}));
}

Action welcome(CommandWords& words) {
    return setOption(&Options::asksToLeave, chosen<bool>(words, {{"shutdown", true}, {"usual", false}}));
}

Action deliver(CommandWords& words) {
    return setOption(&Options::deliversInside, chosen<bool>(words, {{"inside", true}, {"later", false}}));
}

Action browseLimit(CommandWords& words) {
    return setOption(&Options::browseLimit, static_cast<DWORD>(words.number()));
}

Action load(CommandWords& words) {
    constexpr std::uint64_t kMost = 1'000'000;
    return [count = static_cast<std::size_t>(words.number(kMost))] { simulation().plant.setLoad(count); };
}

Action shutdown(CommandWords& words) {
    return [reason = fromUtf8(words.remainder())] {
        for (const auto& server : simulation().servers())
            server->requestShutdown(reason.empty() ? nullptr : reason.c_str());
    };
}

Action clearJournal(CommandWords&) {
    return [] { simulation().journal.clear(); };
}

// ---- Its process ---------------------------------------------------------------------------------

Action revoke(CommandWords&) {
    if (!revokeProcess) throw CommandError("the simulation is not a process of its own");
    return revokeProcess;
}

// ---- What was seen -------------------------------------------------------------------------------

std::string journal(CommandWords&) {
    return simulation().journal.text();
}

std::string calls(CommandWords& words) {
    return std::to_string(simulation().faults.calls(words.method()));
}

std::string counts(CommandWords&) {
    const Census& census = simulation().census;
    const auto line = [](const char* name, int count) {
        return std::string(name) + "=" + std::to_string(count) + "\n";
    };
    return line("servers", census.servers) + line("groups", census.groups) + line("items", census.items) +
           line("sinks", census.sinks) + line("shutdownsinks", census.shutdownSinks) +
           line("references", census.references);
}

const std::map<std::string_view, std::string (*)(CommandWords&)> kQuestions = {
    {"journal", journal},
    {"calls", calls},
    {"counts", counts},
    {"written", writtenValue},
};

const std::map<std::string_view, Action (*)(CommandWords&)> kCommands = {
    {"reset", reset},     {"fault", fault},
    {"refuse", refuse},   {"accept", accept},
    {"profile", profile}, {"delay", delay},
    {"hang", hang},       {"release", release},
    {"dead", dead},       {"alive", alive},
    {"answer", answer},   {"async", async},
    {"state", state},     {"locales", locales},
    {"handles", handles}, {"organisation", organisation},
    {"blobs", blobs},     {"browselimit", browseLimit},
    {"load", load},       {"shutdown", shutdown},
    {"item", changeItem}, {"journal clear", clearJournal},
    {"deliver", deliver}, {"welcome", welcome},
    {"revoke", revoke},
};

std::string ask(std::string (*question)(CommandWords&), CommandWords& words) {
    std::string answer = question(words);
    words.end();
    return answer;
}

}  // namespace

std::string execute(std::string_view command) {
    CommandWords words(command);
    const std::string_view name = command == "journal clear" ? words.remainder() : words.word();
    if (const auto question = kQuestions.find(name); question != kQuestions.end()) return ask(question->second, words);
    const auto found = kCommands.find(name);
    if (found == kCommands.end()) throw CommandError(std::string("unknown command: ").append(name));
    const Action action = found->second(words);
    words.end();
    action();
    return {};
}

}  // namespace Korvex::Simulation
