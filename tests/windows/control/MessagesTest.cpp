// What worker threads report to the control's window, and the events that the host hears of it.

#include <windows.h>

#include <oleauto.h>

#include <array>
#include <cstdio>

#include "media/ControlMessages.h"
#include "tests/windows/control/ControlFixture.h"

namespace norix::test {
namespace {

class Messages : public ControlTest {
  protected:
    /// As the frame path sends it: `bytes` of a frame.
    void SendFrame(std::span<const unsigned char> bytes, std::uint32_t type = 1, std::uint32_t signal = 1,
                   UINT message = WM_OnNewFrame) {
        const NewFrameDescription frame = {type, signal, static_cast<std::uint32_t>(bytes.size())};
        FromWorker(static_cast<ControlMessage>(message), &frame, bytes.data());
    }
    void FromWorker(ControlMessage message, const void* wParam, const void* lParam) {
        Control().Session().param.window.Send(message, wParam, lParam);
    }
};

constexpr unsigned char kBytes[] = {0x00, 0xFF, 0x7F, 0x80};

TEST_F(Messages, PostedOnesBecomeEvents) {
    const struct {
        UINT message;
        WPARAM wParam;
        LPARAM lParam;
        Texts expected;
    } cases[] = {
        {WM_OnDIOStatus, 5, LONG_MIN, {"OnDIOStatus(5, -2147483648)"}},
        {WM_OnRecordStatus, static_cast<WPARAM>(RecordStatus::Started), 0, {"OnRecordStatus(3)"}},
        {WM_OnResolutionChanged, 1920, 1080, {"OnResolutionChanged(1920, 1080)"}},
        {WM_OnMDAlert, 2, 100, {"OnMDAlert(2s, 100s)"}},
        {WM_OnMDAlert, 0x10002, 0x2FFFF, {"OnMDAlert(2s, -1s)"}},  // the low 16 bits
        {WM_OnIVAEvent, 4, -17, {"OnIVAEvent(4, -17, &\"{ \"index\": 4, \"function_type\": -17 }\")"}},
        {WM_OnGeneralEvent, 7, 0x1234, {"OnGeneralEvent(7, 18, 52)"}},
        {WM_OnGeneralEvent, 7, static_cast<LPARAM>(0xABCDFFFE), {"OnGeneralEvent(7, 255, 254)"}},
        {WM_OnMotionWindowUpdate, 1, 0, {}},  // the motion windows are not being edited
        {WM_OnForceI, 1, 1, {}},
        {kControlMessageBase + 2, 1, 1, {}},
        {WM_OnShowAuthDialog + 1, 1, 1, {}},
    };
    Create().OpenDeliveries();
    for (const auto& c : cases) {
        EXPECT_TRUE(PostMessageW(Window(), c.message, c.wParam, c.lParam));
        EXPECT_EQ(Host().Take(), Texts()) << "before the message was dispatched";
        PumpMessages();
        EXPECT_EQ(Host().Take(), c.expected) << std::hex << c.message;
    }
    EXPECT_EQ(Get(L"RecordStatus"), "3s");
}

TEST_F(Messages, FramesTravelAsBytes) {
    Create().OpenDeliveries();
    SendFrame(kBytes, 0, 0);
    SendFrame(std::span(kBytes, 1), 1, 2);
    SendFrame(std::span(kBytes, 0));
    EXPECT_EQ(Host().Take(), (Texts{"OnNewFrame(0, 4, false, &{[00 FF 7F 80]})",
                                    "OnNewFrame(1, 1, true, &{[00]})", "OnNewFrame(1, 0, true, &{[]})"}));
    const NewFrameDescription frame = {0, 1, 4};
    FromWorker(WM_OnNewFrame, nullptr, kBytes);
    FromWorker(WM_OnNewFrame, &frame, nullptr);
    // Nobody but a worker is believed where pointers are concerned.
    Send(WM_OnNewFrame, reinterpret_cast<WPARAM>(&frame), reinterpret_cast<LPARAM>(kBytes));
    Send(WM_OnNewFrame, 0x10000, 0x10000);
    Send(WM_OnSnapshotData, 0x10000, 0x10000);
    Send(WM_OnRequestFileName, 0x10000);
    Send(WM_OnNewPacket, 0x10000, 0x10000);
    SendFrame(kBytes, 0, 0, WM_OnNewPacket);  // packets have no event
    EXPECT_EQ(Host().Take(), Texts());
}

TEST_F(Messages, SnapshotsTravelAsBytesWithTheirFormat) {
    Create();
    const SnapshotDescription picture = {640, 480, sizeof kBytes, 2};
    FromWorker(WM_OnSnapshotData, kBytes, &picture);
    FromWorker(WM_OnSnapshotData, nullptr, &picture);
    FromWorker(WM_OnSnapshotData, kBytes, nullptr);
    EXPECT_EQ(Host().Take(), Texts{"OnNotifySnapshotData(2, 640, 480, 4, &{[00 FF 7F 80]})"});
}

TEST_F(Messages, FileNamesAreOfferedAndMayBeReplaced) {
    Create();
    const SYSTEMTIME early = {2024, 3, 2, 5, 7, 8, 9, 12};
    const SYSTEMTIME late = {2031, 12, 3, 31, 23, 59, 59, 999};
    for (const SYSTEMTIME* time : {&early, &late})
        FromWorker(WM_OnRequestFileName, time, nullptr);
    FromWorker(WM_OnRequestFileName, nullptr, nullptr);
    EXPECT_EQ(Host().Take(), (Texts{"OnRequestFileName(&{\"2024_03_05_07_08_09_12\"})",
                                    "OnRequestFileName(&{\"2031_12_31_23_59_59_999\"})"}));

    // Whatever the host puts there is the control's to free.
    HostWindow unrelated([](UINT) {});
    IUnknown* object = nullptr;
    ASSERT_EQ(CreateItemMoniker(L"!", L"x", reinterpret_cast<IMoniker**>(&object)), S_OK);
    object->AddRef();
    Host().onEvent = [&](DISPID, DISPPARAMS& arguments) {
        VARIANT& name = *arguments.rgvarg[0].pvarVal;
        VariantClear(&name);
        name.vt = VT_UNKNOWN;
        name.punkVal = object;
    };
    FromWorker(WM_OnRequestFileName, &early, nullptr);
    EXPECT_EQ(object->Release(), 0u);
}

TEST_F(Messages, ReplacedBytesAndTextsAreFreedOnce) {
    Create().OpenDeliveries();
    Host().onEvent = [&](DISPID id, DISPPARAMS& arguments) {
        if (id == events::OnNewFrame.id) {
            VARIANT& bytes = *arguments.rgvarg[0].pvarVal;
            VariantClear(&bytes);
            bytes.vt = VT_BSTR;
            bytes.bstrVal = SysAllocString(L"something else");
        } else {
            SysReAllocString(arguments.rgvarg[0].pbstrVal, L"another text of another length");
        }
    };
    SendFrame(kBytes);
    Send(WM_OnIVAEvent, 1, 2);
    EXPECT_EQ(Host().Events().size(), 2u);
}

// ---- Delivery: only to a host that has left its handler, and only while there is a connection

TEST_F(Messages, AreNotDeliveredWithoutAConnection) {
    Create();
    const auto deliver = [&] {
        Send(WM_OnDIOStatus, 1, 2);
        SendFrame(kBytes);
        SendFrame(kBytes, 0, 0, WM_OnNewPacket);
        return Host().Take().size();
    };
    EXPECT_EQ(deliver(), 0u);
    Control().OpenDeliveries();
    EXPECT_EQ(deliver(), 2u);
    Control().CloseDeliveries();
    EXPECT_EQ(deliver(), 0u);
    Control().OpenDeliveries();
    Control().Disconnect();
    Host().Take();
    EXPECT_EQ(deliver(), 0u);
}

TEST_F(Messages, AreDroppedWhileTheHostIsInItsHandler) {
    Create().OpenDeliveries();
    Host().onEvent = [&](DISPID id, DISPPARAMS&) {
        if (Host().Events().size() > 2) return;
        Send(WM_OnDIOStatus, 1, 1);  // of the same kind: dropped at the second level
        SendFrame(kBytes);
        EXPECT_TRUE(id == events::OnDIOStatus.id || id == events::OnNewFrame.id);
    };
    Send(WM_OnDIOStatus, 0, 0);
    EXPECT_EQ(Host().Take(), (Texts{"OnDIOStatus(0, 0)", "OnNewFrame(1, 4, true, &{[00 FF 7F 80]})"}));
    Host().onEvent = nullptr;
    Send(WM_OnDIOStatus, 2, 2);
    EXPECT_EQ(Host().Take(), Texts{"OnDIOStatus(2, 2)"});
}

// ---- The session driver's callback
}  // namespace
}  // namespace norix::test
