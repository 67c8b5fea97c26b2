#include "opc/browse/BrowsePages.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace OpxOpc {

namespace {

// Never twice in a process, so that no token of a connection that has ended fits the one after it; all of
// one length, so that later ones are greater.
OpxString nextToken() {
    static std::atomic<std::uint64_t> last{0};
    const std::string number = std::to_string(++last);
    return fromUtf8(std::string(20 - number.size(), '0') + number);
}

}  // namespace

OpxString BrowsePages::keep(BrowseRest rest) {
    OpxString token = nextToken();
    const Korvex::ScopedLock guard(lock_);
    put(token, std::move(rest));
    return token;
}

std::optional<BrowseRest> BrowsePages::take(const OpxString& token, const OpxString& itemName, BrowseFilter filter) {
    const Korvex::ScopedLock guard(lock_);
    const auto found = kept_.find(token);
    if (found == kept_.end() || found->second.itemName != itemName || found->second.filter != filter) {
        return std::nullopt;
    }
    BrowseRest rest = std::move(found->second);
    elements_ -= rest.elements.size();
    kept_.erase(found);
    return rest;
}

void BrowsePages::giveBack(const OpxString& token, BrowseRest rest) {
    const Korvex::ScopedLock guard(lock_);
    put(token, std::move(rest));
}

void BrowsePages::put(const OpxString& token, BrowseRest rest) {
    elements_ += rest.elements.size();
    kept_.emplace(token, std::move(rest));
    while (elements_ > mostElements_ && kept_.size() > 1) {
        elements_ -= kept_.begin()->second.elements.size();
        kept_.erase(kept_.begin());
    }
}

}  // namespace OpxOpc
