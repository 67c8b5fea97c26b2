#include <korvex/opc_cmn/ServerIdentifier.h>

#include <iterator>
#include <optional>

namespace Korvex::OPC::OpcCmn {
namespace {

constexpr const OLECHAR* kSchemes[] = {OLESTR("opcda"), OLESTR("opcdx"), OLESTR("opcae"), OLESTR("opchda"),
                                       OLESTR("http")};

const OLECHAR* schemeOf(ServerCategory category) {
    const auto index = static_cast<std::size_t>(category);
    return index < std::size(kSchemes) ? kSchemes[index] : OLESTR("");
}

ServerCategory categoryOf(OpxStringView scheme) {
    for (std::size_t i = 0; i < std::size(kSchemes); ++i) {
        if (scheme == kSchemes[i]) return static_cast<ServerCategory>(i);
    }
    return ServerCategory::OPCDA;
}

// Takes what stands before `separator` off the front of `text`, and the separator; nothing, and the text
// unchanged, where there is none.
std::optional<OpxStringView> takeUpTo(OpxStringView separator, OpxStringView& text) {
    const std::size_t at = text.find(separator);
    if (at == OpxStringView::npos) return std::nullopt;
    const OpxStringView taken = text.substr(0, at);
    text.remove_prefix(at + separator.size());
    return taken;
}

}  // namespace

ServerIdentifier::ServerIdentifier(NullableText hostName, NullableText progID, NullableText clsid,
                                   ServerCategory category)
    : m_HostName(std::move(hostName)), m_ProgId(std::move(progID)), m_Clsid(std::move(clsid)), m_Category(category) {
    OpxString url = schemeOf(m_Category);
    url.append(OLESTR("://")).append(m_HostName.valueOrEmpty()).append(OLESTR("/"));
    url.append(m_ProgId.valueOrEmpty()).append(OLESTR("/")).append(m_Clsid.valueOrEmpty());
    m_Url = std::move(url);
}

ServerIdentifier::ServerIdentifier(NullableText url) : m_Url(std::move(url)) {
    OpxStringView rest = m_Url.valueOrEmpty();
    if (const auto scheme = takeUpTo(OLESTR("://"), rest)) m_Category = categoryOf(*scheme);
    if (const auto host = takeUpTo(OLESTR("/"), rest)) m_HostName = *host;
    if (const auto progId = takeUpTo(OLESTR("/"), rest)) {
        m_ProgId = *progId;
        m_Clsid = rest;
    }
}

}  // namespace Korvex::OPC::OpcCmn
