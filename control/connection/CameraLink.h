#pragma once

#include <memory>
#include <optional>
#include <string>

#include "camera/CameraCommands.h"
#include "camera/onvif/OnvifPtz.h"
#include "control/connection/CameraInquiry.h"
#include "control/connection/ConnectionHost.h"
#include "control/connection/ConnectionMeans.h"
#include "control/connection/KeyFrameRequests.h"
#include "control/connection/SignIns.h"
#include "protocol/Origin.h"

namespace norix {

/// The control's camera as its web server: commands, parameters and the ONVIF services, asked with what the
/// control's properties say at the moment. Window thread; a request that is made here blocks it for a bounded
/// time, an inquiry does not.
class CameraLink {
  public:
    CameraLink(CameraHost& host, ConnectionMeans& means)
        : m_host(host),
          m_means(means),
          m_services(means.MakeCameraServices()),
          m_commands(m_services->Transport()),
          m_ptz(m_services->Transport()) {}

    /// The command channel, with the properties as they are now.
    CameraCommands& Commands();
    /// What the camera has said so far.
    const CameraCommands& Known() const { return m_commands; }

    /// Questions that a worker may ask, with the properties as they are now and what is known of this camera.
    std::shared_ptr<CameraInquiry> Prepare(const StreamSelection& selection, EConnectProtocol protocol);
    /// Takes over what the camera has said, its ports into the properties.
    void Take(const CameraInquiry& inquiry);

    /// Asks the camera for a key frame beside the window's thread; nobody hears whether it did.
    void RequestKeyFrame(std::int32_t channel, std::int32_t stream);

    /// The command channel for another server: with the sign-in of that one, if any.
    CameraCommands& CommandsFor(const std::string& host);

    /// An address of the host says by which scheme the camera is asked; `httpsPort` where it is HTTPS.
    void AskBy(std::optional<std::uint16_t> httpsPort);

    /// What moves a camera that has no commands of its own, by its ONVIF service; null for all others. With
    /// the properties as they are now, and the profile of the stream that is shown.
    OnvifPtz* Ptz();

    /// Where the camera's web server is, as the properties and the camera say.
    protocol::Origin WebOrigin();
    /// Who signs in where, with what the properties say now.
    SignIns& Who();
    /// Who signs in at this place: the one place where that is decided. Looks for a saved sign-in.
    SignIn SignInFor(const protocol::Origin& place);

  private:
    /// What the host's properties say of the camera's ONVIF service.
    void AddressService(OnvifQuestion& question);

    CameraHost& m_host;
    ConnectionMeans& m_means;
    SignIns m_signIns;
    const std::shared_ptr<CameraServices> m_services;
    const std::shared_ptr<KeyFrameRequests> m_keyFrames = std::make_shared<KeyFrameRequests>();
    CameraCommands m_commands;
    OnvifPtz m_ptz;
    std::string m_shownProfile;  // where an ONVIF service has said where the stream is
    bool m_https = false;        // as the camera at that server said
    std::int32_t m_httpsPort = protocol::kHttpsPort;
};

}  // namespace norix
