#include "MainWindow.h"

#include <comdef.h>
#include <commctrl.h>

#include <algorithm>
#include <cwchar>

#include "Address.h"
#include "Automation.h"
#include "Values.h"

namespace {

constexpr wchar_t kWindowClass[] = L"NorixHost";
constexpr wchar_t kPaneClass[] = L"NorixHostPane";
constexpr wchar_t kTitle[] = L"Norix Host";

constexpr UINT kRunStepMessage = WM_APP + 1;
constexpr UINT_PTR kRunTimer = 1;
constexpr UINT_PTR kPauseTimer = 2;
constexpr int kFirstCommandId = 1000;

constexpr SIZE kDefaultVideo{768, 432};
constexpr SIZE kMinimumWindow{320, 240};
constexpr int kMargin = 6;
constexpr int kFieldHeight = 22;
constexpr int kRowHeight = kFieldHeight + kMargin;
constexpr int kButtonWidth = 80;
constexpr int kFieldWidth = 90;
constexpr int kMinimumAddressWidth = 90;
constexpr int kEventsHeight = 150;
constexpr int kMinimumVideoHeight = 60;
constexpr int kMinimumEventsWidth = 300;  // for the pad to have room beside the events
constexpr size_t kKeptEntries = 2000;

constexpr int kTimeWidth = 90;
constexpr int kKindWidth = 60;
constexpr int kTextColumn = 2;

constexpr int kStatusParts[] = {160, 250, 400, -1};
enum StatusPart { kConnectionPart, kFrameRatePart, kRecordPart, kMessagePart };

constexpr COLORREF kPaneColor = RGB(32, 32, 32);

std::wstring TextOf(HWND window) {
    std::wstring text(static_cast<size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
    text.resize(static_cast<size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

// "ecsConnectFail" reads "Connect Fail".
std::wstring Spoken(const std::wstring& constant) {
    std::wstring text;
    for (const wchar_t c : constant) {
        const bool upper = c >= L'A' && c <= L'Z';
        if (text.empty() && !upper) continue;
        if (upper && !text.empty()) text += L' ';
        text += c;
    }
    return text;
}

LRESULT CALLBACK PaneProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message != WM_ERASEBKGND) return DefWindowProcW(window, message, wParam, lParam);
    RECT rect{};
    GetClientRect(window, &rect);
    SetDCBrushColor(reinterpret_cast<HDC>(wParam), kPaneColor);
    FillRect(reinterpret_cast<HDC>(wParam), &rect, static_cast<HBRUSH>(GetStockObject(DC_BRUSH)));
    return TRUE;
}

}  // namespace

std::span<const MainWindow::Command> MainWindow::Commands() {
    static constexpr Command kCommands[] = {
        {L"&File", L"E&xit\tAlt+F4", nullptr, 0, 0, &MainWindow::Exit},
        {L"&Control", L"&Connect\tF5", L"Connect", 0, VK_F5, &MainWindow::Connect},
        {L"&Control", L"&Disconnect\tShift+F5", L"Disconnect", FSHIFT, VK_F5, &MainWindow::Disconnect},
        {L"&Control", L"&Properties...\tAlt+Enter", nullptr, FALT, VK_RETURN, &MainWindow::ShowProperties},
        {L"&Picture", L"Save &Snapshot\tF6", nullptr, 0, VK_F6,
         &MainWindow::OnPicture<&PictureCommands::SaveSnapshot>},
        {L"&Picture", L"&Copy Picture\tShift+F6", nullptr, FSHIFT, VK_F6,
         &MainWindow::OnPicture<&PictureCommands::CopyPicture>},
        {L"&Picture", L"&Demo Drawing\tF7", nullptr, 0, VK_F7,
         &MainWindow::OnPicture<&PictureCommands::DrawDemo>},
        {L"&Picture", L"&Rotate\tF8", nullptr, 0, VK_F8, &MainWindow::OnPicture<&PictureCommands::Rotate>},
        {L"&Picture", L"&Zoom by Mouse\tF9", nullptr, 0, VK_F9,
         &MainWindow::OnPicture<&PictureCommands::Zoom>},
        {L"&Picture", L"S&tatistics", nullptr, 0, 0, &MainWindow::OnPicture<&PictureCommands::Statistics>},
        {L"&Picture", L"&Full Screen\tF11", nullptr, 0, VK_F11,
         &MainWindow::OnPicture<&PictureCommands::FullScreen>},
        {L"C&amera", L"Tilt &Up", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::TiltUp>},
        {L"C&amera", L"Tilt &Down", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::TiltDown>},
        {L"C&amera", L"Pan &Left", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::PanLeft>},
        {L"C&amera", L"Pan &Right", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::PanRight>},
        {L"C&amera", L"Zoom &In", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::ZoomIn>},
        {L"C&amera", L"Zoom &Out", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::ZoomOut>},
        {L"C&amera", L"&Stop\tShift+F2", nullptr, FSHIFT, VK_F2, &MainWindow::OnPad<&PtzPad::Stop>},
        {L"C&amera", L"&Home", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::GoHome>},
        {L"C&amera", L"&Go to Preset", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::GoToPreset>},
        {L"C&amera", L"Sa&ve Preset", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::SavePreset>},
        {L"C&amera", L"List &Presets", nullptr, 0, 0, &MainWindow::OnPad<&PtzPad::ListPresets>},
        {L"C&amera", L"By &Keyboard\tF2", nullptr, 0, VK_F2, &MainWindow::FocusPad},
        {L"&Recording", L"&Record\tF4", L"Record", 0, VK_F4, &MainWindow::Record},
        {L"&Recording", L"&Folder...\tShift+F4", nullptr, FSHIFT, VK_F4, &MainWindow::PickRecordFolder},
        {L"&Recording", L"&Limit\tCtrl+F4", nullptr, FCONTROL, VK_F4, &MainWindow::NextRecordLimit},
    };
    return kCommands;
}

MainWindow::MainWindow(const Options& options, Log& log)
    : options_(options),
      log_(log),
      script_(
          options, [this](const Action& action) { Perform(action); },
          [this] {
              if (window_) PostMessageW(window_, kRunStepMessage, 0, 0);
          }) {}

MainWindow::~MainWindow() {
    log_.SetViewer(nullptr);
    CloseControl();
    if (window_) DestroyWindow(window_);
}

ExitCode MainWindow::Run() {
    CreateMainWindow();
    log_.SetViewer([this](const Log::Entry& entry) { ShowEntry(entry); });
    FitToVideo(options_.videoSize.value_or(kDefaultVideo));
    if (options_.place) {
        SetWindowPos(window_, nullptr, options_.place->x, options_.place->y, 0, 0,
                     SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    ShowWindow(window_, SW_SHOWDEFAULT);
    UpdateWindow(window_);

    if (CreateControl()) {
        PostMessageW(window_, kRunStepMessage, 0, 0);
        if (options_.runSeconds)
            SetTimer(window_, kRunTimer, static_cast<UINT>(*options_.runSeconds * 1000), nullptr);
    } else if (script_.Unfinished() || options_.runSeconds) {
        LeaveWith(ExitCode::NoControl);
    }

    MSG message{};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        // The active control comes first, then our own shortcuts, then Tab and Enter between the fields.
        if (container_ && container_->TranslateKey(message)) continue;
        if (window_ && TranslateAcceleratorW(window_, shortcuts_.get(), &message)) continue;
        if (window_ && IsDialogMessageW(window_, &message)) continue;
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return exitCode_;
}

void MainWindow::CreateMainWindow() {
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.hIcon = LoadIconW(nullptr, IDI_APPLICATION);

    windowClass.lpszClassName = kPaneClass;
    windowClass.lpfnWndProc = &PaneProc;
    RegisterClassExW(&windowClass);

    windowClass.lpszClassName = kWindowClass;
    windowClass.lpfnWndProc = &MainWindow::WindowProc;
    windowClass.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
    RegisterClassExW(&windowClass);

    const INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_BAR_CLASSES | ICC_LISTVIEW_CLASSES};
    InitCommonControlsEx(&controls);

    window_ = CreateWindowExW(0, kWindowClass, kTitle, WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT,
                              CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, instance, this);
    if (!window_) _com_util::CheckError(HRESULT_FROM_WIN32(GetLastError()));
    CreateMenuAndShortcuts();
    CreateChildren();
}

void MainWindow::CreateMenuAndShortcuts() {
    const HMENU bar = CreateMenu();
    HMENU popup = nullptr;
    std::wstring popupTitle;
    std::vector<ACCEL> keys;
    WORD id = kFirstCommandId;
    for (const Command& command : Commands()) {
        if (popupTitle != command.menu) {
            popupTitle = command.menu;
            popup = CreatePopupMenu();
            AppendMenuW(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(popup), command.menu);
        }
        AppendMenuW(popup, MF_STRING, id, command.text);
        if (command.key) keys.push_back({static_cast<BYTE>(FVIRTKEY | command.modifiers), command.key, id});
        ++id;
    }
    SetMenu(window_, bar);  // from here on the window owns it
    shortcuts_.reset(CreateAcceleratorTableW(keys.data(), static_cast<int>(keys.size())));
}

HWND MainWindow::CreateChild(const wchar_t* windowClass, const wchar_t* text, DWORD style, int id) {
    const bool sunken =
        std::wcscmp(windowClass, WC_EDITW) == 0 || std::wcscmp(windowClass, WC_LISTVIEWW) == 0;
    const HWND child = CreateWindowExW(
        sunken ? WS_EX_CLIENTEDGE : 0, windowClass, text, WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, window_,
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)), GetModuleHandleW(nullptr), nullptr);
    if (!child) _com_util::CheckError(HRESULT_FROM_WIN32(GetLastError()));
    SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(font_.get()), FALSE);
    return child;
}

