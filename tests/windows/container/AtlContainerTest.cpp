// The control in a container that is not ours: Active Template Library's, as many programs of the time use
// it. Reached by name and number only, with good arguments and bad ones.

#include <ole2.h>
#include <olectl.h>

#include <optional>

#include "samples/host/TypeInfo.h"
#include "samples/host/Values.h"
#include "tests/windows/container/ContainerTest.h"
#include "util/Handles.h"

namespace {

using testing::ElementsAre;

// The library's entry points. Found at run time: nothing here needs it to be installed to start.
class Atl {
  public:
    // Its window classes can be registered once in a process.
    static const Atl& Instance() {
        static const Atl instance;
        return instance;
    }
    bool Usable() const { return usable_; }
    HRESULT GetControl(HWND window, IUnknown** control) const { return getControl_(window, control); }
    HRESULT Advise(IUnknown* source, IUnknown* sink, REFIID iid, DWORD* cookie) const {
        return advise_(source, sink, &iid, cookie);
    }
    HRESULT Unadvise(IUnknown* source, REFIID iid, DWORD cookie) const {
        return unadvise_(source, &iid, cookie);
    }

  private:
    Atl() : module_(LoadLibraryW(L"atl.dll")) {
        const bool found = Find(init_, "AtlAxWinInit") && Find(getControl_, "AtlAxGetControl") &&
                           Find(advise_, "AtlAdvise") && Find(unadvise_, "AtlUnadvise");
        usable_ = found && init_();
    }

    template <class Function>
    bool Find(Function& function, const char* name) {
        if (module_)
            function =
                reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module_.Get(), name)));
        return function != nullptr;
    }

    util::UniqueModule module_;
    BOOL(WINAPI* init_)() = nullptr;
    HRESULT(WINAPI* getControl_)(HWND, IUnknown**) = nullptr;
    HRESULT(WINAPI* advise_)(IUnknown*, IUnknown*, const IID*, DWORD*) = nullptr;
    HRESULT(WINAPI* unadvise_)(IUnknown*, const IID*, DWORD) = nullptr;
    bool usable_ = false;
};

// A value as a host may hold it, referring to another one.
_variant_t Reference(VARIANT& value) {
    _variant_t reference;
    reference.vt = VT_BYREF | VT_VARIANT;
    reference.pvarVal = &value;
    return reference;
}

class AtlContainerTest : public ContainerTest {
  protected:
    void SetUp() override {
        ContainerTest::SetUp();
        if (HasFatalFailure()) return;
        if (!atl.Usable()) GTEST_SKIP() << "atl.dll is not on this machine";
        registration.emplace(module);
        ASSERT_EQ(registration->Result(), S_OK);
        wchar_t clsid[64];
        StringFromGUID2(ControlModule::ControlClass(), clsid, 64);
        holder = CreateWindowW(L"AtlAxWin", clsid, WS_CHILD | WS_VISIBLE, 0, 0, 320, 240, window.Get(),
                               nullptr, GetModuleHandleW(nullptr), nullptr);
        ASSERT_NE(holder, nullptr);
        ASSERT_EQ(atl.GetControl(holder, &control), S_OK);
        ASSERT_EQ(control.As(&automation), S_OK);
        info = ReadControlInfo(control.Get());
    }
    void TearDown() override {
        automation.Reset();
        control.Reset();
        if (holder) DestroyWindow(holder);  // unless a test has done so
        registration.reset();
        ContainerTest::TearDown();
    }

    DISPID IdOf(const std::wstring& name) const {
        DISPID id = DISPID_UNKNOWN;
        auto* text = const_cast<LPOLESTR>(name.c_str());
        EXPECT_EQ(automation->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id), S_OK)
            << ToUtf8(name);
        return id;
    }
    HRESULT Invoke(DISPID id, WORD kind, std::vector<_variant_t> arguments,
                   EXCEPINFO* exception = nullptr) const {
        std::reverse(arguments.begin(), arguments.end());
        DISPID put = DISPID_PROPERTYPUT;
        DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
        if (kind == DISPATCH_PROPERTYPUT) {
            parameters.rgdispidNamedArgs = &put;
            parameters.cNamedArgs = 1;
        }
        _variant_t result;
        UINT bad = 0;
        return automation->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &parameters, &result, exception,
                                  &bad);
    }

    static _variant_t Neutral(VARTYPE type) {
        switch (type) {
            case VT_BSTR:
                return L"";
            case VT_BOOL:
                return false;
            case VT_R8:
                return 0.0;
            default:
                return 0L;
        }
    }
    // Nothing that can be made into any of the types.
    static _variant_t Unusable() {
        _variant_t value;
        value.vt = VT_UNKNOWN;
        value.punkVal = nullptr;
        return value;
    }

    const Atl& atl = Atl::Instance();
    std::optional<ClassRegistration> registration;
    HWND holder = nullptr;
    ComPtr<IUnknown> control;
    ControlInfo info;
};

