#include "ui/ClientSettingDialog.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "ui/Texts.h"
#include "ui/resource.h"

namespace norix {

namespace {

using Kind = FormItem::Kind;

constexpr int kNoteLines = 2;

std::wstring CodecNames(std::uint8_t codecs) {
    std::wstring names;
    // The numbers of the codec list: MPEG-4, Motion JPEG, H.264, H.265.
    for (const auto& [bit, text] :
         {std::pair(8, IDS_VIDEO_H265), {4, IDS_VIDEO_H264}, {1, IDS_VIDEO_MPEG4}, {2, IDS_VIDEO_MJPEG}}) {
        if ((codecs & bit) == 0) continue;
        if (!names.empty()) names += L", ";
        names += UiText(static_cast<unsigned>(text));
    }
    return names;
}

std::vector<std::wstring> StreamTexts(const std::vector<StreamChoice>& streams) {
    std::vector<std::wstring> texts;
    for (const StreamChoice& stream : streams) {
        const std::wstring number = std::to_wstring(stream.number);
        texts.push_back(stream.codecs == 0 ? Insert(UiText(IDS_SETTINGS_STREAM_PLAIN), {number})
                                           : Insert(UiText(IDS_SETTINGS_STREAM_CODECS),
                                                    {number, CodecNames(stream.codecs)}));
    }
    return texts;
}

std::wstring Longest(const std::vector<std::wstring>& texts) {
    return *std::max_element(texts.begin(), texts.end(),
                             [](const auto& a, const auto& b) { return a.size() < b.size(); });
}

std::vector<std::wstring> Texts(std::initializer_list<unsigned> ids) {
    std::vector<std::wstring> texts;
    for (const unsigned id : ids)
        texts.push_back(UiText(id));
    return texts;
}

std::vector<std::wstring> VideoTexts() {
    return Texts({IDS_VIDEO_H264, IDS_VIDEO_MPEG4, IDS_VIDEO_MJPEG, IDS_VIDEO_H265});
}
std::vector<std::wstring> ProtocolTexts() {
    return Texts({IDS_PROTOCOL_UDP, IDS_PROTOCOL_TCP, IDS_PROTOCOL_HTTP, IDS_PROTOCOL_MULTICAST});
}

/// A choice's position from an option's number; what is not offered counts as the first.
int Position(std::uint32_t option, std::size_t count) {
    return option < count ? static_cast<int>(option) : 0;
}

FormItem FolderItem(int id, unsigned label, int button) {
    return {Kind::Folder, id, UiText(label), button, UiText(IDS_BROWSE)};
}

Form MakeForm(const ClientSettingDialog::View& view, const std::vector<StreamChoice>& streams) {
    Form form;
    auto& items = form.items;
    items.push_back({Kind::Choice, IDC_SETTINGS_VIDEO, UiText(IDS_SETTINGS_VIDEO)});
    items.push_back({Kind::Choice, IDC_SETTINGS_PROTOCOL, UiText(IDS_SETTINGS_PROTOCOL)});
    if (view.protocolFixed) items.push_back({Kind::Note, -1, UiText(IDS_SETTINGS_PROTOCOL_FIXED)});
    FormItem stream = {Kind::Choice, IDC_SETTINGS_STREAM, UiText(IDS_SETTINGS_STREAM)};
    stream.widest = Longest(StreamTexts(streams));
    items.push_back(stream);
    items.push_back(FolderItem(IDC_SETTINGS_RECORD_FOLDER,
                               view.page ? IDS_SETTINGS_PAGE_FOLDER : IDS_SETTINGS_RECORD_FOLDER,
                               IDC_SETTINGS_RECORD_BROWSE));
    items.push_back({Kind::Number, IDC_SETTINGS_RECORD_SIZE, UiText(IDS_SETTINGS_RECORD_SIZE)});
    items.push_back({Kind::Number, IDC_SETTINGS_RECORD_TIME, UiText(IDS_SETTINGS_RECORD_TIME)});
    if (!view.page)
        items.push_back(FolderItem(IDC_SETTINGS_SNAPSHOT_FOLDER, IDS_SETTINGS_SNAPSHOT_FOLDER,
                                   IDC_SETTINGS_SNAPSHOT_BROWSE));
    items.push_back({Kind::Check, IDC_SETTINGS_STATISTICS, UiText(IDS_SETTINGS_STATISTICS)});
    items.push_back({Kind::Check, IDC_SETTINGS_RECONNECT, UiText(IDS_SETTINGS_RECONNECT)});
    FormItem note = {Kind::Note, IDC_SETTINGS_NOTE, L""};
    note.lines = kNoteLines;
    items.push_back(note);
    form.buttons = {{IDOK, UiText(IDS_OK), true}, {IDCANCEL, UiText(IDS_CANCEL)}};
    return form;
}

}  // namespace

bool ClientSettingDialog::Show(HWND over, View view) {
    m_view = std::move(view);
    m_streams = StreamChoices(m_view.streams, m_view.settings.stream);
    return Open(over, UiText(IDS_SETTINGS_TITLE), MakeForm(m_view, m_streams));
}

void ClientSettingDialog::OnOpened() {
    const ClientSettings& settings = m_view.settings;
    FormControls& controls = Controls();
    const std::vector<std::wstring> video = VideoTexts();
    const std::vector<std::wstring> protocols = ProtocolTexts();
    controls.SetChoices(IDC_SETTINGS_VIDEO, video, VideoPosition(settings.video));
    controls.SetChoices(IDC_SETTINGS_PROTOCOL, protocols, Position(settings.protocol, protocols.size()));
    SetStreams(m_view.streams);
    controls.SetText(IDC_SETTINGS_RECORD_FOLDER, settings.recordFolder);
    controls.SetText(IDC_SETTINGS_RECORD_SIZE, std::to_wstring(settings.recordMiB));
    controls.SetText(IDC_SETTINGS_RECORD_TIME, std::to_wstring(settings.recordSeconds));
    controls.SetText(IDC_SETTINGS_SNAPSHOT_FOLDER, settings.snapshotFolder);
    controls.SetChecked(IDC_SETTINGS_STATISTICS, settings.statistics);
    controls.SetChecked(IDC_SETTINGS_RECONNECT, m_view.connected);
    // What a page may write into, its user has picked: nothing else names it.
    if (m_view.page) SendDlgItemMessageW(Window(), IDC_SETTINGS_RECORD_FOLDER, EM_SETREADONLY, TRUE, 0);
    controls.Focus(IDC_SETTINGS_VIDEO);
}

void ClientSettingDialog::SetStreams(const std::vector<std::uint8_t>& known) {
    const int before = Controls().Chosen(IDC_SETTINGS_STREAM);
    const long chosen =
        before >= 0 ? m_streams[static_cast<std::size_t>(before)].number : m_view.settings.stream;
    m_streams = StreamChoices(known, chosen);
    const long last = static_cast<long>(m_streams.size());
    Controls().SetChoices(IDC_SETTINGS_STREAM, StreamTexts(m_streams),
                          static_cast<int>(std::clamp(chosen, 1L, last) - 1));
}

std::optional<ClientSettings> ClientSettingDialog::Take() {
    FormControls& controls = Controls();
    const auto chosen = [&](int id) { return std::max(controls.Chosen(id), 0); };
    EnteredSettings entered;
    entered.chosen = m_view.settings;
    entered.chosen.video = kVideoOptions.at(static_cast<std::size_t>(chosen(IDC_SETTINGS_VIDEO)));
    entered.chosen.protocol = static_cast<std::uint32_t>(chosen(IDC_SETTINGS_PROTOCOL));
    entered.chosen.stream = m_streams[static_cast<std::size_t>(chosen(IDC_SETTINGS_STREAM))].number;
    entered.chosen.statistics = controls.IsChecked(IDC_SETTINGS_STATISTICS);
    entered.recordFolder = controls.Text(IDC_SETTINGS_RECORD_FOLDER);
    entered.recordMiB = controls.Text(IDC_SETTINGS_RECORD_SIZE);
    entered.recordSeconds = controls.Text(IDC_SETTINGS_RECORD_TIME);
    entered.snapshotFolder = controls.Text(IDC_SETTINGS_SNAPSHOT_FOLDER);
    ClientSettings settings;
    switch (TakeEntered(entered, settings)) {
        case ClientSettingsFault::kNone:
            return settings;
        case ClientSettingsFault::kRecordFolder:
            Tell(IDS_SETTINGS_BAD_FOLDER, L"", IDC_SETTINGS_RECORD_FOLDER);
            break;
        case ClientSettingsFault::kSnapshotFolder:
            Tell(IDS_SETTINGS_BAD_FOLDER, L"", IDC_SETTINGS_SNAPSHOT_FOLDER);
            break;
        case ClientSettingsFault::kSize:
            Tell(IDS_SETTINGS_BAD_SIZE, std::to_wstring(ClientSettings::kMostMiB), IDC_SETTINGS_RECORD_SIZE);
            break;
        case ClientSettingsFault::kTime:
            Tell(IDS_SETTINGS_BAD_TIME, std::to_wstring(ClientSettings::kMostSeconds),
                 IDC_SETTINGS_RECORD_TIME);
            break;
    }
    return std::nullopt;
}

void ClientSettingDialog::Tell(unsigned text, const std::wstring& argument, int field) {
    Controls().SetText(IDC_SETTINGS_NOTE, Insert(UiText(text), {argument}));
    Controls().Focus(field);
}

void ClientSettingDialog::TellNotSaved() {
    Controls().SetText(IDC_SETTINGS_NOTE, UiText(IDS_SETTINGS_NOT_SAVED));
}

void ClientSettingDialog::OnCommand(int id, int code) {
    if (id == IDOK && code == BN_CLICKED) {
        m_sink.OnSettingsAccepted(Controls().IsChecked(IDC_SETTINGS_RECONNECT));
    } else if (id == IDCANCEL) {
        Cancel();
    } else if (id == IDC_SETTINGS_RECORD_BROWSE && code == BN_CLICKED) {
        Pick(IDC_SETTINGS_RECORD_FOLDER);
    } else if (id == IDC_SETTINGS_SNAPSHOT_BROWSE && code == BN_CLICKED) {
        Pick(IDC_SETTINGS_SNAPSHOT_FOLDER);
    }
}

// The dialog may have gone while the user was picking.
void ClientSettingDialog::Pick(int field) {
    const HWND window = Window();
    const std::wstring folder = m_sink.PickFolder(window);
    if (!folder.empty() && IsWindow(window)) SetDlgItemTextW(window, field, folder.c_str());
}

}  // namespace norix