HWND MainWindow::CreateField(const wchar_t* label, const std::wstring& text, int width, DWORD style) {
    bar_.push_back({CreateChild(WC_STATICW, label, SS_CENTERIMAGE), TextWidth(label), true});
    const HWND field = CreateChild(WC_EDITW, text.c_str(), WS_TABSTOP | ES_AUTOHSCROLL | style);
    // Only fields that somebody filled are handed to the control.
    SendMessageW(field, EM_SETMODIFY, !text.empty(), 0);
    bar_.push_back({field, width, false});
    return field;
}

int MainWindow::TextWidth(const wchar_t* text) const {
    const HDC dc = GetDC(window_);
    const HGDIOBJ previous = SelectObject(dc, font_.get());
    SIZE size{};
    GetTextExtentPoint32W(dc, text, static_cast<int>(std::wcslen(text)), &size);
    SelectObject(dc, previous);
    ReleaseDC(window_, dc);
    return size.cx;
}

void MainWindow::CreateChildren() {
    NONCLIENTMETRICSW metrics{};
    metrics.cbSize = sizeof(metrics);
    SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0);
    font_.reset(CreateFontIndirectW(&metrics.lfMessageFont));

    address_ = CreateField(L"Camera", options_.address, 0);
    user_ = CreateField(L"User", options_.user, kFieldWidth);
    password_ = CreateField(L"Password", options_.password, kFieldWidth, ES_PASSWORD);
    int id = kFirstCommandId;
    for (const Command& command : Commands()) {
        if (command.button) {
            bar_.push_back({CreateChild(WC_BUTTONW, command.button, WS_TABSTOP | BS_PUSHBUTTON, id),
                            kButtonWidth, false});
        }
        ++id;
    }

    pane_ = CreateChild(kPaneClass, L"", WS_CLIPCHILDREN | WS_CLIPSIBLINGS);
    SetWindowLongPtrW(pane_, GWL_EXSTYLE, GetWindowLongPtrW(pane_, GWL_EXSTYLE) | WS_EX_CONTROLPARENT);

    events_ = CreateChild(WC_LISTVIEWW, L"",
                          WS_TABSTOP | LVS_REPORT | LVS_OWNERDATA | LVS_SHOWSELALWAYS | LVS_NOSORTHEADER);
    ListView_SetExtendedListViewStyle(events_, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    const std::pair<const wchar_t*, int> columns[] = {
        {L"Time", kTimeWidth}, {L"Kind", kKindWidth}, {L"What", 400}};
    int index = 0;
    for (const auto& [title, width] : columns) {
        LVCOLUMNW column{};
        column.mask = LVCF_TEXT | LVCF_WIDTH;
        column.pszText = const_cast<LPWSTR>(title);
        column.cx = width;
        ListView_InsertColumn(events_, index++, &column);
    }

    pad_.Create(window_, font_.get());

    status_ = CreateChild(STATUSCLASSNAMEW, L"", SBARS_SIZEGRIP);
    SendMessageW(status_, SB_SETPARTS, std::size(kStatusParts), reinterpret_cast<LPARAM>(kStatusParts));
}

