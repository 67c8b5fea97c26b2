// Identifiers and their texts.
#include <array>
#include <cstring>
#include <random>

#include "com/com.h"
#include "com/owners.h"
#include "com/portable/ServerRegistry.h"

namespace {

using Korvex::OpxString;
using Korvex::OpxStringView;
using Korvex::Com::ServerRegistry;

// "{11111111-2222-3333-4444-555555555555}"
constexpr std::size_t kTextLength = 38;
constexpr OLECHAR kDigits[] = OLESTR("0123456789ABCDEF");

int digitValue(OLECHAR c) {
    if (c >= OLESTR('0') && c <= OLESTR('9')) return c - OLESTR('0');
    if (c >= OLESTR('A') && c <= OLESTR('F')) return c - OLESTR('A') + 10;
    if (c >= OLESTR('a') && c <= OLESTR('f')) return c - OLESTR('a') + 10;
    return -1;
}

// The bytes of an identifier in the order in which its text has them.
std::array<std::uint8_t, 16> textOrder(const GUID& guid) {
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<std::uint8_t>(guid.Data1 >> (24 - 8 * i));
    for (std::size_t i = 0; i < 2; ++i) bytes[4 + i] = static_cast<std::uint8_t>(guid.Data2 >> (8 - 8 * i));
    for (std::size_t i = 0; i < 2; ++i) bytes[6 + i] = static_cast<std::uint8_t>(guid.Data3 >> (8 - 8 * i));
    std::memcpy(&bytes[8], guid.Data4, 8);
    return bytes;
}

GUID fromTextOrder(const std::array<std::uint8_t, 16>& bytes) {
    GUID guid = {};
    for (std::size_t i = 0; i < 4; ++i) guid.Data1 = (guid.Data1 << 8) | bytes[i];
    guid.Data2 = static_cast<std::uint16_t>((bytes[4] << 8) | bytes[5]);
    guid.Data3 = static_cast<std::uint16_t>((bytes[6] << 8) | bytes[7]);
    std::memcpy(guid.Data4, &bytes[8], 8);
    return guid;
}

bool isHyphenPosition(std::size_t position) {
    return position == 9 || position == 14 || position == 19 || position == 24;
}

OpxString toText(const GUID& guid) {
    OpxString text(kTextLength, OLESTR('-'));
    text.front() = OLESTR('{');
    text.back() = OLESTR('}');
    std::size_t position = 1;
    for (const std::uint8_t byte : textOrder(guid)) {
        if (isHyphenPosition(position)) ++position;
        text[position++] = kDigits[byte >> 4];
        text[position++] = kDigits[byte & 0xF];
    }
    return text;
}

bool fromText(OpxStringView text, GUID& guid) {
    if (text.size() != kTextLength || text.front() != OLESTR('{') || text.back() != OLESTR('}')) return false;
    std::array<std::uint8_t, 16> bytes{};
    std::size_t position = 1;
    for (std::uint8_t& byte : bytes) {
        if (isHyphenPosition(position) && text[position++] != OLESTR('-')) return false;
        const int high = digitValue(text[position++]);
        const int low = digitValue(text[position++]);
        if (high < 0 || low < 0) return false;
        byte = static_cast<std::uint8_t>(high * 16 + low);
    }
    guid = fromTextOrder(bytes);
    return true;
}

}  // namespace

extern "C" {

HRESULT StringFromCLSID(REFCLSID rclsid, LPOLESTR* lplpsz) {
    if (!lplpsz) return E_INVALIDARG;
    *lplpsz = Korvex::Com::copyToTaskMemory(toText(rclsid));
    return *lplpsz ? S_OK : E_OUTOFMEMORY;
}

int StringFromGUID2(REFGUID rguid, LPOLESTR lpsz, int cchMax) {
    constexpr int needed = static_cast<int>(kTextLength) + 1;
    if (!lpsz || cchMax < needed) return 0;
    const OpxString text = toText(rguid);
    std::memcpy(lpsz, text.c_str(), needed * sizeof(OLECHAR));
    return needed;
}

HRESULT CLSIDFromString(LPCOLESTR lpsz, LPCLSID pclsid) {
    if (!pclsid) return E_INVALIDARG;
    *pclsid = GUID_NULL;
    if (!lpsz) return S_OK;
    if (fromText(lpsz, *pclsid)) return S_OK;
    return CO_E_CLASSSTRING;
}

HRESULT StringFromIID(REFIID rclsid, LPOLESTR* lplpsz) {
    return StringFromCLSID(rclsid, lplpsz);
}

HRESULT IIDFromString(LPCOLESTR lpsz, IID* lpiid) {
    const HRESULT hr = CLSIDFromString(lpsz, lpiid);
    if (hr != CO_E_CLASSSTRING) return hr;
    return OpxStringView(lpsz).size() == kTextLength ? CO_E_IIDSTRING : E_INVALIDARG;
}

HRESULT CoCreateGuid(GUID* pguid) {
    if (!pguid) return E_INVALIDARG;
    std::random_device random;
    std::array<std::uint8_t, 16> bytes{};
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4: random
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
    *pguid = fromTextOrder(bytes);
    return S_OK;
}

HRESULT CLSIDFromProgID(LPCOLESTR lpszProgID, LPCLSID lpclsid) {
    if (!lpszProgID || !lpclsid) return E_INVALIDARG;
    *lpclsid = GUID_NULL;
    const auto server = ServerRegistry::read().findProgId(lpszProgID);
    if (!server) return CO_E_CLASSSTRING;
    *lpclsid = server->clsid;
    return S_OK;
}

HRESULT ProgIDFromCLSID(REFCLSID clsid, LPOLESTR* lplpszProgID) {
    if (!lplpszProgID) return E_INVALIDARG;
    *lplpszProgID = nullptr;
    const auto server = ServerRegistry::read().find(clsid);
    if (!server) return REGDB_E_CLASSNOTREG;
    *lplpszProgID = Korvex::Com::copyToTaskMemory(server->progId);
    return *lplpszProgID ? S_OK : E_OUTOFMEMORY;
}

}  // extern "C"