TEST_F(AtlContainerTest, ShowsTheControlInItsWindow) {
    HWND shown = nullptr;
    ComPtr<IOleWindow> inPlace;
    ASSERT_EQ(control.As(&inPlace), S_OK);
    ASSERT_EQ(inPlace->GetWindow(&shown), S_OK);
    EXPECT_TRUE(IsWindowVisible(shown));
    EXPECT_TRUE(IsChild(holder, shown));
    RECT expected{};
    RECT actual{};
    GetWindowRect(holder, &expected);
    GetWindowRect(shown, &actual);
    EXPECT_TRUE(EqualRect(&actual, &expected));
    MoveWindow(holder, 10, 10, 200, 100, TRUE);
    GetWindowRect(shown, &actual);
    EXPECT_EQ(actual.right - actual.left, 200);
    EXPECT_EQ(actual.bottom - actual.top, 100);
}

TEST_F(AtlContainerTest, DeliversEvents) {
    std::vector<std::wstring> heard;
    const auto sink = EventSink::Create(info.events, [&](const Event& event) {
        heard.push_back(event.member->name + L":" + event.Arguments(true));
    });
    DWORD cookie = 0;
    ASSERT_EQ(atl.Advise(control.Get(), sink.Get(), info.events.iid, &cookie), S_OK);
    FireEvent(Automation());
    EXPECT_THAT(heard, ElementsAre(L"OnConnStatus:iConnectionStatus=2"));
    EXPECT_EQ(atl.Unadvise(control.Get(), info.events.iid, cookie), S_OK);
    FireEvent(Automation());
    EXPECT_EQ(heard.size(), 1u);
}

TEST_F(AtlContainerTest, FindsEveryMemberByItsName) {
    EXPECT_EQ(std::ranges::count(info.automation.members, false, &Member::isMethod), 45);
    EXPECT_EQ(std::ranges::count(info.automation.members, true, &Member::isMethod), 38);
    EXPECT_EQ(info.events.members.size(), 24u);
    for (const Member& member : info.automation.members) {
        EXPECT_EQ(IdOf(member.name), member.id) << ToUtf8(member.name);
        std::wstring shouted = member.name;
        CharUpperW(shouted.data());
        EXPECT_EQ(IdOf(shouted), member.id) << ToUtf8(shouted);
    }
    LPOLESTR unknown = const_cast<LPOLESTR>(L"NoSuchMember");
    DISPID id = 0;
    EXPECT_EQ(automation->GetIDsOfNames(IID_NULL, &unknown, 1, LOCALE_USER_DEFAULT, &id), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(id, DISPID_UNKNOWN);
    EXPECT_EQ(Invoke(4711, DISPATCH_METHOD, {}), DISP_E_MEMBERNOTFOUND);
    EXPECT_EQ(Invoke(-500, DISPATCH_PROPERTYGET, {}), DISP_E_MEMBERNOTFOUND);
    DISPPARAMS none{};
    EXPECT_EQ(automation->Invoke(IdOf(L"Connect"), IID_IDispatch, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none,
                                 nullptr, nullptr, nullptr),
              DISP_E_UNKNOWNINTERFACE);
}

TEST_F(AtlContainerTest, ReadsAndWritesEveryProperty) {
    for (const Member& member : info.automation.members) {
        if (member.isMethod) continue;
        SCOPED_TRACE(ToUtf8(member.name));
        const auto before = GetProperty(Automation(), member.name);
        EXPECT_EQ(before.vt, member.type);
        if (!member.writable) {
            EXCEPINFO exception{};
            const HRESULT result = Invoke(member.id, DISPATCH_PROPERTYPUT, {before}, &exception);
            EXPECT_EQ(result == DISP_E_EXCEPTION ? exception.scode : result, CTL_E_SETNOTSUPPORTED);
            SysFreeString(exception.bstrSource);
            SysFreeString(exception.bstrDescription);
            SysFreeString(exception.bstrHelpFile);
            continue;
        }
        _variant_t changed;
        switch (member.type) {
            case VT_BSTR:
                changed = L"changed";
                break;
            case VT_BOOL:
                changed = !static_cast<bool>(before);
                break;
            case VT_I2:
                changed = short{1};
                break;
            default:
                changed = 2000L;
                break;
        }
        EXPECT_EQ(Invoke(member.id, DISPATCH_PROPERTYPUT, {changed}), S_OK);
        EXPECT_EQ(GetProperty(Automation(), member.name), changed);
        // By reference, as scripts pass their variables.
        VARIANT previous = before;
        EXPECT_EQ(Invoke(member.id, DISPATCH_PROPERTYPUT, {Reference(previous)}), S_OK);
        EXPECT_EQ(GetProperty(Automation(), member.name), before);

        EXPECT_EQ(Invoke(member.id, DISPATCH_PROPERTYPUT, {Unusable()}), DISP_E_TYPEMISMATCH);
        EXPECT_EQ(GetProperty(Automation(), member.name), before) << "a rejected value must change nothing";
        EXPECT_EQ(Invoke(member.id, DISPATCH_PROPERTYGET, {before}), DISP_E_BADPARAMCOUNT);
        EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD, {}), DISP_E_MEMBERNOTFOUND);
    }
}

