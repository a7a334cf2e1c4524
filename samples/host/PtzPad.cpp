#include "PtzPad.h"

#include <comdef.h>
#include <commctrl.h>

#include <algorithm>
#include <cwchar>
#include <utility>

#include "Automation.h"
#include "Values.h"

namespace {

constexpr wchar_t kClass[] = L"NorixHostPad";
constexpr UINT_PTR kSendTimer = 1;
constexpr int kPresetCount = 25;
constexpr short kFirstSpeed = 50;  // of 100
constexpr long kConnected = 1;     // of EConnectStatus
constexpr long kConnecting = 0;

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

std::wstring TextIn(const _variant_t& value) {
    return value.vt == VT_BSTR && value.bstrVal ? std::wstring(value.bstrVal) : std::wstring();
}

// Whether a key is among the reply's lines, and says no.
bool Denies(const std::wstring& reply, const std::wstring& key) {
    const auto at = (L"\n" + reply).find(L"\n" + key + L"=0");
    return at != std::wstring::npos;
}

// The control passes a name on as it is, and in an address these have a meaning. The list of names is divided
// by
// "#", so there is none in a name.
std::wstring AsUrlText(const std::wstring& name) {
    std::wstring text;
    for (const wchar_t c : name) {
        if (c == L'%' || c == L'&' || c == L'+') {
            text += c == L'%' ? L"%25" : c == L'&' ? L"%26" : L"%2B";
        } else if (c != L'#') {
            text += c;
        }
    }
    return text;
}

bool IsArrow(WPARAM key) {
    return key == VK_LEFT || key == VK_RIGHT || key == VK_UP || key == VK_DOWN;
}

const wchar_t* ZoomOf(WPARAM key) {
    if (key == VK_ADD || key == VK_OEM_PLUS) return L"zin";
    if (key == VK_SUBTRACT || key == VK_OEM_MINUS) return L"zout";
    return nullptr;
}

}  // namespace

const PtzPad::Button PtzPad::kButtons[] = {
    {L"\u2196", {6, 6, 38, 34}, L"upleft", nullptr, false},
    {L"\u2191", {40, 6, 72, 34}, L"up", nullptr, false},
    {L"\u2197", {74, 6, 106, 34}, L"upright", nullptr, false},
    {L"\u2190", {6, 36, 38, 64}, L"left", nullptr, false},
    {L"\u25a0", {40, 36, 72, 64}, nullptr, &PtzPad::Stop, false},
    {L"\u2192", {74, 36, 106, 64}, L"right", nullptr, false},
    {L"\u2199", {6, 66, 38, 94}, L"downleft", nullptr, false},
    {L"\u2193", {40, 66, 72, 94}, L"down", nullptr, false},
    {L"\u2198", {74, 66, 106, 94}, L"downright", nullptr, false},
    {L"Zoom +", {6, 100, 55, 122}, L"zin", nullptr, true},
    {L"Zoom \u2212", {57, 100, 106, 122}, L"zout", nullptr, true},
    {L"Go", {118, 34, 173, 58}, nullptr, &PtzPad::GoToPreset, false},
    {L"Home", {176, 34, 231, 58}, nullptr, &PtzPad::GoHome, false},
    {L"List", {234, 34, 288, 58}, nullptr, &PtzPad::ListPresets, false},
    {L"Save", {234, 64, 288, 88}, nullptr, &PtzPad::SavePreset, false},
};

// ---- The window

