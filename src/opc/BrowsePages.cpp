#include "opc/BrowsePages.h"

#include <algorithm>
#include <string>
#include <utility>

namespace OpxOpc {

OpxString BrowsePages::keep(BrowseRest rest) {
    const std::lock_guard guard(lock_);
    OpxString token = fromUtf8(std::to_string(++lastToken_));
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
