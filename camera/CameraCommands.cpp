#include "camera/CameraCommands.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <iterator>

#include "camera/Charset.h"
#include "camera/ptz/PtzQueries.h"
#include "net/KnownServers.h"
#include "protocol/Origin.h"
#include "protocol/Text.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

constexpr std::string_view kGetParam = "/kest-cgi/getParam.cgi?";
constexpr std::string_view kSetParam = "/kest-cgi/setParam.cgi?";
constexpr std::string_view kSystemInfo = "/kest-cgi/systeminfo.cgi?";
constexpr std::int32_t kHighestPort = 65535;
constexpr unsigned kOk = 200;
constexpr unsigned kUnauthorized = 401;
constexpr unsigned kUnknownAddress[] = {400, 404, 405, 410, 501};
constexpr std::chrono::seconds kSequenceLimit{5};
constexpr std::int32_t kCaptionShown = 1;  // bit of captionInfo

bool IsPort(std::int32_t value) {
    return value >= 1 && value <= kHighestPort;
}

// The web server that is asked with this.
protocol::Origin OriginOf(const CameraAccess& access) {
    const std::int32_t port = access.https ? access.httpsPort : access.httpPort;
    return protocol::makeOrigin(access.https ? "https" : "http", access.serverIP,
                                static_cast<std::uint16_t>(port));
}

std::string_view UpToZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

}  // namespace

void CameraCommands::TakeFacts(const CameraCommands& other) {
    m_charset = other.m_charset;
    m_system = other.m_system;
    m_rtspPort = other.m_rtspPort;
    m_codecs = other.m_codecs;
    m_video = other.m_video;
    if (m_motionChanges == other.m_motionKnownBefore) {
        m_motion = other.m_motion;
        m_motionSource = other.m_motionSource;
        m_motionChanges = other.m_motionChanges;
    }
    m_model = other.m_model;
    m_lacksCommands = other.m_lacksCommands;
}

void CameraCommands::Forget() {
    m_charset.clear();
    m_system = {};
    m_rtspPort = protocol::kRtspPort;
    m_codecs.reset();
    m_video = {};
    m_motion = {};
    m_motionSource.clear();
    ++m_motionChanges;
    m_model.clear();
    m_lacksCommands = false;
}

CameraCommands::Reply CameraCommands::Request(std::string_view sendType, std::string_view host,
                                              std::string_view url, bool wanted) {
    const std::int32_t port = access.https ? access.httpsPort : access.httpPort;
    if (util::LogEnabled()) {
        // As one text, since a secret may reach across its parts.
        const std::string address = std::string(access.https ? "https" : "http") + "://" + std::string(host) +
                                    ":" + std::to_string(port) + std::string(url);
        NORIX_LOG("CNorixSDKCtrl::HttpCommand", 0, "CNorixSDKCtrl::HttpCommand(%s, %s)",
                  std::string(sendType).c_str(), util::RedactSecrets(address).c_str());
    }
    if (host.empty()) return {};

    HttpRequest request;
    if (sendType == "GET") {
        request.path = url;
    } else if (sendType == "POST") {
        const std::size_t question = url.find('?');
        const std::size_t body = question == std::string_view::npos ? 0 : question + 1;
        request.path = url.substr(0, body);
        request.body = url.substr(body);
        request.headers = "Content-Type: application/x-www-form-urlencoded\r\n";
    } else {
        return {};
    }
    if (!IsPort(port)) return {std::string(kErrorReply), true};
    request.verb = sendType;
    request.secure = access.https;
    request.host = host;
    request.port = static_cast<std::uint16_t>(port);
    request.user = access.username;
    request.password = access.password;

    const HttpReply reply = m_transport->Send(request);
    m_status = reply.answered ? reply.status : 0;
    m_unauthorized = m_status == kUnauthorized;
    m_failure = reply.failure;
    if (!reply.answered) return {std::string(kErrorReply), true};
    m_reached = true;
    if (auto charset = FindCharset(reply.headers)) m_charset = std::move(*charset);
    if (!wanted) return {};
    const std::string_view body = std::string_view(reply.body).substr(0, request.maxReply);
    return {std::string(UpToZero(body)), reply.stalled};
}

std::string CameraCommands::HttpCommandBytes(std::string_view sendType, std::string_view host,
                                             std::string_view url, bool returnReply) {
    return Request(sendType, host, url, returnReply).text;
}