bool MainWindow::CreateControl() try {
    CLSID clsid{};
    _com_util::CheckError(CLSIDFromProgID(options_.progId.c_str(), &clsid));
    container_ = Container::Create(window_, pane_, [this](const std::wstring& text) { ShowMessage(text); });
    _com_util::CheckError(container_->CreateControl(clsid));
    info_ = ReadControlInfo(container_->Control());
    if (info_.events.iid != IID_NULL) {
        sink_ = EventSink::Create(info_.events, [this](const Event& event) { OnEvent(event); });
        _com_util::CheckError(sink_->Advise(container_->Control()));
    }
    log_.Write(L"control", options_.progId + L" is active");
    return true;
} catch (const _com_error& error) {
    const TCHAR* reason = error.ErrorMessage();
    CloseControl();
    Fail(options_.progId + L" cannot be shown: " + reason);
    return false;
}

void MainWindow::CloseControl() {
    if (container_) pad_.Finish();
    // Also reached from inside the control's own event: both objects outlive the call on the stack.
    if (const auto sink = std::exchange(sink_, nullptr)) sink->Unadvise();
    if (const auto container = std::exchange(container_, nullptr)) {
        container->Close();
        picture_.Forget();
        record_.Forget();
        log_.Write(L"control", L"closed");
    }
}