TEST_F(AtlContainerTest, ConvertsWhatHostsPass) {
    const auto put = [&](const wchar_t* name, const _variant_t& value) {
        return Invoke(IdOf(name), DISPATCH_PROPERTYPUT, {value});
    };
    EXPECT_EQ(put(L"HttpPort", L"8080"), S_OK);
    EXPECT_EQ(put(L"HttpPort", 8080.0), S_OK);
    EXPECT_EQ(put(L"HttpPort", _variant_t(BYTE{80})), S_OK);
    EXPECT_EQ(static_cast<long>(GetProperty(Automation(), L"HttpPort")), 80);
    EXPECT_EQ(put(L"HttpPort", L"eighty"), DISP_E_TYPEMISMATCH);
    EXPECT_EQ(put(L"HttpPort", 1e300), DISP_E_OVERFLOW);
    EXPECT_EQ(put(L"VideoProtocol", 70000L), DISP_E_OVERFLOW);
    EXPECT_EQ(put(L"AutoReconnect", 1L), S_OK);
    EXPECT_TRUE(static_cast<bool>(GetProperty(Automation(), L"AutoReconnect")));
    EXPECT_EQ(put(L"AutoReconnect", 0L), S_OK);
    EXPECT_EQ(put(L"ServerIP", 5L), S_OK);
    EXPECT_STREQ(_bstr_t(GetProperty(Automation(), L"ServerIP")), L"5");
    _variant_t noText;
    noText.vt = VT_BSTR;  // a null BSTR is an empty text
    noText.bstrVal = nullptr;
    EXPECT_EQ(put(L"ServerIP", noText), S_OK);
    EXPECT_STREQ(_bstr_t(GetProperty(Automation(), L"ServerIP")), L"");
    const std::wstring huge(1 << 20, L'x');
    EXPECT_EQ(put(L"ServerIP", huge.c_str()), S_OK);
    EXPECT_EQ(_bstr_t(GetProperty(Automation(), L"ServerIP")).length(), huge.size());
}

TEST_F(AtlContainerTest, ClampsInsteadOfRefusing) {
    for (const auto& [name, written, kept] : {std::tuple{L"ConnectionTimeout", 999L, 1000L},
                                              {L"ConnectionTimeout", -1L, 1000L},
                                              {L"ConnectionTimeout", 1001L, 1001L},
                                              {L"CHIndex", 0L, 1L},
                                              {L"StreamIndex", -7L, 1L}}) {
        SetProperty(Automation(), name, written);
        EXPECT_EQ(static_cast<long>(GetProperty(Automation(), name)), kept) << ToUtf8(name);
    }
}

