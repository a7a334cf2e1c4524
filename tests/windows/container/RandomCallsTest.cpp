// Calls with random arguments, made from the type library as a host reads it: whatever a page or a program
// passes, the control answers, in each state that it can be in.

#include <winsock2.h>  // before windows.h

#include <oleauto.h>

#include <cmath>
#include <iostream>
#include <limits>
#include <memory>
#include <random>

#include "samples/host/TypeInfo.h"
#include "samples/host/Values.h"
#include "tests/support/ResourceUse.h"
#include "tests/support/WebServer.h"
#include "tests/windows/container/ContainerTest.h"
#include "tests/windows/util/PrivateHives.h"

namespace {

constexpr DWORD kLongestCall = 20'000;  // ms: a connection over HTTP that is waited for, twice
constexpr int kCallsPerLife = 500;
// Something left behind by every twentieth call is found.
constexpr long kTolerated = 40;
constexpr long kToleratedHeapBytes = 32 * 1024;

int CallsPerState() {
    const char* wanted = std::getenv("NORIX_RANDOM_CALLS");
    return wanted == nullptr ? 400 : std::atoi(wanted);
}

// ---- A camera that speaks just enough RTSP to be connected to, or too little

// G.711 over the connection itself, as the first packets of a stream.
std::string Packets() {
    std::string packets;
    for (unsigned char number = 0; number < 50; ++number) {
        std::string rtp = {'\x80', '\0', '\0', static_cast<char>(number), '\0', '\0'};
        rtp += {static_cast<char>(number * 160 >> 8), static_cast<char>(number * 160), 1, 2, 3, 4};
        rtp.append(160, '\xFF');
        packets += std::string{'$', '\0', '\0', static_cast<char>(rtp.size())} + rtp;
    }
    return packets;
}

std::string Play(const std::string& request) {
    const std::string reply = RtspReply(request, "m=audio 0 RTP/AVP 0\r\n");
    return request.starts_with("PLAY") ? reply + Packets() : reply;
}

std::string BeSilent(const std::string&) {
    return {};
}

// ---- Arguments

class Arguments {
  public:
    explicit Arguments(unsigned seed) : random_(seed) {}

    int Below(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

    // What a host may pass where `type` is declared: mostly that, sometimes anything.
    _variant_t Any(VARTYPE type) {
        if (Below(8) == 0) return Odd();
        switch (type) {
            case VT_BSTR:
                return Text();
            case VT_BOOL:
                return Below(2) != 0;
            case VT_R8:
            case VT_R4:
                return Real();
            default:
                return Number();
        }
    }

  private:
    long Number() {
        constexpr long kNumbers[] = {0, 1, 2, 3, 4, 5, -1, 9, 80, 90, 255, 554, 32767, 65535, 65536, 1 << 20};
        if (Below(4) == 0) return static_cast<long>(random_());
        if (Below(8) == 0)
            return Below(2) ? std::numeric_limits<long>::max() : std::numeric_limits<long>::min();
        return kNumbers[Below(std::size(kNumbers))];
    }
    double Real() {
        constexpr double kReals[] = {0.0, -1.5, 1e308, -1e308};
        return Below(5) == 0 ? std::nan("") : kReals[Below(std::size(kReals))];
    }
    // No names that the system would look up, and no path that exists: those take time or leave files.
    _variant_t Text() {
        static const std::wstring kTexts[] = {L"",
                                              L"127.0.0.1",
                                              L"GET",
                                              L"POST",
                                              L"/x?a=b",
                                              L"..\\..\\x?",
                                              L"Q:\\none\\",
                                              L"\\\\.\\pipe\\x",
                                              L"CON",
                                              L"a:b",
                                              L"%s%n%d",
                                              L"<x>&\"'",
                                              L"rtsp://127.0.0.1:9/x",
                                              L"rtsp://a:b@127.0.0.1:9/",
                                              L"http://127.0.0.1:9/",
                                              L"rtsp://",
                                              L"http://[::1",
                                              L"65536",
                                              L"-1",
                                              L"{\"a\":[1,",
                                              L"\r\n\r\n/",
                                              std::wstring(3, L'\0') + L"/",
                                              std::wstring(300, L'/'),
                                              std::wstring(70'000, L'%'),
                                              L"/\xD800\xFFFF"};
        const std::wstring& text = kTexts[Below(std::size(kTexts))];
        const _bstr_t copy(SysAllocStringLen(text.data(), static_cast<UINT>(text.size())), false);
        return copy;
    }
    _variant_t Odd() {
        _variant_t value;
        switch (Below(9)) {
            case 0:
                break;  // VT_EMPTY
            case 1:
                value.vt = VT_NULL;
                break;
            case 2:
                value = _variant_t(DISP_E_PARAMNOTFOUND, VT_ERROR);
                break;
            case 3:
                value.vt = VT_DISPATCH;
                value.pdispVal = nullptr;
                break;
            case 4:
                value.vt = VT_ARRAY | VT_UI1;
                value.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(Below(3)));
                break;
            case 5:
                value.vt = VT_BSTR;
                value.bstrVal = nullptr;
                break;
            case 6:
                return Text();
            case 7:
                return Real();
            default:
                return Number();
        }
        return value;
    }

    std::mt19937 random_;
};

// Closes every box that the control opens.
class Closer {
  public:
    Closer() : thread_([this] { Watch(); }) {}
    ~Closer() {
        stop_.Set();
        thread_.join();
    }
    Closer(const Closer&) = delete;
    Closer& operator=(const Closer&) = delete;