std::wstring CameraCommands::HttpCommand(std::string_view sendType, std::string_view host,
                                         std::string_view url, bool returnReply) {
    return ToWide(HttpCommandBytes(sendType, host, url, returnReply));
}

std::wstring CameraCommands::ToWide(std::string_view reply) const {
    const bool byCharset = !access.ignoreCaption && (access.captionInfo & kCaptionShown) != 0;
    return BytesToWide(reply, byCharset ? CodePageOf(m_charset) : kCodePageSystem);
}

// A request of our own: what the camera calls an error has failed as well.
CameraCommands::Reply CameraCommands::Ask(std::string_view sendType, const std::string& url) {
    Reply reply = Request(sendType, access.serverIP, url, true);
    reply.failed = reply.failed || reply.text.starts_with(kErrorReply);
    JudgeReply(reply.text);
    return reply;
}

// A camera in trouble answers otherwise than one without such commands, which doesn't know the address, or
// has a page for every one.
void CameraCommands::JudgeReply(const std::string& text) {
    const bool unknown = std::find(std::begin(kUnknownAddress), std::end(kUnknownAddress), m_status) !=
                         std::end(kUnknownAddress);
    if (unknown) m_foreign = true;
    if (m_status != kOk || text.empty() || text.starts_with(kErrorReply)) return;
    const std::size_t key = std::min(text.find('='), text.size());
    const bool line = key != 0 && key != text.size() &&
                      std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(key), [](char c) {
                          return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
                      });
    (line ? m_spoke : m_foreign) = true;
}

Result CameraCommands::Exchange(std::string_view path, std::span<const CgiParam> table) {
    std::string url(path);
    AppendQuery(url, table);
    const Reply reply = Ask("POST", url);
    if (reply.failed) return kResultFail;
    ParseCGIParams(reply.text, table.data(), table.size());
    return kResultOk;
}

Result CameraCommands::GetParams(std::span<const CgiParam> table) {
    return Exchange(kGetParam, table);
}

Result CameraCommands::SetParams(std::span<const CgiParam> table) {
    return Exchange(kSetParam, table);
}

Result CameraCommands::RequestSystemInformation() {
    return Exchange(kSystemInfo, SystemInformationTable(m_system));
}

Result CameraCommands::RequestPorts() {
    CameraPorts reported{m_rtspPort, access.httpPort, access.httpsPort};
    const Result result = GetParams(PortTable(reported));
    if (result == kResultOk) TakePorts(reported);
    return result;
}

void CameraCommands::TakePorts(const CameraPorts& reported) {
    const protocol::Origin asked = OriginOf(access);
    if (IsPort(reported.rtsp)) m_rtspPort = reported.rtsp;
    if (IsPort(reported.http)) access.httpPort = reported.http;
    if (IsPort(reported.https)) {
        access.httpsPort = reported.https;
        if (reported.http == 0) access.https = true;  // the camera has switched plain HTTP off
    }
    net::KnownServers::get().namedBy(OriginOf(access), asked);
}

Result CameraCommands::RequestCodecList(StreamSelection& selection) {
    const Reply reply = Ask("GET", std::string(kGetParam) + "video_codectype");
    if (reply.failed) return kResultFail;
    m_codecs = ParseCodecList(SingleValue(reply.text));
    if (m_codecs) selection = SelectStream(*m_codecs, selection);
    return kResultOk;
}

KeyRules CameraCommands::Rules(const StreamSelection& selection) const {
    KeyRules rules;
    rules.perVideoSource = m_system.onvifSupport != 0;
    rules.codecListKnown = m_codecs.has_value();
    rules.severalChannels = m_codecs ? m_codecs->channels.size() > 1 : m_system.cameraNumber > 1;
    rules.selection = selection;
    return rules;
}

Result CameraCommands::RequestVideoSettings(const StreamSelection& selection) {
    std::wstring codepage = BytesToWide(m_charset, kCodePageAscii);
    const std::vector<CgiParamW> table = VideoSettingsTable(Rules(selection), m_video, codepage);
    std::string url(kGetParam);
    AppendQuery(url, table, CodePageOf(m_charset));
    const Reply reply = Ask("POST", url);
    if (reply.failed) return kResultFail;
    const auto take = [&] { ParseCGIParamsW(ToWide(reply.text), table.data(), table.size()); };
    codepage = BytesToWide(m_charset, kCodePageAscii);  // the reply's own, unless it names another
    const unsigned readAs = CodePageOf(m_charset);
    take();
    m_charset = protocol::trim(WideToBytes(codepage, kCodePageAscii));
    if (CodePageOf(m_charset) != readAs) take();  // what it names holds for its texts as well
    if (m_video.text.ends_with(L'\r')) m_video.text.pop_back();
    return kResultOk;
}

