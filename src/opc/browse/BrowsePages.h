// The rests of browses that were asked for in pages, of servers that know no pages.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

#include <korvex/native/OpxBrowseElement.h>
#include <korvex/text.h>

#include "com/Mutex.h"
#include "opc/browse/BranchLister.h"

namespace OpxOpc {

// The elements that a browse has found and not handed out yet.
struct BrowseRest {
    OpxString itemName;
    BrowseFilter filter = BrowseFilter::All;
    std::vector<ListedElement> elements;
    std::size_t next = 0;

    std::size_t left() const noexcept { return elements.size() - next; }
};

// Keeps rests, the oldest of them as long as they hold no more than `mostElements` together, the newest in
// any case. Each is handed out once, to the browse that it belongs to. Any thread may call.
class BrowsePages {
public:
    static constexpr std::size_t kMostElements = 1'000'000;

    explicit BrowsePages(std::size_t mostElements = kMostElements) : mostElements_(mostElements) {}

    // Answers the token of the rest.
    OpxString keep(BrowseRest rest);

    // Nothing when the token is unknown, used already or another browse's.
    std::optional<BrowseRest> take(const OpxString& token, const OpxString& itemName, BrowseFilter filter);

    // Undoes a take, for a page that could not be delivered.
    void giveBack(const OpxString& token, BrowseRest rest);

private:
    void put(const OpxString& token, BrowseRest rest) REQUIRES(lock_);

    const std::size_t mostElements_;
    Korvex::Mutex lock_;
    std::map<OpxString, BrowseRest> kept_ GUARDED_BY(lock_);  // by their tokens, which are in the order of their age
    std::size_t elements_ GUARDED_BY(lock_) = 0;              // of all that are kept
};

}  // namespace OpxOpc
