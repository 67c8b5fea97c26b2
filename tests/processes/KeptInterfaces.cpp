#include "tests/processes/KeptInterfaces.h"

#include <gtest/gtest.h>

#include "com/opc_interfaces.h"
#include "opc/callbacks/SinkObject.h"

namespace Korvex::Testing {
namespace {

class NoDataCallback final : public OpxOpc::SinkObject<IOPCDataCallback> {
public:
    HRESULT STDMETHODCALLTYPE OnDataChange(DWORD, OPCHANDLE, HRESULT, HRESULT, DWORD, OPCHANDLE*, VARIANT*, WORD*,
                                           FILETIME*, HRESULT*) override {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnReadComplete(DWORD, OPCHANDLE, HRESULT, HRESULT, DWORD, OPCHANDLE*, VARIANT*, WORD*,
                                             FILETIME*, HRESULT*) override {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnWriteComplete(DWORD, OPCHANDLE, HRESULT, DWORD, OPCHANDLE*, HRESULT*) override {
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE OnCancelComplete(DWORD, OPCHANDLE) override { return S_OK; }
};

class NoShutdown final : public OpxOpc::SinkObject<IOPCShutdown> {
public:
    HRESULT STDMETHODCALLTYPE ShutdownRequest(LPCWSTR) override { return S_OK; }
};

}  // namespace

KeptInterfaces::KeptInterfaces() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    keep(IID_IOPCDataCallback, new NoDataCallback());
    keep(IID_IOPCShutdown, new NoShutdown());
}

KeptInterfaces::~KeptInterfaces() {
    for (const auto& stream : marshalled_) {
        stream->Seek({}, STREAM_SEEK_SET, nullptr);
        CoReleaseMarshalData(stream.get());
    }
    marshalled_.clear();
    CoUninitialize();
}

void KeptInterfaces::keep(REFIID interfaceId, IUnknown* object) {
    const Com::ComPtr<IUnknown> owned(object);
    marshalled_.emplace_back();
    EXPECT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, marshalled_.back().put()), S_OK);
    EXPECT_EQ(
        CoMarshalInterface(marshalled_.back().get(), interfaceId, object, MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG),
        S_OK);
}

}  // namespace Korvex::Testing