TEST_F(AtlContainerTest, CallsEveryMethodWithGoodAndBadArguments) {
    for (const Member& member : info.automation.members) {
        if (!member.isMethod) continue;
        SCOPED_TRACE(ToUtf8(member.name));
        std::vector<_variant_t> good;
        for (const Parameter& parameter : member.parameters)
            good.push_back(Neutral(parameter.type));

        auto many = good;
        many.push_back(0L);
        EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD, many), DISP_E_BADPARAMCOUNT);
        if (!good.empty()) {
            auto few = good;
            few.pop_back();
            EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD, few), DISP_E_BADPARAMCOUNT);
            auto missing = good;
            missing.back() = _variant_t(static_cast<long>(DISP_E_PARAMNOTFOUND), VT_ERROR);
            EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD, missing), DISP_E_PARAMNOTOPTIONAL);
        }
        for (size_t i = 0; i < good.size(); ++i) {
            auto bad = good;
            bad[i] = Unusable();
            EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD, bad), DISP_E_TYPEMISMATCH) << "argument " << i;
        }
        EXPECT_EQ(Invoke(member.id, DISPATCH_PROPERTYPUT, {0L}), DISP_E_MEMBERNOTFOUND);

        // No camera, no session: every method has to cope, and to say so only by its result.
        EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD, good), S_OK);
        EXPECT_EQ(Invoke(member.id, DISPATCH_METHOD | DISPATCH_PROPERTYGET, good), S_OK);  // as scripts call
        CallMethod(Automation(), L"Disconnect");
    }
}

TEST_F(AtlContainerTest, TakesArgumentsByNameAndInAnyOrder) {
    // Last, first and middle parameter, told apart by their numbers.
    VARIANTARG arguments[3]{};
    DISPID positions[3] = {2, 0, 1};
    arguments[0].vt = VT_I4;
    arguments[0].lVal = 554;
    arguments[1].vt = VT_I4;
    arguments[1].lVal = 0;
    const _bstr_t address(L"239.0.0.1");
    arguments[2].vt = VT_BSTR;
    arguments[2].bstrVal = address;
    DISPPARAMS parameters{arguments, positions, 3, 3};
    const DISPID method = IdOf(L"SetMulticastInfoByType");
    EXPECT_EQ(automation->Invoke(method, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                                 nullptr, nullptr),
              S_OK);
    positions[1] = 2;
    EXPECT_EQ(automation->Invoke(method, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters, nullptr,
                                 nullptr, nullptr),
              DISP_E_PARAMNOTFOUND);
}

TEST_F(AtlContainerTest, SurvivesTheWindowsEndInsideAnEvent) {
    EventRecorder recorder;
    ASSERT_EQ(recorder.Advise(control.Get()), S_OK);
    recorder.inHandler = [&] { DestroyWindow(holder); };
    FireEvent(Automation());
    EXPECT_FALSE(IsWindow(holder));
    EXPECT_THAT(recorder.events, ElementsAre(kDisconnectEvent));
}

TEST_F(AtlContainerTest, SurvivesItsReleaseInsideAnEvent) {
    EventRecorder recorder;
    ASSERT_EQ(recorder.Advise(control.Get()), S_OK);
    IDispatch* borrowed = Automation();
    recorder.inHandler = [&] {
        recorder.Unadvise();
        DestroyWindow(holder);
        automation.Reset();
        control.Reset();
    };
    FireEvent(borrowed);
    EXPECT_THAT(recorder.events, ElementsAre(kDisconnectEvent));
}

TEST_F(AtlContainerTest, TakesCallsInsideAnEvent) {
    EventRecorder recorder;
    ASSERT_EQ(recorder.Advise(control.Get()), S_OK);
    int depth = 0;
    recorder.inHandler = [&] {
        if (++depth > 3) return;
        SetProperty(Automation(), L"ServerIP", L"192.0.2.1");
        CallMethod(Automation(), L"Disconnect");
    };
    FireEvent(Automation());
    EXPECT_GE(recorder.events.size(), 1u);
    EXPECT_EQ(static_cast<short>(GetProperty(Automation(), L"ConnectStatus")), 2);
}

}  // namespace