void PtzPad::Create(HWND parent, HFONT font) {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    windowClass.lpszClassName = kClass;
    windowClass.lpfnWndProc = &PtzPad::WindowProc;
    RegisterClassExW(&windowClass);
    window_ = CreateWindowExW(WS_EX_CONTROLPARENT, kClass, L"", WS_CHILD | WS_CLIPCHILDREN, 0, 0, kSize.cx,
                              kSize.cy, parent, nullptr, instance, this);
    if (!window_) _com_util::CheckError(HRESULT_FROM_WIN32(GetLastError()));

    int id = 0;
    for (const Button& button : kButtons)
        CreateChild(WC_BUTTONW, button.text, WS_TABSTOP | BS_PUSHBUTTON, button.place, id++, font);
    const HWND presets = CreateChild(WC_COMBOBOXW, L"", WS_TABSTOP | WS_VSCROLL | CBS_DROPDOWNLIST,
                                     {118, 6, 288, 230}, kPresets, font);
    TakePresets({});
    SendMessageW(presets, CB_SETCURSEL, 0, 0);
    CreateChild(WC_EDITW, L"", WS_TABSTOP | WS_BORDER | ES_AUTOHSCROLL, {118, 64, 231, 88}, kName, font);
    const HWND speed = CreateChild(TRACKBAR_CLASSW, L"", WS_TABSTOP | TBS_HORZ | TBS_NOTICKS,
                                   {112, 124, 288, 146}, kSpeed, font);
    SendMessageW(speed, TBM_SETRANGE, FALSE, MAKELPARAM(1, 100));
    SendMessageW(speed, TBM_SETPOS, TRUE, kFirstSpeed);
    CreateChild(WC_STATICW, L"Speed", SS_CENTERIMAGE, {6, 124, 106, 146}, kSpeedText, font);
    Handle(WM_HSCROLL, 0, 0);
    Enable();
}

HWND PtzPad::CreateChild(const wchar_t* windowClass, const wchar_t* text, DWORD style, const RECT& place,
                         int id, HFONT font) {
    const HWND child = CreateWindowExW(0, windowClass, text, WS_CHILD | WS_VISIBLE | style, place.left,
                                       place.top, place.right - place.left, place.bottom - place.top, window_,
                                       reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                       GetModuleHandleW(nullptr), nullptr);
    if (!child) _com_util::CheckError(HRESULT_FROM_WIN32(GetLastError()));
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(font), FALSE);
    SetWindowSubclass(child, &PtzPad::ChildProc, static_cast<UINT_PTR>(id),
                      reinterpret_cast<DWORD_PTR>(this));
    return child;
}

void PtzPad::Show(bool show) {
    ShowWindow(window_, show ? SW_SHOWNA : SW_HIDE);
    if (show && connected_ && !std::exchange(asked_, true)) Add({PtzOrder::Kind::Inquire});
}

void PtzPad::Focus() const {
    SetFocus(GetDlgItem(window_, 4));  // the stop in the middle
}

LRESULT CALLBACK PtzPad::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* const self = reinterpret_cast<PtzPad*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self || !self->window_) return DefWindowProcW(window, message, wParam, lParam);
    try {
        return self->Handle(message, wParam, lParam);
    } catch (...) {
        return 0;
    }
}

LRESULT PtzPad::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_COMMAND:
            if (LOWORD(wParam) < std::size(kButtons) && HIWORD(wParam) == BN_CLICKED &&
                kButtons[LOWORD(wParam)].run)
                (this->*kButtons[LOWORD(wParam)].run)();
            return 0;
        case WM_HSCROLL:
            SetWindowTextW(Child(kSpeedText), (L"Speed " + std::to_wstring(Speed())).c_str());
            return 0;
        case WM_TIMER:
            SendNext();
            return 0;
        case WM_NCDESTROY:
            return DefWindowProcW(std::exchange(window_, nullptr), message, wParam, lParam);
        default:
            return DefWindowProcW(window_, message, wParam, lParam);
    }
}

LRESULT CALLBACK PtzPad::ChildProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT_PTR id,
                                   DWORD_PTR self) noexcept {
    auto* const pad = reinterpret_cast<PtzPad*>(self);
    const bool button = id < std::size(kButtons);
    try {
        pad->OnChild(window, id, message, wParam, lParam);
        // Arrows are the camera's, not for going from button to button.
        if (message == WM_GETDLGCODE && button)
            return DefSubclassProc(window, message, wParam, lParam) | DLGC_WANTARROWS;
    } catch (...) {
    }
    if (message == WM_NCDESTROY) RemoveWindowSubclass(window, &PtzPad::ChildProc, id);
    return DefSubclassProc(window, message, wParam, lParam);
}

