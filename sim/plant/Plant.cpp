#include "sim/plant/Plant.h"

#include <algorithm>
#include <utility>

#include "sim/plant/standard_items.h"

namespace Korvex::Simulation {
namespace {

constexpr OLECHAR kSeparator = '.';
constexpr std::size_t kUsualLoad = 1000;
constexpr OpxStringView kLoadPrefix = OLESTR("Load.");

bool isIdentifier(OpxStringView id) {
    if (id.empty() || id.front() == kSeparator || id.back() == kSeparator) return false;
    if (id.find(OLESTR("..")) != OpxStringView::npos) return false;
    return std::none_of(id.begin(), id.end(), [](OLECHAR c) { return c < ' ' || c == '\\' || c == '/'; });
}

// Returns the prefix of all paths below a branch.
OpxString prefixOf(OpxStringView branch) {
    OpxString prefix(branch);
    if (!prefix.empty()) prefix += kSeparator;
    return prefix;
}

}  // namespace

Plant::Plant() {
    for (ItemDefinition& definition : standardItems()) add(std::move(definition));
    setLoad(kUsualLoad);
}

HRESULT Plant::find(OpxStringView id, std::shared_ptr<PlantItem>& item) const {
    if (!isIdentifier(id)) return OPC_E_INVALIDITEMID;
    const ScopedLock lock(mutex_);
    const auto found = items_.find(id);
    if (found == items_.end()) return OPC_E_UNKNOWNITEMID;
    item = found->second;
    return S_OK;
}

bool Plant::isBranch(OpxStringView path) const {
    const ScopedLock lock(mutex_);
    const OpxString prefix = prefixOf(path);
    const auto next = items_.lower_bound(prefix);
    return path.empty() || (next != items_.end() && next->first.starts_with(prefix));
}

bool Plant::exists(OpxStringView path) const {
    std::shared_ptr<PlantItem> item;
    return isBranch(path) || succeeded(find(path, item));
}

std::vector<Element> Plant::children(OpxStringView branch) const {
    const ScopedLock lock(mutex_);
    const OpxString prefix = prefixOf(branch);
    std::map<OpxString, Element> children;
    for (auto i = items_.lower_bound(prefix); i != items_.end() && i->first.starts_with(prefix); ++i) {
        const std::size_t end = i->first.find(kSeparator, prefix.size());
        OpxString path = i->first.substr(0, end);
        Element& child = children[path];
        child.name = path.substr(prefix.size());
        child.path = std::move(path);
        if (end == OpxString::npos)
            child.item = i->second;
        else
            child.hasChildren = true;
    }
    std::vector<Element> elements;
    for (auto& [path, child] : children) elements.push_back(std::move(child));
    return elements;
}

std::vector<std::shared_ptr<PlantItem>> Plant::itemsBelow(OpxStringView branch) const {
    const ScopedLock lock(mutex_);
    const OpxString prefix = prefixOf(branch);
    std::vector<std::shared_ptr<PlantItem>> items;
    for (auto i = items_.lower_bound(prefix); i != items_.end() && i->first.starts_with(prefix); ++i)
        items.push_back(i->second);
    return items;
}

void Plant::setLoad(std::size_t count) {
    std::vector<ItemDefinition> definitions = loadItems(count);
    const ScopedLock lock(mutex_);
    std::erase_if(items_, [](const auto& each) { return each.first.starts_with(kLoadPrefix); });
    for (ItemDefinition& definition : definitions) add(std::move(definition));
}

void Plant::reset() {
    setLoad(kUsualLoad);
    const ScopedLock lock(mutex_);
    for (const auto& [id, item] : items_) item->reset();
}

void Plant::add(ItemDefinition definition) {
    OpxString id = definition.id;
    items_.insert_or_assign(std::move(id), std::make_shared<PlantItem>(std::move(definition)));
}

}  // namespace Korvex::Simulation
