// The arrays of a callback, as a server would deliver them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <korvex/native/OpxVariant.h>

#include "com/opc_interfaces.h"
#include "com/owners.h"
#include "opc/callbacks/OpxOPCDataCallback.h"

namespace Korvex::Testing {

inline constexpr WORD kGood = 0xC0;
inline constexpr WORD kUncertain = 0x40;
inline constexpr WORD kBad = 0x00;

// 2008-03-01 12:34:56.789
inline constexpr FILETIME kKnownTime = {0xA83D3C50, 0x01C87B98};

inline Com::UniqueVariant variantOf(const OpxOpc::OpxVariant& value) {
    Com::UniqueVariant out;
    value.toVariant(out);
    return out;
}
template <typename T>
Com::UniqueVariant variantOf(T value) {
    return variantOf(OpxOpc::OpxVariant::of(value));
}

// A VARIANT of a type that has no value of its own.
inline Com::UniqueVariant bareVariant(VARTYPE type) {
    Com::UniqueVariant out;
    out.vt = type;
    out.llVal = 0;
    return out;
}

inline Com::UniqueVariant twoDimensionalArray() {
    SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 0}};
    Com::UniqueVariant out;
    out.parray = SafeArrayCreate(VT_I4, 2, bounds);
    out.vt = VT_ARRAY | VT_I4;
    return out;
}

struct Delivery {
    std::vector<OPCHANDLE> handles;
    std::vector<Com::UniqueVariant> values;
    std::vector<WORD> qualities;
    std::vector<FILETIME> times;
    std::vector<HRESULT> errors;
    HRESULT masterQuality = S_OK;
    HRESULT masterError = S_OK;
    // Arrays that the server leaves out, by their first letter: "hvqte".
    std::string missing;

    Delivery& add(OPCHANDLE handle, Com::UniqueVariant value, WORD quality = kGood, HRESULT error = S_OK,
                  FILETIME time = kKnownTime) {
        handles.push_back(handle);
        values.push_back(std::move(value));
        qualities.push_back(quality);
        times.push_back(time);
        errors.push_back(error);
        return *this;
    }

    HRESULT change(IOPCDataCallback& sink, OPCHANDLE group) {
        return sink.OnDataChange(0, group, masterQuality, masterError, count(), given(handles, 'h'), given(values, 'v'),
                                 given(qualities, 'q'), given(times, 't'), given(errors, 'e'));
    }
    HRESULT completeRead(IOPCDataCallback& sink, DWORD transaction) {
        return sink.OnReadComplete(transaction, 1, masterQuality, masterError, count(), given(handles, 'h'),
                                   given(values, 'v'), given(qualities, 'q'), given(times, 't'), given(errors, 'e'));
    }
    HRESULT completeWrite(IOPCDataCallback& sink, DWORD transaction) {
        return sink.OnWriteComplete(transaction, 1, masterError, count(), given(handles, 'h'), given(errors, 'e'));
    }

private:
    DWORD count() const { return static_cast<DWORD>(handles.size()); }
    template <typename T>
    T* given(std::vector<T>& list, char letter) const {
        return missing.find(letter) == std::string::npos ? list.data() : nullptr;
    }
};

}  // namespace Korvex::Testing
