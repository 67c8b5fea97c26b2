#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

#include "com/portable/com_portable.h"

namespace {

// The header of a BSTR: the byte length right before the text, and padding that keeps it aligned.
struct Header {
    std::uint32_t padding;
    std::uint32_t byteLength;
};
static_assert(sizeof(Header) == 8, "the length must stand right before the text");

constexpr UINT kMaxBytes = std::numeric_limits<UINT>::max() - sizeof(Header) - sizeof(OLECHAR);

const Header* headerOf(BSTR text) {
    return reinterpret_cast<const Header*>(text) - 1;
}

BSTR allocate(const void* bytes, UINT length) {
    if (length > kMaxBytes) return nullptr;
    // A text of an odd number of bytes has its terminator after the last of them.
    auto* header = static_cast<Header*>(std::calloc(1, sizeof(Header) + length + sizeof(OLECHAR)));
    if (!header) return nullptr;
    header->byteLength = length;
    auto* text = reinterpret_cast<OLECHAR*>(header + 1);
    if (bytes && length > 0) std::memcpy(text, bytes, length);
    return text;
}

}  // namespace

BSTR SysAllocString(const OLECHAR* psz) {
    if (!psz) return nullptr;
    const auto length = std::char_traits<OLECHAR>::length(psz);
    if (length > kMaxBytes / sizeof(OLECHAR)) return nullptr;
    return SysAllocStringLen(psz, static_cast<UINT>(length));
}

BSTR SysAllocStringLen(const OLECHAR* strIn, UINT ui) {
    if (ui > kMaxBytes / sizeof(OLECHAR)) return nullptr;
    return allocate(strIn, static_cast<UINT>(ui * sizeof(OLECHAR)));
}

BSTR SysAllocStringByteLen(const CHAR* psz, UINT len) {
    return allocate(psz, len);
}

INT SysReAllocString(BSTR* pbstr, const OLECHAR* psz) {
    if (!pbstr) return FALSE;
    BSTR replaced = SysAllocString(psz);
    if (psz && !replaced) return FALSE;
    std::swap(*pbstr, replaced);
    SysFreeString(replaced);
    return TRUE;
}

INT SysReAllocStringLen(BSTR* pbstr, const OLECHAR* psz, UINT len) {
    if (!pbstr) return FALSE;
    // With no new text the old one's beginning stays.
    BSTR replaced = SysAllocStringLen(nullptr, len);
    if (!replaced) return FALSE;
    const UINT copied = psz ? len : std::min(len, SysStringLen(*pbstr));
    if (copied > 0) std::memcpy(replaced, psz ? psz : *pbstr, copied * sizeof(OLECHAR));
    std::swap(*pbstr, replaced);
    SysFreeString(replaced);
    return TRUE;
}

void SysFreeString(BSTR bstrString) {
    if (bstrString) std::free(const_cast<Header*>(headerOf(bstrString)));
}

UINT SysStringLen(BSTR bstr) {
    return static_cast<UINT>(SysStringByteLen(bstr) / sizeof(OLECHAR));
}

UINT SysStringByteLen(BSTR bstr) {
    return bstr ? headerOf(bstr)->byteLength : 0;
}