std::string CameraCommands::MotionSource(const StreamSelection& selection) const {
    const std::int32_t port = access.https ? access.httpsPort : access.httpPort;
    return access.serverIP + ' ' + std::to_string(port) + ' ' + std::to_string(selection.channel) +
           (Rules(selection).severalChannels ? " of several" : "");
}

MotionSettings CameraCommands::Motion(const StreamSelection& selection) const {
    return m_motionSource == MotionSource(selection) ? m_motion : MotionSettings();
}

void CameraCommands::KeepMotion(const StreamSelection& selection, MotionSettings settings) {
    m_motion = std::move(settings);
    m_motionSource = MotionSource(selection);
    ++m_motionChanges;
}

Result CameraCommands::RequestMotionSettings(const StreamSelection& selection) {
    MotionSettings settings = Motion(selection);
    const Result result = GetParams(MotionTable(Rules(selection), settings));
    if (result != kResultOk || m_status != kOk) return kResultFail;
    KeepMotion(selection, std::move(settings));
    return kResultOk;
}

Result CameraCommands::SaveMotionSettings(const StreamSelection& selection, MotionSettings settings) {
    const Result result = SetParams(MotionTable(Rules(selection), settings));
    if (result != kResultOk || m_status != kOk) return kResultFail;
    KeepMotion(selection, std::move(settings));
    return kResultOk;
}

unsigned CameraCommands::NameCodePage() const {
    return CodePageOf(m_charset) == kCodePageGb2312 ? kCodePageGb2312 : kCodePageUtf8;
}

std::wstring CameraCommands::NameToWide(std::string_view name) const {
    return BytesToWide(protocol::trim(name), NameCodePage());
}

CameraCommands::Outcome CameraCommands::RequestCameraInformation(StreamSelection& selection) {
    m_reached = false;
    m_unauthorized = false;
    m_spoke = m_foreign = false;
    m_failure.clear();
    const auto begin = std::chrono::steady_clock::now();
    const auto inform = [&] {
        // A wrong password is not tried over and over: cameras may lock a user out for that. And nobody waits
        // for a camera that is slow each time.
        const auto failed = [&](Result result) {
            return result != kResultOk || m_unauthorized ||
                   std::chrono::steady_clock::now() - begin > kSequenceLimit;
        };
        if (failed(RequestSystemInformation())) return kResultFail;
        if (failed(RequestPorts())) return kResultFail;
        if (failed(RequestCodecList(selection))) return kResultFail;
        if (failed(RequestVideoSettings(selection))) return kResultFail;
        if (failed(RequestMotionSettings(selection))) return kResultFail;
        return kResultOk;
    };
    const Result result = inform();
    if (m_reached) m_lacksCommands = m_foreign && !m_spoke && !m_unauthorized;
    return {result, m_reached, m_unauthorized, m_failure};
}

std::wstring CameraCommands::ServerModelType() {
    if (m_model.empty()) {
        const Reply reply = Ask("GET", std::string(kGetParam) + "system_modelname");
        if (!reply.failed && m_status == kOk && SingleValue(reply.text) != kMissingValue)
            m_model = SingleValue(reply.text);
    }
    return ToWide(m_model);
}

Result CameraCommands::RequestIFrame(std::int32_t channel, std::int32_t stream) {
    Request("GET", access.serverIP,
            "/kest-cgi/forcei.cgi?channel=" + std::to_string(channel) + "&stream=" + std::to_string(stream),
            false);
    return kResultOk;
}

bool CameraCommands::SendPtz(std::string_view command, std::int16_t parameter, std::int32_t channel) {
    const std::optional<std::string> query = PtzQuery(command, parameter, channel);
    if (!query || access.serverIP.empty()) return false;
    Request("GET", access.serverIP, *query, false);
    return true;
}

void CameraCommands::SavePreset(std::wstring_view name, std::int16_t index) {
    Request("GET", access.serverIP, SavePresetQuery(WideToBytes(name, NameCodePage()), index), false);
}

std::wstring CameraCommands::PresetNames() {
    const Reply reply = Ask("POST", PresetNamesQuery());
    if (reply.failed || m_status != kOk) return {};
    return ToWide(norix::PresetNames(reply.text));
}

}  // namespace norix
