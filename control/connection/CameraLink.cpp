#include "control/connection/CameraLink.h"

#include <algorithm>
#include <utility>

#include "protocol/Url.h"

namespace norix {

namespace {

protocol::Origin OriginOf(const CameraAccess& access, const std::string& host) {
    const std::int32_t port = access.https ? access.httpsPort : access.httpPort;
    return protocol::makeOrigin(access.https ? "https" : "http", host, static_cast<std::uint16_t>(port));
}

}  // namespace

SignIns& CameraLink::Who() {
    const ConnectionSettings settings = m_host.Settings();
    m_signIns.SetHosts({settings.username, settings.password});
    return m_signIns;
}

SignIn CameraLink::SignInFor(const protocol::Origin& place) {
    SignIns& who = Who();
    if (!who.HostSignsIn() && !who.IsBound(place)) {
        if (auto saved = m_means.LoadSignIn(place))
            who.Bind(place, std::move(*saved), SignIns::Source::kFound);
    }
    return who.For(place);
}

protocol::Origin CameraLink::WebOrigin() {
    const CameraAccess& access = Commands().access;
    return OriginOf(access, access.serverIP);
}

void CameraLink::AskBy(std::optional<std::uint16_t> httpsPort) {
    Commands();  // forgets the scheme of another camera
    m_https = httpsPort.has_value();
    m_httpsPort = httpsPort.value_or(protocol::kHttpsPort);
}

CameraCommands& CameraLink::Commands() {
    return CommandsFor(m_host.Settings().serverIP);
}

CameraCommands& CameraLink::CommandsFor(const std::string& host) {
    const ConnectionSettings settings = m_host.Settings();
    CameraAccess& access = m_commands.access;
    if (settings.serverIP != access.serverIP || settings.httpPort != access.httpPort) {
        access.serverIP = settings.serverIP;
        m_commands.Forget();  // what another one has said
        m_https = false;
        m_httpsPort = protocol::kHttpsPort;
    }
    access.httpPort = settings.httpPort;
    access.https = m_https;
    access.httpsPort = m_httpsPort;
    if (settings.pageIsHttps) {
        access.https = true;
        access.httpsPort = settings.pagePort;
    }
    const SignIn signIn = Who().For(OriginOf(access, host));
    access.username = signIn.user;
    access.password = signIn.password;
    access.ignoreCaption = settings.ignoreCaption;
    access.captionInfo = settings.captionInfo;
    return m_commands;
}

std::shared_ptr<CameraInquiry> CameraLink::Prepare(const StreamSelection& selection,
                                                   EConnectProtocol protocol) {
    CameraCommands& commands = Commands();
    const ConnectionSettings settings = m_host.Settings();
    auto inquiry = std::make_shared<CameraInquiry>(m_means.MakeCameraServices(), commands);
    inquiry->selection = selection;
    inquiry->protocol = protocol;
    inquiry->streamKnown = !settings.streamUri.empty();
    AddressService(inquiry->onvif);
    inquiry->asked = OriginOf(commands.access, commands.access.serverIP);
    inquiry->askedHttpPort = settings.httpPort;
    return inquiry;
}

void CameraLink::AddressService(OnvifQuestion& question) {
    const ConnectionSettings settings = m_host.Settings();
    question.mediaServiceUri = settings.mediaServiceUri;
    question.profileToken = settings.profileToken;
    if (const auto service = protocol::parseUrl(settings.mediaServiceUri)) {
        const SignIn signIn = SignInFor(protocol::originOf(*service));
        question.user = signIn.user;
        question.password = signIn.password;
    }
}

OnvifPtz* CameraLink::Ptz() {
    const CameraCommands& commands = Commands();
    if (!commands.LacksCommands() || commands.access.serverIP.empty()) return nullptr;
    OnvifQuestion question;
    AddressService(question);
    AddressCamera(question, commands.access);
    if (!m_shownProfile.empty()) question.profileToken = m_shownProfile;
    question.channel = static_cast<std::uint32_t>(std::max(m_host.Settings().channel, 1));
    question.streamIndex = static_cast<std::uint32_t>(std::max(m_host.Settings().stream, 1));
    m_ptz.Use(question);
    return &m_ptz;
}

void CameraLink::Take(const CameraInquiry& inquiry) {
    const CameraAccess& access = inquiry.commands.access;
    // The host may have named another camera meanwhile.
    const ConnectionSettings settings = m_host.Settings();
    if (!inquiry.ran || settings.serverIP != access.serverIP || settings.httpPort != inquiry.askedHttpPort)
        return;
    m_commands.TakeFacts(inquiry.commands);
    m_shownProfile = inquiry.stream ? inquiry.stream->profileToken : std::string();
    m_ptz.AskAnew();
    const protocol::Origin answered = OriginOf(access, access.serverIP);
    const SignIn signIn{access.username, access.password};
    // A camera that names another port of its own has been told already who asks.
    if (m_signIns.IsBound(inquiry.asked) && !m_signIns.IsBound(answered))
        m_signIns.TakeOver(inquiry.asked, answered);
    if (inquiry.outcome.unauthorized) {
        m_signIns.RefusedBy(answered);
    } else if (inquiry.outcome.reached) {
        m_signIns.Told(answered, signIn);
    }
    m_host.SetHttpPort(access.httpPort);
    m_commands.access.serverIP = access.serverIP;
    m_commands.access.httpPort = access.httpPort;  // the same camera, at the port that it has named
    m_https = access.https;
    m_httpsPort = access.httpsPort;
}

void CameraLink::RequestKeyFrame(std::int32_t channel, std::int32_t stream) {
    const auto services = m_means.MakeCameraServices();
    const auto commands = std::make_shared<CameraCommands>(services->Transport(), Commands());
    m_keyFrames->Ask(m_means,
                     [services, commands, channel, stream] { commands->RequestIFrame(channel, stream); });
}

}  // namespace norix