  private:
    void Watch() {
        while (!stop_.Wait(20)) {
            HWND box = nullptr;
            while ((box = FindWindowExW(nullptr, box, L"#32770", nullptr)) != nullptr) {
                DWORD process = 0;
                GetWindowThreadProcessId(box, &process);
                if (process == GetCurrentProcessId()) PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
            }
        }
    }

    util::Event stop_{util::Event::Kind::kManualReset};
    std::thread thread_;
};

void ExpectSoundHeaps() {
    HANDLE heaps[256];
    const DWORD count = GetProcessHeaps(static_cast<DWORD>(std::size(heaps)), heaps);
    for (DWORD i = 0; i < std::min<DWORD>(count, std::size(heaps)); ++i)
        ASSERT_TRUE(HeapValidate(heaps[i], 0, nullptr)) << "heap " << i << " of " << count;
}

enum class State { kNoWindow, kIdle, kConnecting, kConnected };

class RandomCalls : public testing::TestWithParam<State> {
  protected:
    static void SetUpTestSuite() {
        wchar_t temp[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, temp);
        SetCurrentDirectoryW(temp);  // whatever is written after all is not written into the source tree
    }

    // Puts a control into the state and calls it.
    void LiveOnce(int calls) {
        CallLog log;
        const HWND window = HostWindow::Shared().Get();
        RecordingFrame frame(window, log);
        RecordingSite site(window, frame, log);
        ComPtr<IOleObject> object;
        ASSERT_EQ(module_.Create(IID_PPV_ARGS(&object)), S_OK);
        ComPtr<IPersistStreamInit> persist;
        ASSERT_EQ(object.As(&persist), S_OK);
        persist->InitNew();
        persist.Reset();
        if (GetParam() != State::kNoWindow) {
            ASSERT_EQ(object->SetClientSite(&site), S_OK);
            ASSERT_EQ(object->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, &site, 0, window, &site.position),
                      S_OK);
        }
        ComPtr<IDispatch> control;
        ASSERT_EQ(object.As(&control), S_OK);
        const ControlInfo info = ReadControlInfo(object.Get());
        for (int i = 0; i < calls && !HasFatalFailure(); ++i) {
            if (i % 50 == 0) Restore(control.Get());
            CallOnce(control.Get(), info.automation);
            MSG message;
            if (i % 10 == 0)
                while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
                    DispatchMessageW(&message);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectSoundHeaps());
        EXPECT_EQ(object->Close(OLECLOSE_NOSAVE), S_OK);
        EXPECT_EQ(object->SetClientSite(nullptr), S_OK);
        control.Reset();
        EXPECT_EQ(object.Reset(), 0u);
        camera_->Take();  // what it was asked is not the control's growth
    }