void MainWindow::FitToVideo(SIZE video) {
    RECT statusRect{};
    GetWindowRect(status_, &statusRect);
    const LONG statusHeight = statusRect.bottom - statusRect.top;
    const LONG barHeight = LayOutBar(video.cx).back().bottom + kMargin;
    RECT rect{0, 0, video.cx, barHeight + video.cy + kMargin + kEventsHeight + statusHeight};
    AdjustWindowRectEx(&rect, static_cast<DWORD>(GetWindowLongPtrW(window_, GWL_STYLE)), TRUE, 0);
    SetWindowPos(window_, nullptr, 0, 0, rect.right - rect.left, rect.bottom - rect.top,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

// From left to right, in as many rows as the width makes necessary.
std::vector<RECT> MainWindow::LayOutBar(int width) const {
    int taken = kMargin;
    for (const BarItem& item : bar_)
        taken += item.width + kMargin;
    const int left = std::max(width - taken - kMargin, kMinimumAddressWidth);
    const auto widthOf = [left](const BarItem& item) { return item.width ? item.width : left; };

    std::vector<RECT> places;
    int x = kMargin;
    int y = kMargin;
    for (size_t i = 0; i < bar_.size(); ++i) {
        const int cx = widthOf(bar_[i]);
        const int unbroken = bar_[i].isLabel ? cx + kMargin + widthOf(bar_[i + 1]) : cx;
        const bool afterLabel = i > 0 && bar_[i - 1].isLabel;
        if (x > kMargin && !afterLabel && x + unbroken + kMargin > width) {
            x = kMargin;
            y += kRowHeight;
        }
        places.push_back({x, y, x + cx, y + kFieldHeight});
        x += cx + kMargin;
    }
    return places;
}

void MainWindow::Layout() {
    RECT client{};
    GetClientRect(window_, &client);
    SendMessageW(status_, WM_SIZE, 0, 0);
    RECT statusRect{};
    GetWindowRect(status_, &statusRect);
    const int width = client.right;
    const int bottom = client.bottom - (statusRect.bottom - statusRect.top);

    // All windows move in one go.
    HDWP move = BeginDeferWindowPos(static_cast<int>(bar_.size()) + 3);
    const auto place = [&move](HWND window, int x, int y, int cx, int cy, UINT flags = 0) {
        if (move)
            move = DeferWindowPos(move, window, nullptr, x, y, cx, cy, SWP_NOZORDER | SWP_NOACTIVATE | flags);
    };
    const std::vector<RECT> bar = LayOutBar(width);
    for (size_t i = 0; i < bar.size(); ++i) {
        place(bar_[i].window, bar[i].left, bar[i].top, bar[i].right - bar[i].left, bar[i].bottom - bar[i].top,
              SWP_NOCOPYBITS);
    }

    const int barHeight = bar.back().bottom + kMargin;
    const int videoHeight = std::max(bottom - barHeight - kMargin - kEventsHeight, kMinimumVideoHeight);
    const int eventsTop = barHeight + videoHeight + kMargin;
    place(pane_, 0, barHeight, width, videoHeight);
    const bool pad = width >= kMinimumEventsWidth + PtzPad::kSize.cx;
    const int eventsWidth = pad ? static_cast<int>(width - PtzPad::kSize.cx) : width;
    place(events_, 0, eventsTop, eventsWidth, std::max(bottom - eventsTop, 0), SWP_NOCOPYBITS);
    place(pad_.Window(), eventsWidth, eventsTop, PtzPad::kSize.cx, PtzPad::kSize.cy, SWP_NOCOPYBITS);
    if (move) EndDeferWindowPos(move);
    InvalidateRect(status_, nullptr, TRUE);  // its grip has moved
    // The last column takes what the others and the scroll bar leave.
    ListView_SetColumnWidth(events_, kTextColumn,
                            eventsWidth - kTimeWidth - kKindWidth - GetSystemMetrics(SM_CXVSCROLL) -
                                2 * GetSystemMetrics(SM_CXEDGE));
    pad_.Show(pad);
    if (container_) container_->Resize();
}

LRESULT CALLBACK MainWindow::WindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept {
    if (message == WM_NCCREATE) {
        const auto* create = reinterpret_cast<CREATESTRUCTW*>(lParam);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
    }
    auto* self = reinterpret_cast<MainWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!self || !self->status_) return DefWindowProcW(window, message, wParam, lParam);
    // Nothing may be thrown through the system's message dispatch.
    try {
        return self->Handle(message, wParam, lParam);
    } catch (...) {
        return 0;
    }
}

LRESULT MainWindow::Handle(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
        case WM_SIZE:
            if (wParam != SIZE_MINIMIZED) Layout();
            return 0;
        case WM_GETMINMAXINFO:
            reinterpret_cast<MINMAXINFO*>(lParam)->ptMinTrackSize = {kMinimumWindow.cx, kMinimumWindow.cy};
            return 0;
        case WM_COMMAND:
            OnCommand(LOWORD(wParam));
            return 0;
        case DM_GETDEFID:
            return MAKELONG(IDOK, DC_HASDEFID);
        case WM_NOTIFY:
            return OnNotify(*reinterpret_cast<NMHDR*>(lParam));
        case WM_ACTIVATE:
            if (LOWORD(wParam) == WA_INACTIVE) {
                focus_ = GetFocus();
            } else {
                SetFocus(focus_ && IsChild(window_, focus_) ? focus_ : address_);
            }
            if (container_) container_->OnFrameActivate(LOWORD(wParam) != WA_INACTIVE);
            return 0;
        case WM_ENTERMENULOOP:
            pad_.LetGo();
            return DefWindowProcW(window_, message, wParam, lParam);
        case WM_TIMER:
            if (wParam == kRunTimer) OnTimeUp();
            if (wParam == kPauseTimer) {
                KillTimer(window_, kPauseTimer);
                script_.EndPause();
            }
            return 0;
        case kRunStepMessage:
            script_.RunNext();
            return 0;
        case WM_CLOSE:
            CloseControl();
            DestroyWindow(window_);
            return 0;
        case WM_DESTROY:
            PostQuitMessage(0);
            return 0;
        case WM_NCDESTROY:
            SetWindowLongPtrW(window_, GWLP_USERDATA, 0);
            return DefWindowProcW(std::exchange(window_, nullptr), message, wParam, lParam);
        default:
            return DefWindowProcW(window_, message, wParam, lParam);
    }
}

