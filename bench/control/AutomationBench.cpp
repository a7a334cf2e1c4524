// What a host's call through IDispatch costs, beside the same call of an object of the system: its dictionary
// does next to nothing behind its dispatch either.

#include <windows.h>

#include <benchmark/benchmark.h>
#include <ole2.h>
#include <oleauto.h>

#include <cstdio>

#include "control/Events.h"
#include "control/Identity.h"
#include "control/NorixSDKCtl.h"
#include "framework/Module.h"

namespace {

class BenchModule final : public framework::COleControlModule {
  public:
    BenchModule() : COleControlModule(L"Test", L"TestWindow") {}
};
BenchModule g_module;

norix::CNorixSDKCtrl* g_control = nullptr;
IDispatch* g_dictionary = nullptr;  // null where the system has none

/// A member of an object, called over and over with the same arguments.
class Member {
  public:
    Member(IDispatch* object, const wchar_t* name) : m_object(object), m_name(name) {
        if (object != nullptr) m_found = Find();
    }

    HRESULT Find() {
        LPOLESTR name = const_cast<LPOLESTR>(m_name);
        return m_object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &m_id);
    }
    HRESULT Call(WORD flags, DISPPARAMS& parameters) {
        VARIANT result;
        VariantInit(&result);
        const HRESULT called = m_object->Invoke(m_id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                                &result, nullptr, nullptr);
        VariantClear(&result);
        return called;
    }
    bool Usable(benchmark::State& state) const {
        if (m_object != nullptr && SUCCEEDED(m_found)) return true;
        state.SkipWithError("the object or its member is not there");
        return false;
    }

  private:
    IDispatch* const m_object;
    const wchar_t* const m_name;
    DISPID m_id = DISPID_UNKNOWN;
    HRESULT m_found = E_FAIL;
};

void Repeat(benchmark::State& state, const Member& member, auto&& call) {
    if (!member.Usable(state)) return;
    for (auto _ : state) {
        if (FAILED(call())) {
            state.SkipWithError("the call failed");
            return;
        }
    }
}

void Find(benchmark::State& state, IDispatch* object, const wchar_t* name) {
    Member member(object, name);
    Repeat(state, member, [&] { return member.Find(); });
}

void Get(benchmark::State& state, IDispatch* object, const wchar_t* name) {
    Member member(object, name);
    DISPPARAMS none = {};
    Repeat(state, member, [&] { return member.Call(DISPATCH_PROPERTYGET, none); });
}

void PutLong(benchmark::State& state, IDispatch* object, const wchar_t* name, VARTYPE type) {
    Member member(object, name);
    VARIANT value;
    value.vt = type;
    value.lVal = 1;
    DISPID put = DISPID_PROPERTYPUT;
    DISPPARAMS parameters = {&value, &put, 1, 1};
    Repeat(state, member, [&] { return member.Call(DISPATCH_PROPERTYPUT, parameters); });
}

void Call(benchmark::State& state, IDispatch* object, const wchar_t* name, UINT arguments) {
    Member member(object, name);
    VARIANT values[2];
    for (VARIANT& value : values) {
        value.vt = VT_I4;
        value.lVal = 7;
    }
    DISPPARAMS parameters = {values, nullptr, arguments, 0};
    Repeat(state, member, [&] { return member.Call(DISPATCH_METHOD, parameters); });
}

// ---- The control

void ControlFind(benchmark::State& state) {
    Find(state, g_control, L"HttpPort");
}
void ControlGetLong(benchmark::State& state) {
    Get(state, g_control, L"HttpPort");
}
void ControlGetText(benchmark::State& state) {
    Get(state, g_control, L"ServerIP");
}
void ControlPutLong(benchmark::State& state) {
    PutLong(state, g_control, L"HttpPort", VT_I4);
}
void ControlPutConverted(benchmark::State& state) {
    PutLong(state, g_control, L"HttpPort", VT_I2);
}
void ControlCall(benchmark::State& state) {
    Call(state, g_control, L"SetVideoSize", 2);
}

// ---- The system's dictionary

void DictionaryFind(benchmark::State& state) {
    Find(state, g_dictionary, L"Count");
}
void DictionaryGetLong(benchmark::State& state) {
    Get(state, g_dictionary, L"Count");
}
void DictionaryPutLong(benchmark::State& state) {
    PutLong(state, g_dictionary, L"CompareMode", VT_I4);
}
void DictionaryCall(benchmark::State& state) {
    Call(state, g_dictionary, L"Exists", 1);
}

// ---- Events

class Sink final : public IDispatch {
  public:
    long heard = 0;

    STDMETHODIMP QueryInterface(REFIID, void** object) override {
        *object = this;
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() override { return 2; }
    STDMETHODIMP_(ULONG) Release() override { return 1; }
    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        ++heard;
        return S_OK;
    }
};

void EventToSinks(benchmark::State& state) {
    Sink sink;
    framework::ConnectionPoint& point = g_control->ConnectionPoints().Events();
    std::vector<DWORD> cookies(static_cast<std::size_t>(state.range(0)));
    for (DWORD& cookie : cookies)
        point.Advise(&sink, &cookie);
    for (auto _ : state)
        g_control->FireEvent(norix::events::OnMouseMove, 10, 20);
    for (const DWORD cookie : cookies)
        point.Unadvise(cookie);
    if (sink.heard != static_cast<long>(state.iterations() * state.range(0)))
        state.SkipWithError("events were lost");
}

BENCHMARK(ControlFind);
BENCHMARK(DictionaryFind);
BENCHMARK(ControlGetLong);
BENCHMARK(DictionaryGetLong);
BENCHMARK(ControlGetText);
BENCHMARK(ControlPutLong);
BENCHMARK(DictionaryPutLong);
BENCHMARK(ControlPutConverted);
BENCHMARK(ControlCall);
BENCHMARK(DictionaryCall);
BENCHMARK(EventToSinks)->Arg(0)->Arg(1)->Arg(4);

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    g_module.OnDllMain(GetModuleHandleW(nullptr), DLL_PROCESS_ATTACH, nullptr);
    if (FAILED(OleInitialize(nullptr))) return 1;
    CLSID dictionary;
    if (SUCCEEDED(CLSIDFromProgID(L"Scripting.Dictionary", &dictionary))) {
        CoCreateInstance(dictionary, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&g_dictionary));
    }
    g_control = new norix::CNorixSDKCtrl();
    benchmark::RunSpecifiedBenchmarks();
    g_control->Release();
    if (g_dictionary != nullptr) g_dictionary->Release();
    OleUninitialize();
    return 0;
}