    // Back into the state that the calls have left.
    void Restore(IDispatch* control) {
        if (GetParam() == State::kNoWindow || GetParam() == State::kIdle) return;
        CallMethod(control, L"Disconnect");
        SetProperty(control, L"StreamUri", L"");
        SetProperty(control, L"MediaServiceUri", L"");
        SetProperty(control, L"ServerIP", L"127.0.0.1");
        SetProperty(control, L"HttpPort", 9L);
        SetProperty(control, L"username", L"");
        SetProperty(control, L"VideoProtocol", 2L);
        SetProperty(control, L"MediaType", 0L);
        SetProperty(control, L"ConnectionTimeout", 10'000L);
        SetProperty(control, L"StreamUri",
                    (L"rtsp://127.0.0.1:" + std::to_wstring(camera_->Port()) + L"/live").c_str());
        EXPECT_EQ(static_cast<long>(CallMethod(control, L"Connect")), 0);
        const short wanted = GetParam() == State::kConnected ? 1 : 0;
        EXPECT_TRUE(PumpUntil(
            [&] { return static_cast<short>(GetProperty(control, L"ConnectStatus")) == wanted; }, 10'000));
    }

    void CallOnce(IDispatch* control, const Interface& automation) {
        const Member& member =
            automation
                .members[static_cast<std::size_t>(any_.Below(static_cast<int>(automation.members.size())))];
        std::vector<_variant_t> values;
        WORD flags = DISPATCH_METHOD;
        if (member.isMethod) {
            for (auto parameter = member.parameters.rbegin(); parameter != member.parameters.rend();
                 ++parameter)
                values.push_back(any_.Any(parameter->type));
            if (any_.Below(20) == 0) values.push_back(any_.Any(VT_I4));
            if (any_.Below(20) == 0 && !values.empty()) values.pop_back();
        } else if (any_.Below(2) == 0) {
            flags = DISPATCH_PROPERTYPUT;
            values.push_back(any_.Any(member.type));
        } else {
            flags = DISPATCH_PROPERTYGET;
        }
        DISPID named = DISPID_PROPERTYPUT;
        DISPPARAMS parameters = {values.empty() ? nullptr : values.data(), nullptr,
                                 static_cast<UINT>(values.size()), 0};
        if (flags == DISPATCH_PROPERTYPUT) {
            parameters.rgdispidNamedArgs = &named;
            parameters.cNamedArgs = 1;
        }
        _variant_t result;
        UINT wrong = 0;
        const DWORD begin = GetTickCount();
        control->Invoke(member.id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters, &result, nullptr,
                        &wrong);
        const DWORD took = GetTickCount() - begin;
        longest_ = std::max(longest_, took);
        ASSERT_LE(took, kLongestCall) << ToUtf8(member.name);
    }

    util::test::PrivateHives hives_;
    ControlModule module_;
    Closer closer_;
    std::unique_ptr<WebServer> camera_ =
        std::make_unique<WebServer>("127.0.0.1", 0, GetParam() == State::kConnected ? &Play : &BeSilent);
    Arguments any_{20'000u + static_cast<unsigned>(GetParam())};
    DWORD longest_ = 0;
};

TEST_P(RandomCalls, AreAnsweredAndLeaveNothingBehind) {
    ASSERT_TRUE(module_);
    const int calls = CallsPerState();
    const int perLife = std::min(calls, kCallsPerLife);
    ASSERT_NO_FATAL_FAILURE(LiveOnce(perLife));  // what the system caches on first use
    const auto before = ResourceUse::Now();
    for (int made = 0; made < calls; made += perLife)
        ASSERT_NO_FATAL_FAILURE(LiveOnce(perLife));
    // Threads that look up a name, or for a camera, end by themselves.
    EXPECT_TRUE(PumpUntil([&] { return ResourceUse::Now().threads <= before.threads; }));
    const auto after = ResourceUse::Now();
    std::cout << calls << " calls, the longest " << longest_ << " ms\nbefore: " << before
              << "\nafter:  " << after << std::endl;
    EXPECT_LE(after.handleSlots, before.handleSlots + kTolerated);
    EXPECT_LE(after.gdiSlots, before.gdiSlots + kTolerated);
    EXPECT_LE(after.userSlots, before.userSlots + kTolerated);
    EXPECT_LE(after.windows, before.windows);
    EXPECT_LE(after.heapBytes, before.heapBytes + kToleratedHeapBytes);
    EXPECT_EQ(module_.CanUnloadNow(), S_OK);
}

std::string NameOf(const testing::TestParamInfo<State>& state) {
    constexpr const char* kNames[] = {"NoWindow", "Idle", "Connecting", "Connected"};
    return kNames[static_cast<int>(state.param)];
}

INSTANTIATE_TEST_SUITE_P(InEachState, RandomCalls,
                         testing::Values(State::kNoWindow, State::kIdle, State::kConnecting,
                                         State::kConnected),
                         &NameOf);

}  // namespace