void MainWindow::OnCommand(int id) {
    if (id == IDOK) {  // Enter in one of the fields
        Connect();
        return;
    }
    const int index = id - kFirstCommandId;
    if (index < 0 || index >= static_cast<int>(Commands().size())) return;
    (this->*Commands()[static_cast<size_t>(index)].run)();
}

void MainWindow::OnTimeUp() {
    KillTimer(window_, kRunTimer);
    const bool stillWaiting = !options_.exitOn.empty() || script_.Unfinished();
    LeaveWith(stillWaiting ? ExitCode::TimeRanOut : ExitCode::Done);
}

LRESULT MainWindow::OnNotify(const NMHDR& header) {
    if (header.hwndFrom != events_ || header.code != LVN_GETDISPINFOW) return 0;
    LVITEMW& item = reinterpret_cast<NMLVDISPINFOW&>(const_cast<NMHDR&>(header)).item;
    const auto row = static_cast<size_t>(item.iItem);
    if (!(item.mask & LVIF_TEXT) || row >= entries_.size()) return 0;
    const Log::Entry& entry = entries_[row];
    const std::wstring* columns[] = {&entry.time, &entry.kind, &entry.text};
    lstrcpynW(item.pszText, columns[item.iSubItem]->c_str(), item.cchTextMax);
    return 0;
}

