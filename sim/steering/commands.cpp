#include "sim/steering/commands.h"

#include <map>
#include <memory>

#include "sim/Simulation.h"
#include "sim/server/Server.h"
#include "sim/steering/CommandWords.h"
#include "sim/steering/item_commands.h"

namespace Korvex::Simulation {
namespace {

using Handler = std::string (*)(CommandWords&);

// Wraps what a command does and has nothing to say about.
template <void (*Do)(CommandWords&)>
std::string silently(CommandWords& words) {
    Do(words);
    words.end();
    return {};
}

template <typename Meaning>
Meaning chosen(CommandWords& words, const std::map<std::string_view, Meaning>& meanings) {
    const std::string_view word = words.word();
    const auto found = meanings.find(word);
    if (found == meanings.end()) throw CommandError(std::string("unknown word: ").append(word));
    return found->second;
}

bool onOrOff(CommandWords& words) { return chosen<bool>(words, {{"on", true}, {"off", false}}); }

// ---- Faults --------------------------------------------------------------------------------------

void fault(CommandWords& words) {
    const std::string_view method = words.method();
    const HRESULT code = words.code();
    std::optional<unsigned> nth;
    if (!words.isEmpty()) nth = static_cast<unsigned>(words.number());
    if (nth == 0U) throw CommandError("calls are counted from 1");
    simulation().faults.fault(method, code, nth);
}

void refuse(CommandWords& words) { simulation().faults.refuse(words.word()); }
void accept(CommandWords& words) { simulation().faults.accept(words.word()); }

void profile(CommandWords& words) {
    simulation().faults.refuseDataAccess3(chosen<bool>(words, {{"2", true}, {"3", false}}));
}

void delay(CommandWords& words) {
    const std::string_view method = words.method();
    simulation().faults.delay(method, std::chrono::milliseconds(words.number()));
}

void hang(CommandWords& words) { simulation().faults.hang(words.method()); }
void release(CommandWords& words) { simulation().faults.release(words.method()); }
void dead(CommandWords&) { simulation().faults.setDead(true); }
void alive(CommandWords&) { simulation().faults.setDead(false); }

void answer(CommandWords& words) {
    const std::string_view method = words.method();
    const Nonsense nonsense = words.isEmpty() ? Nonsense::none
                                              : chosen<Nonsense>(words, {{"null", Nonsense::nullEverything},
                                                                         {"null-values", Nonsense::nullValues},
                                                                         {"null-errors", Nonsense::nullErrors}});
    simulation().faults.answer(method, nonsense);
}

void async(CommandWords& words) {
    using Action = void (*)(CommandWords&);
    static const std::map<std::string_view, Action> kActions = {
        {"normal", [](CommandWords&) { simulation().completions.reset(); }},
        {"hold", [](CommandWords&) { simulation().completions.hold(true); }},
        {"release", [](CommandWords&) { simulation().completions.hold(false); }},
        {"drop", [](CommandWords&) { simulation().completions.setMode(Completion::dropped); }},
        {"double", [](CommandWords&) { simulation().completions.setMode(Completion::doubled); }},
        {"unknown-transaction", [](CommandWords&) { simulation().completions.setMode(Completion::unknownTransaction); }},
        {"unknown-handle", [](CommandWords&) { simulation().completions.setMode(Completion::unknownHandle); }},
        {"early", [](CommandWords&) { simulation().completions.setMode(Completion::early); }},
        {"null", [](CommandWords&) { simulation().completions.setMode(Completion::nullArrays); }},
        {"masters",
         [](CommandWords& codes) {
             const HRESULT quality = codes.code();
             simulation().completions.setMasters({quality, codes.code()});
         }},
    };
    chosen(words, kActions)(words);
}

// ---- The server ----------------------------------------------------------------------------------

void reset(CommandWords&) { simulation().reset(); }

void state(CommandWords& words) {
    const auto number = static_cast<std::int32_t>(words.number());
    simulation().options.change([&](Options& options) { options.state = static_cast<OPCSERVERSTATE>(number); });
}

void locales(CommandWords& words) {
    std::string list(words.word());
    for (char& c : list)
        if (c == ',') c = ' ';
    std::vector<LCID> accepted;
    for (CommandWords each(list); !each.isEmpty();) accepted.push_back(static_cast<LCID>(each.number()));
    simulation().options.change([&](Options& options) { options.locales = accepted; });
}

void organisation(CommandWords& words) {
    const auto organization =
        chosen<OPCNAMESPACETYPE>(words, {{"flat", OPC_NS_FLAT}, {"hierarchical", OPC_NS_HIERARCHIAL}});
    simulation().options.change([&](Options& options) { options.organization = organization; });
}

void handles(CommandWords& words) {
    const bool zero = chosen<bool>(words, {{"zero", true}, {"usual", false}});
    simulation().options.change([&](Options& options) { options.zeroHandles = zero; });
}

void blobs(CommandWords& words) {
    const bool on = onOrOff(words);
    simulation().options.change([&](Options& options) { options.blobs = on; });
}

void browseLimit(CommandWords& words) {
    const auto limit = static_cast<DWORD>(words.number());
    simulation().options.change([&](Options& options) { options.browseLimit = limit; });
}

void load(CommandWords& words) {
    constexpr std::uint64_t kMost = 1'000'000;
    simulation().plant.setLoad(static_cast<std::size_t>(words.number(kMost)));
}

void shutdown(CommandWords& words) {
    const OpxString reason = fromUtf8(words.remainder());
    for (const auto& server : simulation().servers()) server->requestShutdown(reason.empty() ? nullptr : reason.c_str());
}

// ---- What was seen -------------------------------------------------------------------------------

std::string journal(CommandWords& words) {
    if (words.isEmpty()) return simulation().journal.text();
    chosen<bool>(words, {{"clear", true}});
    words.end();
    simulation().journal.clear();
    return {};
}

std::string calls(CommandWords& words) {
    const std::string_view method = words.method();
    words.end();
    return std::to_string(simulation().faults.calls(method));
}

std::string counts(CommandWords& words) {
    words.end();
    const Census& census = simulation().census;
    const auto line = [](const char* name, int count) { return std::string(name) + "=" + std::to_string(count) + "\n"; };
    return line("servers", census.servers) + line("groups", census.groups) + line("items", census.items) +
           line("sinks", census.sinks) + line("shutdownsinks", census.shutdownSinks) +
           line("references", census.references);
}

const std::map<std::string_view, Handler> kCommands = {
    {"reset", silently<reset>},
    {"fault", silently<fault>},
    {"refuse", silently<refuse>},
    {"accept", silently<accept>},
    {"profile", silently<profile>},
    {"delay", silently<delay>},
    {"hang", silently<hang>},
    {"release", silently<release>},
    {"dead", silently<dead>},
    {"alive", silently<alive>},
    {"answer", silently<answer>},
    {"async", silently<async>},
    {"state", silently<state>},
    {"locales", silently<locales>},
    {"organisation", silently<organisation>},
    {"handles", silently<handles>},
    {"blobs", silently<blobs>},
    {"browselimit", silently<browseLimit>},
    {"load", silently<load>},
    {"shutdown", silently<shutdown>},
    {"item", silently<changeItem>},
    {"journal", journal},
    {"calls", calls},
    {"counts", counts},
};

}  // namespace

std::string execute(std::string_view command) {
    CommandWords words(command);
    return chosen(words, kCommands)(words);
}

}  // namespace Korvex::Simulation
