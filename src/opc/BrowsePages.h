// The rests of browses that were asked for in pages, of servers that know no pages.
#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include <korvex/native/OpxBrowseElement.h>
#include <korvex/native/OpxString.h>

#include "opc/BranchLister.h"

namespace OpxOpc {

// What a browse has found and not handed out yet.
struct BrowseRest {
    OpxString itemName;
    BrowseFilter filter = BrowseFilter::All;
    std::vector<ListedElement> elements;
    std::size_t next = 0;

    std::size_t left() const noexcept { return elements.size() - next; }
};

// Keeps the newest rests; each is handed out once, to the browse that it belongs to. Any thread may call.
class BrowsePages {
public:
    // Answers the token of the rest.
    OpxString keep(BrowseRest rest);

    // Nothing when the token is unknown, used already or another browse's.
    std::optional<BrowseRest> take(const OpxString& token, const OpxString& itemName, BrowseFilter filter);

    // Undoes a take, for a page that could not be delivered.
    void giveBack(const OpxString& token, BrowseRest rest);

private:
    static constexpr std::size_t kMostKept = 16;

    struct Kept {
        OpxString token;
        BrowseRest rest;
    };

    std::mutex lock_;
    std::deque<Kept> kept_;  // the oldest first
};

}  // namespace OpxOpc
