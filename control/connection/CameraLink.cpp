#include "control/connection/CameraLink.h"

#include <algorithm>
#include <utility>

#include "control/NorixSDKCtl.h"
#include "util/Text.h"

namespace norix {

SignIn CameraLink::CurrentSignIn() const {
    const ControlProperties& properties = m_owner.Properties();
    if (properties.username.empty()) return m_fallback;
    return {properties.username, properties.password};
}

CameraCommands& CameraLink::Commands() {
    const ControlProperties& properties = m_owner.Properties();
    const SignIn signIn = CurrentSignIn();
    CameraAccess& access = m_commands.access;
    if (const std::string server = util::WideToUtf8(properties.serverIP); server != access.serverIP) {
        access.serverIP = server;
        m_https = false;
        m_httpsPort = kDefaultHttpsPort;
    }
    access.httpPort = properties.httpPort;
    access.https = m_https;
    access.httpsPort = m_httpsPort;
    if (m_owner.Page() && m_owner.Page()->isHttps) {
        access.https = true;
        access.httpsPort = m_owner.Page()->port;
    }
    access.username = util::WideToUtf8(signIn.user);
    access.password = util::WideToUtf8(signIn.password);
    access.ignoreCaption = properties.ignoreCaption;
    access.captionInfo = properties.captionInfo;
    return m_commands;
}

CameraCommands::Outcome CameraLink::ReadCamera(StreamSelection& selection) {
    CameraCommands& commands = Commands();
    const auto camera = [&] { return std::pair(commands.access.serverIP, commands.access.httpPort); };
    if (camera() != m_known) commands.Forget();
    const CameraCommands::Outcome outcome = commands.RequestCameraInformation(selection);
    // While a camera is away, what it said before is still the best guess.
    if (!outcome.reached && commands.Codecs()) selection = SelectStream(*commands.Codecs(), selection);
    m_known = camera();
    m_owner.Properties().httpPort = commands.access.httpPort;
    m_https = commands.access.https;
    m_httpsPort = commands.access.httpsPort;
    return outcome;
}

std::optional<OnvifStream> CameraLink::AskOnvif(EConnectProtocol protocol) {
    const CameraAccess& access = Commands().access;
    const ControlProperties& properties = m_owner.Properties();
    OnvifQuestion question;
    question.host = access.serverIP;
    question.port = static_cast<std::uint16_t>(access.https ? access.httpsPort : access.httpPort);
    question.secure = access.https;
    question.user = access.username;
    question.password = access.password;
    question.mediaServiceUri = util::WideToUtf8(properties.mediaServiceUri);
    question.profileToken = util::WideToUtf8(properties.profileToken);
    question.streamIndex = static_cast<std::uint32_t>(std::max(properties.streamIndex, 1L));
    question.protocol = protocol;
    if (!m_onvif) m_onvif = std::make_unique<OnvifProvider>(m_transport);
    return norix::AskOnvif(m_onvif->Media(), question);
}

}  // namespace norix