void MainWindow::OnEvent(const Event& event) {
    const std::wstring& name = event.member->name;
    for (const auto& [filter, text] : options_.replies) {
        if (filter.Matches(name, event.Arguments(false))) event.Reply(text);
    }
    log_.Write(L"event", name + L"(" + event.Arguments(true) + L")");
    ShowStatus(event);
    picture_.OnEvent(event);
    record_.OnEvent(event);
    pad_.OnEvent(event);

    const std::wstring arguments = event.Arguments(false);
    script_.OnEvent(name, arguments);
    const auto matches = [&](const EventFilter& filter) { return filter.Matches(name, arguments); };
    if (std::ranges::any_of(options_.exitOn, matches)) LeaveWith(ExitCode::Done);
    script_.React(name, arguments);
}

void MainWindow::ShowStatus(const Event& event) {
    if (event.arguments.empty()) return;
    const auto show = [this](StatusPart part, const std::wstring& text) {
        SendMessageW(status_, SB_SETTEXTW, part, reinterpret_cast<LPARAM>(text.c_str()));
    };
    const std::wstring& name = event.member->name;
    if (name == L"OnConnStatus") {
        const std::wstring value = Describe(*event.arguments[0]);
        const std::wstring constant =
            info_.NameOf(L"EConnectStatus", std::wcstol(value.c_str(), nullptr, 10));
        show(kConnectionPart, constant.empty() ? value : Spoken(constant));
        show(kFrameRatePart, L"");
    } else if (name == L"OnVideoFrameRate") {
        show(kFrameRatePart, Describe(*event.arguments[0]) + L" fps");
    }
}

void MainWindow::ShowEntry(const Log::Entry& entry) {
    if (!window_) return;
    const int last = static_cast<int>(entries_.size()) - 1;
    const bool following =
        last < 0 || ListView_GetTopIndex(events_) + ListView_GetCountPerPage(events_) >= last;
    entries_.push_back(entry);
    const bool full = entries_.size() > kKeptEntries;
    if (full) entries_.pop_front();
    // A full list moves up by a row each time, a growing one only adds a row.
    ListView_SetItemCountEx(events_, entries_.size(),
                            full ? LVSICF_NOSCROLL : LVSICF_NOINVALIDATEALL | LVSICF_NOSCROLL);
    if (following) ListView_EnsureVisible(events_, static_cast<int>(entries_.size()) - 1, FALSE);
}

void MainWindow::ShowMessage(const std::wstring& text) {
    SendMessageW(status_, SB_SETTEXTW, kMessagePart, reinterpret_cast<LPARAM>(text.c_str()));
}

void MainWindow::Perform(const Action& action) try {
    switch (action.kind) {
        case Action::Kind::Set:
            return calls_.Set(action.name, action.value);
        case Action::Kind::Get:
            return calls_.Get(action.name);
        case Action::Kind::Call:
            return calls_.Call(action.name, action.arguments);
        case Action::Kind::Connect:
            return Connect();
        case Action::Kind::Wait:
            return script_.Await({action.name, action.value});
        case Action::Kind::Pause:
            if (SetTimer(window_, kPauseTimer, static_cast<UINT>(action.seconds * 1000), nullptr))
                script_.Pause();
            return;
        case Action::Kind::Verb: {
            const HRESULT result = container_ ? container_->DoVerb(action.verb) : E_UNEXPECTED;
            if (FAILED(result)) throw AutomationError(result, L"verb " + std::to_wstring(action.verb));
            return log_.Write(L"verb", std::to_wstring(action.verb));
        }
        case Action::Kind::Command:
            return RunCommand(action.name);
        case Action::Kind::Properties:
            return ShowProperties();
        case Action::Kind::Resize:
            return FitToVideo(action.size);
        case Action::Kind::Close:
            return CloseControl();
        case Action::Kind::Exit:
            return Exit();
    }
} catch (const AutomationError& error) {
    Fail(error.Message());
}

