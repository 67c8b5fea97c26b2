#include "opc/callbacks/ComAsyncTransaction.h"

#include <atomic>
#include <utility>

#include "trace/LibT.h"

namespace OpxOpc {
namespace {

std::uint32_t nextKey() noexcept {
    static std::atomic<std::uint32_t> last = 0;
    const std::uint32_t key = ++last;
    return key != 0 ? key : ++last;
}

}  // namespace

ComAsyncTransaction::ComAsyncTransaction(std::uint32_t clientTransactionId,
                                         std::map<std::uint32_t, std::uint32_t> positions,
                                         std::vector<Opx::VType> types, std::vector<std::uint32_t> clientHandles)
    : key_(nextKey()),
      clientTransactionId_(clientTransactionId),
      positions_(std::move(positions)),
      types_(std::move(types)),
      clientHandles_(std::move(clientHandles)) {
    LibT::lCtor("Ctor ComAsyncTransaction");
}

ComAsyncTransaction::~ComAsyncTransaction() {
    LibT::lCtor("<-- Dtor ComAsyncTransaction");
}

std::optional<ComAsyncTransaction::Item> ComAsyncTransaction::find(std::uint32_t itemHandle) const {
    const auto found = positions_.find(itemHandle);
    if (found == positions_.end()) return std::nullopt;
    const std::uint32_t position = found->second;
    if (position >= types_.size() || position >= clientHandles_.size()) return std::nullopt;
    return Item{types_[position], clientHandles_[position]};
}

}  // namespace OpxOpc
