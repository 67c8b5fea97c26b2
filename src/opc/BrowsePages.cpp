#include "opc/BrowsePages.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace OpxOpc {

namespace {

// Never twice in a process, so that no token of a connection that has ended fits the one after it.
OpxString nextToken() {
    static std::atomic<std::uint64_t> last{0};
    return fromUtf8(std::to_string(++last));
}

}  // namespace

OpxString BrowsePages::keep(BrowseRest rest) {
    OpxString token = nextToken();
    const std::lock_guard guard(lock_);
    kept_.push_back({token, std::move(rest)});
    if (kept_.size() > kMostKept) kept_.pop_front();
    return token;
}

std::optional<BrowseRest> BrowsePages::take(const OpxString& token, const OpxString& itemName, BrowseFilter filter) {
    const std::lock_guard guard(lock_);
    const auto found = std::find_if(kept_.begin(), kept_.end(), [&](const Kept& kept) {
        return kept.token == token && kept.rest.itemName == itemName && kept.rest.filter == filter;
    });
    if (found == kept_.end()) return std::nullopt;
    BrowseRest rest = std::move(found->rest);
    kept_.erase(found);
    return rest;
}

void BrowsePages::giveBack(const OpxString& token, BrowseRest rest) {
    const std::lock_guard guard(lock_);
    kept_.push_back({token, std::move(rest)});
    if (kept_.size() > kMostKept) kept_.pop_front();
}

}  // namespace OpxOpc