// Without shortcut and underline: "Save Snapshot".
static std::wstring PlainText(const wchar_t* menuText) {
    std::wstring text(menuText);
    text = text.substr(0, text.find(L'\t'));
    std::erase(text, L'&');
    return text;
}

void MainWindow::RunCommand(const std::wstring& text) {
    const auto commands = Commands();
    const auto command = std::ranges::find_if(commands, [&](const Command& candidate) {
        return lstrcmpiW(PlainText(candidate.text).c_str(), text.c_str()) == 0;
    });
    if (command == commands.end()) return Fail(L"no such command: " + text);
    (this->*command->run)();
}

template <void (PictureCommands::*Run)()>
void MainWindow::OnPicture() try {
    (picture_.*Run)();
} catch (const AutomationError& error) {
    Fail(error.Message());
}

void MainWindow::Record() try { record_.Toggle(); } catch (const AutomationError& error) {
    Fail(error.Message());
}

void MainWindow::PickRecordFolder() try {
    record_.PickFolder(window_);
} catch (const AutomationError& error) {
    Fail(error.Message());
}

void MainWindow::NextRecordLimit() try { record_.NextLimit(); } catch (const AutomationError& error) {
    Fail(error.Message());
}

void MainWindow::ShowRecording(const std::wstring& text) {
    if (status_) SendMessageW(status_, SB_SETTEXTW, kRecordPart, reinterpret_cast<LPARAM>(text.c_str()));
}

void MainWindow::Fail(const std::wstring& what) {
    log_.Write(L"error", what);
    ShowMessage(what);
    if (exitCode_ == ExitCode::Done) exitCode_ = ExitCode::StepFailed;
}

void MainWindow::LeaveWith(ExitCode code) {
    // The first thing that went wrong decides.
    if (exitCode_ == ExitCode::Done || code == ExitCode::NoControl) exitCode_ = code;
    PostMessageW(window_, WM_CLOSE, 0, 0);
}

void MainWindow::Exit() {
    PostMessageW(window_, WM_CLOSE, 0, 0);
}

void MainWindow::Connect() try {
    // A field that nobody has touched since the last time leaves the property as it is.
    const auto changed = [](HWND field) {
        const bool modified = SendMessageW(field, EM_GETMODIFY, 0, 0) != 0;
        SendMessageW(field, EM_SETMODIFY, FALSE, 0);
        return modified;
    };
    ShowMessage(L"");
    if (changed(user_)) calls_.Set(L"username", TextOf(user_));
    if (changed(password_)) calls_.Set(L"password", TextOf(password_));
    if (changed(address_)) {
        pad_.StopNow();
        const Address address = ParseAddress(TextOf(address_));
        calls_.Set(L"ServerIP", address.host);
        calls_.Set(L"StreamUri", address.streamUri);
        if (address.port) calls_.Set(L"HttpPort", std::to_wstring(address.port));
        if (!address.user.empty()) calls_.Set(L"username", address.user);
        if (!address.password.empty()) calls_.Set(L"password", address.password);
        if (!address.user.empty()) {
            // A password is not left standing where everybody can read it.
            SetWindowTextW(user_, address.user.c_str());
            SetWindowTextW(password_, address.password.c_str());
            SetWindowTextW(address_, address.Shown().c_str());
        }
    }
    calls_.Call(L"Connect", {});
} catch (const AutomationError& error) {
    Fail(error.Message());
}

void MainWindow::Disconnect() try { calls_.Call(L"Disconnect", {}); } catch (const AutomationError& error) {
    Fail(error.Message());
}

void MainWindow::ShowProperties() {
    const HRESULT result = container_ ? container_->ShowProperties() : E_UNEXPECTED;
    if (FAILED(result)) Fail(L"the control has no property pages to show");
}
