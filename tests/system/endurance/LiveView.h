#pragma once

#include <windows.h>

#include <oleidl.h>
#include <wrl/client.h>

#include <functional>
#include <string>
#include <vector>

#include "samples/host/Automation.h"
#include "samples/host/EventSink.h"
#include "tests/system/endurance/Cameras.h"
#include "tests/windows/container/ControlModule.h"
#include "tests/windows/container/RecordingSite.h"

enum Status : int { kConnecting, kConnected, kDisconnected, kConnectFail };

// How a stream comes: the values of EConnectProtocol.
struct Way {
    const char* name;
    const char* camera;
    short protocol;
};
inline constexpr Way kUdp{"UDP", "main", 1};
inline constexpr Way kTcp{"TCP", "main", 2};
inline constexpr Way kTunnel{"RTSP in HTTP", "main", 3};
inline constexpr Way kMotionJpeg{"Motion JPEG over HTTP", "mjpeg", 3};
inline constexpr Way kWays[] = {kUdp, kTcp, kTunnel, kMotionJpeg};

// Milliseconds since some moment.
double NowMs();

// Dispatches messages until the condition holds, which is looked at every other millisecond; false after
// `milliseconds`.
bool Await(const std::function<bool()>& condition, DWORD milliseconds);
void PumpFor(DWORD milliseconds);

// A host with one control: a window with nothing in it but the control's.
class LiveView {
  public:
    explicit LiveView(const ControlModule& module, const RECT& place = {0, 0, 320, 240});
    ~LiveView() { Destroy(); }
    LiveView(const LiveView&) = delete;
    LiveView& operator=(const LiveView&) = delete;

    void Set(const wchar_t* property, const _variant_t& value);
    _variant_t Call(const wchar_t* method, std::vector<_variant_t> arguments = {});
    // Stream 1 is large (720p), 2 is small (360p).
    void Aim(const Way& way, long stream = 2);
    void Aim(const cameras::Address& address, short protocol, long stream = 2);
    // An RTSP address of the host's; commands still go where Aim said.
    void AimAtStream(std::uint16_t rtspPort, const std::wstring& path = L"udpstream_ch1_stream2_h264");

    long Connect();
    long Disconnect();
    // Closes the control and lets go of it, also from inside an event.
    void Destroy();
    // The window under the control, and with it the control's.
    void DestroyWindow();
    bool Exists() const { return object_ != nullptr; }

    bool AwaitStatus(Status status, DWORD milliseconds = 10000);
    // Something else is to be seen than at the last call of Remember, or at the last Connect.
    bool AwaitPicture(DWORD milliseconds = 10000);
    bool PictureChanged() const;
    void Remember();

    std::vector<int> statuses;                // since the last Connect
    std::function<void(int)> onStatus;        // called inside the event
    std::function<void(const Event&)> onAny;  // the same, of every event
    double connectMs = 0;                     // how long the last Connect took
    double frameRate = 0;                     // as last reported

  private:
    std::vector<COLORREF> Look() const;
    HWND ControlWindow() const;
    void OnEvent(const Event& event);

    HWND window_ = nullptr;
    CallLog log_;
    RecordingFrame frame_;
    RecordingSite site_;
    Microsoft::WRL::ComPtr<IOleObject> object_;
    Microsoft::WRL::ComPtr<IDispatch> automation_;
    Microsoft::WRL::ComPtr<EventSink> sink_;
    std::vector<COLORREF> remembered_;
};
