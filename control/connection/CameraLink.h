#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "camera/CameraCommands.h"
#include "camera/WinInetTransport.h"
#include "camera/onvif/OnvifProvider.h"
#include "control/Enumerations.h"
#include "control/connection/SavedCredentials.h"

namespace norix {

class CNorixSDKCtrl;

/// The control's camera as its web server: commands, parameters and the ONVIF services, asked with what the
/// control's properties say at the moment. Window thread; every request blocks it for a bounded time.
class CameraLink {
  public:
    explicit CameraLink(CNorixSDKCtrl& owner) : m_owner(owner) {}

    /// The command channel, with the properties as they are now.
    CameraCommands& Commands();

    /// Asks the camera for everything a connection wants to know of it and takes its ports over into the
    /// properties. Fits `selection` to its streams.
    CameraCommands::Outcome ReadCamera(StreamSelection& selection);

    /// The ONVIF services' answer: the address of the stream that the properties name. Nothing when there is
    /// none, which a camera that does not answer may take some seconds to show.
    std::optional<OnvifStream> AskOnvif(EConnectProtocol protocol);

    /// Whom requests are signed by while the property `username` is empty.
    void SetFallbackSignIn(const SignIn& signIn) { m_fallback = signIn; }
    /// Whom requests are signed by now.
    SignIn CurrentSignIn() const;

  private:
    static constexpr std::int32_t kDefaultHttpsPort = 443;

    CNorixSDKCtrl& m_owner;
    SignIn m_fallback;
    WinInetTransport m_transport;
    CameraCommands m_commands{m_transport};
    std::unique_ptr<OnvifProvider> m_onvif;        // made when first asked: it looks for the maker's library
    std::pair<std::string, std::int32_t> m_known;  // host and port of the camera last read
    bool m_https = false;                          // as the camera at that server said
    std::int32_t m_httpsPort = kDefaultHttpsPort;
};

}  // namespace norix
