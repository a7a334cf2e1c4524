#include "control/connection/CameraInquiry.h"

#include <algorithm>

#include "control/connection/StreamAddress.h"

namespace norix {

void AddressCamera(OnvifQuestion& question, const CameraAccess& access) {
    question.host = access.serverIP;
    question.port = static_cast<std::uint16_t>(access.https ? access.httpsPort : access.httpPort);
    question.secure = access.https;
    // An address of its own has a sign-in of its own.
    if (!question.mediaServiceUri.empty()) return;
    question.user = access.username;
    question.password = access.password;
}

void CameraInquiry::Run() {
    ran = true;
    outcome = commands.RequestCameraInformation(selection);
    const bool known = commands.Codecs() != nullptr;
    // While a camera is away, what it said before is still the best guess.
    if (!outcome.reached && known) selection = SelectStream(*commands.Codecs(), selection);

    if (streamKnown || StreamsOverHttp(protocol, selection.codec)) return;
    const bool mayHaveOnvif = outcome.reached && (!known || commands.System().onvifSupport != 0);
    if (onvif.mediaServiceUri.empty() && !mayHaveOnvif) return;
    AddressCamera(onvif, commands.access);
    onvif.protocol = static_cast<std::uint32_t>(protocol);
    onvif.channel = static_cast<std::uint32_t>(std::max(selection.channel, 1));
    onvif.streamIndex = static_cast<std::uint32_t>(std::max(selection.stream, 1));
    if (known || codecChosen) onvif.codec = static_cast<KsOnvifCodec>(selection.codec);
    KsOnvifResult result = kKsOnvifOk;
    stream = AskOnvif(services->Onvif(), onvif, &result);
    onvifDenied = result == kKsOnvifDenied;
}

}  // namespace norix
