// What the automation interface does beyond storing values.

#include <windows.h>

#include <objsafe.h>
#include <wrl/client.h>

#include "control/Identity.h"
#include "media/MulticastInfo.h"
#include "tests/windows/control/ControlFixture.h"

namespace norix::test {
namespace {

using Microsoft::WRL::ComPtr;

class Automation : public ControlTest {};

TEST_F(Automation, LimitsWhatIsWritten) {
    Create(false);
    const struct {
        const wchar_t* name;
        long value;
        std::string stored;
    } cases[] = {
        {L"ConnectionTimeout", 999, "1000"},
        {L"ConnectionTimeout", LONG_MIN, "1000"},
        {L"ConnectionTimeout", 1001, "1001"},
        {L"ConnectionTimeout", LONG_MAX, "2147483647"},
        {L"CHIndex", 0, "1"},
        {L"CHIndex", -5, "1"},
        {L"CHIndex", 2, "2"},
        {L"StreamIndex", 0, "1"},
        {L"StreamIndex", LONG_MIN, "1"},
        {L"StreamIndex", 7, "7"},
        {L"RecordMaxFileTimeLength", 86401, "86400"},
        {L"RecordMaxFileTimeLength", -1, "0"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Put(c.name, c.value), S_OK);
        EXPECT_EQ(Get(c.name), c.stored) << c.value;
    }
}

TEST_F(Automation, StoresMulticastAddresses) {
    Create(false);
    const auto stored = [&] {
        std::string text;
        const MulticastInfo info = Control().Session().param.multicast.Get();
        for (const MulticastAddress& stream : info.streams)
            text += (text.empty() ? "" : " ") + stream.group + ':' + std::to_string(stream.port);
        return text;
    };
    EXPECT_EQ(stored(), ":0 :0 :0 :0");
    Control().SetMulticastInfo(L"239.1.1.1", L"5000", L"5002");
    EXPECT_EQ(stored(), "239.1.1.1:5000 239.1.1.1:5002 :0 :0");
    Control().SetMulticastInfoEx(L"239.1.1.2", 65535, L"239.1.1.3", 0);
    EXPECT_EQ(stored(), "239.1.1.2:65535 239.1.1.3:0 :0 :0");
    EXPECT_EQ(Control().SetMulticastInfoByType(3, L"239.1.1.4", 6000), S_OK);
    EXPECT_EQ(Control().SetMulticastInfoByType(2, L"239.1.1.5", 6002), S_OK);
    const std::string before = stored();
    EXPECT_EQ(before, "239.1.1.2:65535 239.1.1.3:0 239.1.1.5:6002 239.1.1.4:6000");

    for (const long type : {-1L, 4L, LONG_MAX, LONG_MIN})
        EXPECT_EQ(Control().SetMulticastInfoByType(type, L"239.9.9.9", 1), E_INVALIDARG);
    for (const long port : {-1L, 65536L, LONG_MIN})
        EXPECT_EQ(Control().SetMulticastInfoByType(0, L"239.9.9.9", port), E_INVALIDARG);
    for (const wchar_t* port : {L"", L"-1", L"65536", L"12x", L" 12", L"99999999999"})
        Control().SetMulticastInfo(L"239.9.9.9", port, port);
    EXPECT_EQ(stored(), before);
}

// Names of parameters come from the type library; scripts pass arguments by them.
TEST_F(Automation, KnowsParametersByName) {
    Create(false);
    const auto ids = [&](std::vector<const wchar_t*> names) {
        std::vector<DISPID> found(names.size(), 99);
        std::vector<LPOLESTR> texts;
        for (const wchar_t* name : names)
            texts.push_back(const_cast<LPOLESTR>(name));
        const HRESULT result = Control().GetIDsOfNames(
            IID_NULL, texts.data(), static_cast<UINT>(texts.size()), LOCALE_USER_DEFAULT, found.data());
        return std::pair(result, found);
    };
    using Found = std::pair<HRESULT, std::vector<DISPID>>;
    EXPECT_EQ(ids({L"SendCameraCommand", L"sCameraParam", L"LPSZSTRCOMMAND"}), (Found{S_OK, {41, 1, 0}}));
    EXPECT_EQ(ids({L"ConnectServer"}), (Found{S_OK, {72}}));
    EXPECT_EQ(ids({L"SendCameraCommand", L"lHandle"}), (Found{DISP_E_UNKNOWNNAME, {41, DISPID_UNKNOWN}}));
    EXPECT_EQ(ids({L"Nothing", L"lHandle"}).first, DISP_E_UNKNOWNNAME);
    EXPECT_TRUE(FAILED(ids({L"SendCameraCommand", nullptr}).first));
    EXPECT_TRUE(FAILED(ids({nullptr, nullptr}).first));
    EXPECT_TRUE(FAILED(ids({nullptr}).first));
}

// ---- Safety for pages

TEST_F(Automation, IsSafeForScriptsAndData) {
    Create(false);
    ComPtr<IObjectSafety> safety;
    ASSERT_EQ(Control().QueryInterface(__uuidof(IObjectSafety), &safety), S_OK);
    DWORD supported = 99;
    DWORD enabled = 99;
    for (const IID& iid : {IID_IUnknown, IID_IDispatch, kDispatchInterface, IID_IPersistPropertyBag}) {
        EXPECT_EQ(safety->GetInterfaceSafetyOptions(iid, &supported, &enabled), S_OK);
        EXPECT_EQ(supported, 3u);
        EXPECT_EQ(enabled, 0u);
    }
    for (const IID& iid : {kEventInterface, IID_IClassFactory}) {
        EXPECT_EQ(safety->GetInterfaceSafetyOptions(iid, &supported, &enabled), E_NOINTERFACE);
        EXPECT_EQ(safety->SetInterfaceSafetyOptions(iid, 1, 1), E_NOINTERFACE);
    }
    const struct {
        DWORD mask;
        DWORD options;
        HRESULT result;
        DWORD enabled;  // afterwards
    } steps[] = {
        {1, 1, S_OK, 1},   {2, 2, S_OK, 3},   {1, 0, S_OK, 2}, {0, 3, S_OK, 2},
        {4, 0, E_FAIL, 2}, {1, 4, E_FAIL, 2}, {3, 0, S_OK, 0},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IDispatch, step.mask, step.options), step.result);
        EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, &enabled), S_OK);
        EXPECT_EQ(enabled, step.enabled) << step.mask << ", " << step.options;
    }
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, nullptr, &enabled), E_POINTER);
    EXPECT_EQ(safety->GetInterfaceSafetyOptions(IID_IDispatch, &supported, nullptr), E_POINTER);
}

}  // namespace
}  // namespace norix::test
