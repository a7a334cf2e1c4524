#include "tests/system/endurance/LiveView.h"

#include <ocidl.h>

#include <algorithm>

#include "samples/host/TypeInfo.h"
#include "tests/windows/container/ContainerTest.h"
#include "util/Handles.h"

namespace {

constexpr wchar_t kUser[] = L"admin";
constexpr wchar_t kPassword[] = L"norix";
constexpr DWORD kPollMs = 2;

HWND NewWindow(const RECT& place) {
    const HWND parent = HostWindow::Shared().Get();
    RECT client;
    GetClientRect(parent, &client);
    if (client.right < place.right || client.bottom < place.bottom) {
        SetWindowPos(parent, nullptr, 0, 0, std::max(client.right, place.right) + 20,
                     std::max(client.bottom, place.bottom) + 60, SWP_NOMOVE | SWP_NOZORDER);
    }
    return CreateWindowW(L"STATIC", L"", WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN, place.left, place.top,
                         place.right - place.left, place.bottom - place.top, parent, nullptr,
                         GetModuleHandleW(nullptr), nullptr);
}

// Dispatches what there is, then waits for more.
void Dispatch(DWORD milliseconds) {
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    MsgWaitForMultipleObjects(0, nullptr, FALSE, milliseconds, QS_ALLINPUT);
}

}  // namespace

double NowMs() {
    LARGE_INTEGER frequency;
    LARGE_INTEGER count;
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&count);
    return 1000.0 * static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

bool Await(const std::function<bool()>& condition, DWORD milliseconds) {
    const double end = NowMs() + milliseconds;
    while (!condition()) {
        if (NowMs() > end) return false;
        Dispatch(kPollMs);
    }
    return true;
}

void PumpFor(DWORD milliseconds) {
    const double end = NowMs() + milliseconds;
    for (double left = milliseconds; left > 0; left = end - NowMs())
        Dispatch(static_cast<DWORD>(left) + 1);
}

LiveView::LiveView(const ControlModule& module, const RECT& place)
    : window_(NewWindow(place)), frame_(window_, log_), site_(window_, frame_, log_) {
    site_.position = {0, 0, place.right - place.left, place.bottom - place.top};
    site_.clip = site_.position;
    if (FAILED(module.Create(IID_PPV_ARGS(&object_)))) return;
    object_.As(&automation_);
    ComPtr<IPersistStreamInit> persist;
    if (SUCCEEDED(object_.As(&persist))) persist->InitNew();
    object_->SetClientSite(&site_);
    sink_ = EventSink::Create(ReadControlInfo(object_.Get()).events,
                              [this](const Event& event) { OnEvent(event); });
    sink_->Advise(object_.Get());
    object_->DoVerb(OLEIVERB_SHOW, nullptr, &site_, 0, window_, &site_.position);
    UpdateWindow(window_);
}

void LiveView::OnEvent(const Event& event) {
    const std::wstring& name = event.member->name;
    if (name == L"OnConnStatus") {
        const int status = event.arguments.front()->iVal;
        statuses.push_back(status);
        if (onStatus) onStatus(status);
    } else if (name == L"FramePerSec") {
        frameRate = event.arguments.front()->dblVal;
    }
    if (onAny) onAny(event);
}

void LiveView::Set(const wchar_t* property, const _variant_t& value) {
    SetProperty(automation_.Get(), property, value);
}

_variant_t LiveView::Call(const wchar_t* method, std::vector<_variant_t> arguments) {
    return CallMethod(automation_.Get(), method, std::move(arguments));
}

void LiveView::Aim(const Way& way, long stream) {
    Aim(cameras::Of(way.camera), way.protocol, stream);
}

void LiveView::Aim(const cameras::Address& address, short protocol, long stream) {
    Set(L"ServerIP", L"127.0.0.1");
    Set(L"HttpPort", static_cast<long>(address.http));
    Set(L"username", kUser);
    Set(L"password", kPassword);
    Set(L"ShowUserAuthenticationDialog", false);
    Set(L"VideoProtocol", protocol);
    Set(L"StreamIndex", stream);
}

void LiveView::AimAtStream(std::uint16_t rtspPort, const std::wstring& path) {
    const std::wstring uri = L"rtsp://127.0.0.1:" + std::to_wstring(rtspPort) + L"/" + path;
    Set(L"StreamUri", uri.c_str());
}

long LiveView::Connect() {
    log_.Take();
    statuses.clear();
    frameRate = 0;
    Remember();
    const double begin = NowMs();
    const long result = CallMethod(automation_.Get(), L"Connect");
    connectMs = NowMs() - begin;
    return result;
}

long LiveView::Disconnect() {
    return CallMethod(automation_.Get(), L"Disconnect");
}

void LiveView::Destroy() {
    if (const auto object = std::exchange(object_, nullptr)) {
        if (sink_) sink_->Unadvise();
        object->Close(OLECLOSE_NOSAVE);
        object->SetClientSite(nullptr);
        automation_.Reset();
    }
    sink_.Reset();
    DestroyWindow();
}

void LiveView::DestroyWindow() {
    if (window_) ::DestroyWindow(std::exchange(window_, nullptr));
}

bool LiveView::AwaitStatus(Status status, DWORD milliseconds) {
    return Await([&] { return std::ranges::count(statuses, status) > 0; }, milliseconds);
}

HWND LiveView::ControlWindow() const {
    ComPtr<IOleWindow> inPlace;
    HWND found = nullptr;
    if (!object_ || FAILED(object_.As(&inPlace)) || FAILED(inPlace->GetWindow(&found))) return nullptr;
    return found;
}

// Some points of what can be seen, away from the caption.
std::vector<COLORREF> LiveView::Look() const {
    constexpr int kAcross = 6;
    const HWND control = ControlWindow();
    std::vector<COLORREF> seen;
    RECT client{};
    if (!control || !GetClientRect(control, &client)) return seen;
    const util::WindowDc dc(control);
    for (int row = 2; row < kAcross; ++row) {
        for (int column = 1; column < kAcross; ++column) {
            seen.push_back(GetPixel(dc.Get(), column * static_cast<int>(client.right) / kAcross,
                                    row * static_cast<int>(client.bottom) / kAcross));
        }
    }
    return seen;
}

void LiveView::Remember() {
    if (const HWND control = ControlWindow()) UpdateWindow(control);
    remembered_ = Look();
}

bool LiveView::PictureChanged() const {
    const std::vector<COLORREF> seen = Look();
    if (seen.empty() || seen.size() != remembered_.size()) return false;
    std::size_t different = 0;
    for (std::size_t i = 0; i < seen.size(); ++i) {
        if (seen[i] != remembered_[i]) ++different;
    }
    return different > seen.size() / 2;
}

bool LiveView::AwaitPicture(DWORD milliseconds) {
    return Await([this] { return PictureChanged(); }, milliseconds);
}
