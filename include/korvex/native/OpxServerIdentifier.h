// A server that was found.
#pragma once

#include <cstdint>

#include <korvex/export.h>
#include <korvex/text.h>

namespace OpxOpc {

/// The kinds of OPC servers.
enum class ServerCategory : std::int32_t {
    OPCDA = 0,
    OPCDX = 1,
    OPCAE = 2,
    OPCHDA = 3,
    OPCXMLDA = 4,  ///< never found: such servers are not COM's
};

/// A server that a machine has.
class KORVEX_OPC_API OpxServerIdentifier {
public:
    /// `host` is empty for this machine; `clsid` is text with braces.
    OpxServerIdentifier(OpxString host, OpxString progId, OpxString clsid, ServerCategory category);

    /// "opcda://host/ProgID/{CLSID}"; of a category without scheme, what follows "//".
    const OpxString& GetURL() const noexcept { return url_; }
    /// The machine; empty for this one.
    const OpxString& host() const noexcept { return host_; }
    /// The ProgID.
    const OpxString& progId() const noexcept { return progId_; }
    /// The class ID, with braces.
    const OpxString& clsid() const noexcept { return clsid_; }
    /// The kind of server.
    ServerCategory category() const noexcept { return category_; }

private:
    OpxString host_;
    OpxString progId_;
    OpxString clsid_;
    ServerCategory category_;
    OpxString url_;
};

}  // namespace OpxOpc
