#include "control/connection/CameraLink.h"

#include <algorithm>

namespace norix {

SignIn CameraLink::CurrentSignIn() const {
    const ConnectionSettings settings = m_host.Settings();
    if (settings.username.empty()) return m_fallback;
    return {settings.username, settings.password};
}

SignIn CameraLink::SignInFor(const protocol::Origin&) const {
    return CurrentSignIn();
}

CameraCommands& CameraLink::Commands() {
    const ConnectionSettings settings = m_host.Settings();
    CameraAccess& access = m_commands.access;
    if (settings.serverIP != access.serverIP) {
        access.serverIP = settings.serverIP;
        m_https = false;
        m_httpsPort = kDefaultHttpsPort;
    }
    access.httpPort = settings.httpPort;
    access.https = m_https;
    access.httpsPort = m_httpsPort;
    if (settings.pageIsHttps) {
        access.https = true;
        access.httpsPort = settings.pagePort;
    }
    const SignIn signIn = SignInFor(
        protocol::makeOrigin(access.https ? "https" : "http", access.serverIP,
                             static_cast<std::uint16_t>(access.https ? access.httpsPort : access.httpPort)));
    access.username = signIn.user;
    access.password = signIn.password;
    access.ignoreCaption = settings.ignoreCaption;
    access.captionInfo = settings.captionInfo;
    return m_commands;
}

std::shared_ptr<CameraInquiry> CameraLink::Prepare(const StreamSelection& selection,
                                                   EConnectProtocol protocol) {
    CameraCommands& commands = Commands();
    const std::pair camera(commands.access.serverIP, commands.access.httpPort);
    if (camera != m_known) commands.Forget();
    m_known = camera;
    const ConnectionSettings settings = m_host.Settings();
    auto inquiry = std::make_shared<CameraInquiry>(m_means.MakeCameraServices(), commands);
    inquiry->selection = selection;
    inquiry->protocol = protocol;
    inquiry->streamKnown = !settings.streamUri.empty();
    inquiry->onvif.mediaServiceUri = settings.mediaServiceUri;
    inquiry->onvif.profileToken = settings.profileToken;
    inquiry->onvif.streamIndex = static_cast<std::uint32_t>(std::max(settings.stream, 1));
    return inquiry;
}

void CameraLink::Take(const CameraInquiry& inquiry) {
    const CameraAccess& access = inquiry.commands.access;
    // The host may have named another camera meanwhile.
    if (!inquiry.ran || m_host.Settings().serverIP != access.serverIP) return;
    m_commands.TakeFacts(inquiry.commands);
    m_known = {access.serverIP, access.httpPort};
    m_host.SetHttpPort(access.httpPort);
    m_commands.access.serverIP = access.serverIP;
    m_https = access.https;
    m_httpsPort = access.httpsPort;
}

void CameraLink::RequestKeyFrame(std::int32_t channel, std::int32_t stream) {
    const auto services = m_means.MakeCameraServices();
    const auto commands = std::make_shared<CameraCommands>(services->Transport(), Commands());
    m_means.RunBeside([services, commands, channel, stream] { commands->RequestIFrame(channel, stream); });
}

}  // namespace norix
