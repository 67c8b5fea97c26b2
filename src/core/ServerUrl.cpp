#include "core/ServerUrl.h"

#include "com/ascii_case.h"

namespace OpxOpc {
namespace {

constexpr std::size_t kBracedGuidLength = 38;
constexpr std::size_t kShortestRest = 4;
constexpr OLECHAR kSeparator = OLESTR('/');

std::size_t nextSeparator(OpxStringView url, std::size_t previous) {
    return previous == OpxStringView::npos ? previous : url.find(kSeparator, previous + 1);
}

bool namesThisMachine(OpxStringView host) {
    return Korvex::Com::equalsIgnoringCase(host, OLESTR("localhost")) || host == OLESTR("127.0.0.1");
}

}  // namespace

bool ServerUrl::needsLookup() const noexcept {
    return clsidText.size() < kBracedGuidLength;
}

std::optional<ServerUrl> ServerUrl::parse(OpxStringView url) {
    const std::size_t first = url.find(kSeparator);
    const std::size_t second = nextSeparator(url, first);
    const std::size_t third = nextSeparator(url, second);
    if (third == OpxStringView::npos || third + kShortestRest > url.size()) return std::nullopt;
    const std::size_t fourth = nextSeparator(url, third);

    ServerUrl result;
    result.host = url.substr(second + 1, third - second - 1);
    if (namesThisMachine(result.host)) result.host.clear();
    result.progId = url.substr(third + 1, fourth == OpxStringView::npos ? fourth : fourth - third - 1);
    result.hasClsidPart = fourth != OpxStringView::npos;
    if (result.hasClsidPart) result.clsidText = url.substr(fourth + 1);
    return result;
}

}  // namespace OpxOpc
