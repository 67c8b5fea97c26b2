// The object API's events as lines of text.
#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <korvex/opc_da_client/DaServerMgt.h>

#include "tests/support/Mailbox.h"

namespace Korvex::OPC::OpcDaClient {

// "one=-320000", and what is not good of it: "two= OPC_QUALITY_BAD E_FAIL".
inline std::string textOf(const ItemValueCallback& item) {
    std::string text = toUtf8(item.ClientHandle().toText()) + "=" + toUtf8(item.Value().toText());
    if (!item.Quality()) text += " no quality";
    if (item.Quality() && !item.Quality()->IsGood()) text += " " + toUtf8(item.Quality()->Name());
    if (!item.ResultID()) text += " no result";
    if (item.ResultID() && item.ResultID()->Code() != 0) text += " " + toUtf8(item.ResultID()->Name());
    return text;
}

inline std::string textOf(const ItemResultCallback& item) {
    return toUtf8(item.ClientHandle().toText()) + "=" + toUtf8(item.ResultID()->Name());
}

// "read 78, not all good, with errors: one=5, two=6"
template <typename Item>
std::string lineOf(const std::string& what, bool allQualitiesGood, bool noErrors, const NullableArray<Item>& items) {
    std::string line = what + (allQualitiesGood ? "" : ", not all good") + (noErrors ? ":" : ", with errors:");
    if (items.isNull()) return line + " null";
    for (std::size_t i = 0; i < items.size(); ++i) line += (i == 0 ? " " : ", ") + textOf(items[i]);
    return line;
}

// A handler that still runs when its test is over needs the story.
class Story : public Testing::Mailbox<std::string> {
public:
    // A server may send again what it has sent already when a group becomes active; that is told once.
    void tellChanges(std::int32_t subscription, const std::vector<ItemValueCallback>& items) {
        std::vector<ItemValueCallback> changed;
        {
            const std::lock_guard guard(lock_);
            for (const ItemValueCallback& item : items) {
                std::string& last = last_[toUtf8(item.ClientHandle().toText())];
                if (std::exchange(last, textOf(item)) != last) changed.push_back(item);
            }
        }
        if (!changed.empty()) put(lineOf<ItemValueCallback>(std::to_string(subscription), true, true, changed));
    }

private:
    std::mutex lock_;
    std::map<std::string, std::string> last_;
};

inline auto toldChanges(const std::shared_ptr<Story>& story) {
    return [story](std::int32_t subscription, bool, bool, const std::vector<ItemValueCallback>& items) {
        story->tellChanges(subscription, items);
    };
}
inline auto toldReads(const std::shared_ptr<Story>& story) {
    return [story](std::int32_t id, bool qualities, bool errors, const NullableArray<ItemValueCallback>& items) {
        story->put(lineOf("read " + std::to_string(id), qualities, errors, items));
    };
}
inline auto toldWrites(const std::shared_ptr<Story>& story) {
    return [story](std::int32_t id, bool errors, const NullableArray<ItemResultCallback>& items) {
        story->put(lineOf("write " + std::to_string(id), true, errors, items));
    };
}
inline auto toldStates(const std::shared_ptr<Story>& story) {
    return [story](std::int32_t connection, ServerState state) {
        story->put(std::to_string(connection) + ": state " + std::to_string(static_cast<int>(state)));
    };
}

}  // namespace Korvex::OPC::OpcDaClient
