// How long the window's thread is away while eight views in one host look for cameras that are dead (refused,
// swallowed, silent, a name that nobody knows), again and again: DeadCameras [seconds]. Prints the longest
// time that one message took, beginning with the host's own Connect, which waits by contract and is told
// apart. Ends with 1 when anything else took 50 ms or more.

#include <winsock2.h>  // before windows.h

#include <windows.h>

#include <ole2.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "control/NorixSDKCtl.h"
#include "framework/Module.h"

namespace {

class BenchModule final : public framework::COleControlModule {
  public:
    BenchModule() : COleControlModule(L"Test", L"TestWindow") {}
};
BenchModule g_module;

constexpr double kLimitMs = 50;
constexpr short kProtocols[] = {norix::ecpUDP, norix::ecpHTTP};

double NowMs() {
    static const double s_perMs = [] {
        LARGE_INTEGER frequency;
        QueryPerformanceFrequency(&frequency);
        return static_cast<double>(frequency.QuadPart) / 1000;
    }();
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return static_cast<double>(count.QuadPart) / s_perMs;
}

/// Takes connections and never says a word. Its port; 0 when there can be none.
unsigned short ListenSilently() {
    const SOCKET listener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        return 0;
    }
    return ntohs(address.sin_port);
}

struct Dispatched {
    double ms = 0;
    UINT message = 0;
    WPARAM wParam = 0;
};

}  // namespace

int main(int argc, char** argv) {
    const double seconds = argc > 1 ? std::atof(argv[1]) : 120;
    g_module.OnDllMain(GetModuleHandleW(nullptr), DLL_PROCESS_ATTACH, nullptr);
    if (FAILED(OleInitialize(nullptr))) return 2;

    std::vector<norix::CNorixSDKCtrl*> views;
    views.push_back(new norix::CNorixSDKCtrl());  // sockets are started now
    const struct {
        const wchar_t* host;
        long port;
    } cameras[] = {{L"127.0.0.1", 9},
                   {L"198.51.100.1", 80},
                   {L"127.0.0.1", ListenSilently()},
                   {L"no-such-camera.invalid", 80}};
    double longestConnect = 0;
    for (const short protocol : kProtocols) {
        for (const auto& camera : cameras) {
            if (views.size() > 1 || views.front()->HasWindow()) views.push_back(new norix::CNorixSDKCtrl());
            norix::CNorixSDKCtrl& view = *views.back();
            if (!view.CreateHiddenWindow()) return 2;
            view.Properties().serverIP = camera.host;
            view.Properties().httpPort = camera.port;
            view.Properties().videoProtocol = protocol;
            view.Properties().autoReconnect = true;
            const double begin = NowMs();
            view.Connect();
            longestConnect = std::max(longestConnect, NowMs() - begin);
        }
    }
    std::printf("%zu views; the longest Connect of the host took %.0f ms\n", views.size(), longestConnect);

    std::vector<Dispatched> longest;
    unsigned messages = 0;
    for (const double end = NowMs() + seconds * 1000; NowMs() < end;) {
        MSG message;
        if (!PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
            MsgWaitForMultipleObjectsEx(0, nullptr, 100, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
            continue;
        }
        const double begin = NowMs();
        DispatchMessageW(&message);
        longest.push_back({NowMs() - begin, message.message, message.wParam});
        ++messages;
        std::sort(longest.begin(), longest.end(), [](const auto& a, const auto& b) { return a.ms > b.ms; });
        if (longest.size() > 5) longest.pop_back();
    }
    std::printf("%u messages in %.0f s; the longest:\n", messages, seconds);
    for (const Dispatched& dispatched : longest)
        std::printf("  %6.1f ms  message 0x%04x, %u\n", dispatched.ms, dispatched.message,
                    static_cast<unsigned>(dispatched.wParam));
    for (norix::CNorixSDKCtrl* view : views)
        view->Release();
    OleUninitialize();
    return !longest.empty() && longest.front().ms >= kLimitMs ? 1 : 0;
}