void PtzPad::OnChild(HWND child, UINT_PTR id, UINT message, WPARAM wParam, LPARAM lParam) {
    if (id >= std::size(kButtons)) return;
    const wchar_t* const move = kButtons[id].move;
    const bool repeated = (lParam & (1 << 30)) != 0;  // of a key that is held
    switch (message) {
        case WM_LBUTTONDOWN:
        case WM_LBUTTONDBLCLK:
            if (move) Hold(child, move);
            return;
        case WM_MOUSEMOVE: {
            RECT inside{};
            GetClientRect(child, &inside);
            const POINT at{static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))};
            if (!PtInRect(&inside, at) && keys_.empty()) Release(child);
            return;
        }
        case WM_LBUTTONUP:
        case WM_CAPTURECHANGED:
        case WM_KILLFOCUS:
        case WM_ENABLE:
            if (message == WM_ENABLE && wParam) return;
            if (message == WM_KILLFOCUS || message == WM_ENABLE) keys_.clear();
            if (keys_.empty()) Release(child);
            return;
        case WM_KEYDOWN:
            if (repeated) return;
            if (wParam == VK_SPACE && move) Hold(child, move);
            return OnKey(child, wParam, true);
        case WM_KEYUP:
        case WM_SYSKEYUP:  // with Alt held, too
            if (wParam == VK_SPACE) Release(child);
            return OnKey(child, wParam, false);
        default:
            return;
    }
}

// Two arrows at once go between them.
void PtzPad::OnKey(HWND child, WPARAM key, bool down) {
    if (key == VK_HOME && down && canMove_) return GoHome();
    if (const wchar_t* const zoom = ZoomOf(key)) {
        if (!down) return Release(child);
        if (canZoom_) Hold(child, zoom);
        return;
    }
    if (!IsArrow(key) || !canTurn_) return;
    std::erase(keys_, key);
    if (down) keys_.push_back(key);
    const auto isDown = [this](WPARAM arrow) { return std::ranges::find(keys_, arrow) != keys_.end(); };
    std::wstring move = isDown(VK_UP) ? L"up" : isDown(VK_DOWN) ? L"down" : L"";
    move += isDown(VK_LEFT) ? L"left" : isDown(VK_RIGHT) ? L"right" : L"";
    if (move.empty()) return Release(child);
    Hold(child, move.c_str());
}

// ---- What the camera is told

void PtzPad::Begin(const wchar_t* move) {
    Add({PtzOrder::Kind::Move, move, Speed()});
}

void PtzPad::Hold(HWND child, const wchar_t* move) {
    Begin(move);
    holder_ = child;
}

// Of a button that holds the move no more, because the hand is at the next one, nothing follows.
void PtzPad::Release(HWND child) {
    if (holder_ == child) Stop();
}

void PtzPad::Stop() {
    holder_ = nullptr;
    Add({PtzOrder::Kind::Stop});
}

void PtzPad::LetGo() {
    keys_.clear();
    if (holder_) Stop();
}

void PtzPad::GoToPreset() {
    Add({PtzOrder::Kind::Go, {}, Preset()});
}

void PtzPad::SavePreset() {
    Add({PtzOrder::Kind::Save, AsUrlText(TextOf(Child(kName))), Preset()});
    ListPresets();
}

void PtzPad::Add(PtzOrder order) {
    if (!window_) return;
    queue_.Add(std::move(order));
    SetTimer(window_, kSendTimer, USER_TIMER_MINIMUM, nullptr);
}

// One at a time; before the next one, the input that has come meanwhile is heard.
void PtzPad::SendNext() {
    if (sending_) return;
    const auto order = queue_.Take();
    if (!order) {
        KillTimer(window_, kSendTimer);
        return;
    }
    sending_ = true;
    try {
        Carry(*order);
    } catch (const AutomationError& error) {
        say_(error.Message());
    }
    sending_ = false;
}

void PtzPad::Carry(const PtzOrder& order) {
    using Kind = PtzOrder::Kind;
    switch (order.kind) {
        case Kind::Move:
            moving_ = true;
            call_(L"SendCameraCommand", {order.text.c_str(), order.number});
            return;
        case Kind::Go:
            call_(L"SendCameraCommand", {L"gopreset", order.number});
            return;
        case Kind::Stop:
            call_(L"SendCameraCommand", {L"stop", short{0}});
            moving_ = false;
            return;
        case Kind::Save:
            call_(L"SavePresetPosition", {order.text.c_str(), order.number});
            return;
        case Kind::List:
            return TakePresets(TextIn(call_(L"GetPresetName", {})));
        case Kind::Inquire: {
            const std::wstring server = get_(L"ServerIP");
            return TakeAbilities(TextIn(call_(
                L"HttpCommand", {L"POST", server.c_str(),
                                 L"/kest-cgi/systeminfo.cgi?PTZFunc=0&ZoomFunc=0&PanTiltFunc=0", true})));
        }
    }
}

// ---- What the camera says

void PtzPad::TakeAbilities(const std::wstring& reply) {
    // One that had no time to answer has not said no.
    canMove_ = connected_ && !Denies(reply, L"PTZFunc");
    canTurn_ = canMove_ && !Denies(reply, L"PanTiltFunc");
    canZoom_ = canMove_ && !Denies(reply, L"ZoomFunc");
    Enable();
    if (canMove_) ListPresets();
}

void PtzPad::TakePresets(const std::wstring& names) {
    const HWND list = Child(kPresets);
    const auto chosen = SendMessageW(list, CB_GETCURSEL, 0, 0);
    SendMessageW(list, CB_RESETCONTENT, 0, 0);
    size_t at = 0;
    for (int number = 1; number <= kPresetCount; ++number) {
        const size_t end = std::min(names.find(L'#', at), names.size());
        std::wstring name = names.substr(at, end - at);
        at = std::min(end + 1, names.size());
        if (name.ends_with(L'\r')) name.pop_back();
        const std::wstring text = std::to_wstring(number) + (name.empty() ? L"" : L"  " + name);
        SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
    }
    SendMessageW(list, CB_SETCURSEL, static_cast<WPARAM>(chosen), 0);
}

void PtzPad::OnEvent(const Event& event) {
    if (event.member->name != L"OnConnStatus" || event.arguments.empty()) return;
    const long status = std::wcstol(Describe(*event.arguments[0]).c_str(), nullptr, 10);
    connected_ = status == kConnected;
    if (status == kConnecting) return;
    if (connected_) {
        asked_ = IsWindowVisible(window_) != FALSE;
        if (asked_) Add({PtzOrder::Kind::Inquire});
        return;
    }
    // Without a picture nobody steers, and what moves would go on for ever.
    if (moving_ || queue_.HoldsMove()) Stop();
    canMove_ = canTurn_ = canZoom_ = false;
    Enable();
}

void PtzPad::StopNow() {
    queue_.Clear();
    holder_ = nullptr;
    if (!moving_) return;
    // Also from inside another order: this may be the last that this camera hears.
    try {
        Carry({PtzOrder::Kind::Stop});
    } catch (const AutomationError& error) {
        say_(error.Message());
    }
}

void PtzPad::Finish() {
    StopNow();
    moving_ = connected_ = canMove_ = canTurn_ = canZoom_ = false;
    keys_.clear();
    if (window_) Enable();
}

void PtzPad::Enable() {
    int id = 0;
    for (const Button& button : kButtons) {
        const bool can = button.zoom ? canZoom_ : button.move ? canTurn_ : canMove_;
        EnableWindow(Child(id++), can);
    }
    for (const int field : {kPresets, kName, kSpeed, kSpeedText})
        EnableWindow(Child(field), canMove_);
}

short PtzPad::Speed() const {
    return static_cast<short>(SendMessageW(Child(kSpeed), TBM_GETPOS, 0, 0));
}

short PtzPad::Preset() const {
    return static_cast<short>(SendMessageW(Child(kPresets), CB_GETCURSEL, 0, 0) + 1);
}
