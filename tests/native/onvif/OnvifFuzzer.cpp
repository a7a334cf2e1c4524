// A camera's replies, through the whole route. The corpus is the tests' dialogues.

#include <cstdlib>
#include <pugixml.hpp>

#include "Dialogue.h"
#include "camera/onvif/OnvifPtz.h"
#include "camera/onvif/SoapReply.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const onvif_test::Dialogue dialogue = onvif_test::ReadDialogue(text);
    onvif_test::ScriptedCamera camera(dialogue.exchanges);
    const norix::OnvifMediaPtr media = norix::CreateOnvifMedia(camera, onvif_test::QuietSurroundings());
    if (const auto stream = norix::AskOnvif(*media, dialogue.question)) {
        if (!stream->uri.starts_with("rtsp://") || stream->frameRateLimit > 1000) std::abort();
        if (stream->uri.find_first_of("\r\n ") != std::string::npos) std::abort();
    }
    if (camera.requests.size() > norix::kOnvifMostRequests) std::abort();
    for (const norix::HttpRequest& request : camera.requests) {
        pugi::xml_document document;
        if (!document.load_buffer(request.body.data(), request.body.size())) std::abort();
        if (request.path.find_first_of("\r\n ") != std::string::npos) std::abort();
    }
    onvif_test::ScriptedCamera head(dialogue.exchanges);
    norix::OnvifPtz ptz(head, onvif_test::QuietSurroundings());
    ptz.Use(dialogue.question);
    std::string names;
    ptz.PresetNames(names);
    ptz.SavePreset(names, 2);
    ptz.Send(*norix::FindPtzMove("gopreset"), 1);
    norix::onvif::ParseFault(text);
    norix::onvif::ParsePresets(text);
    norix::onvif::ParseProfiles(text);
    norix::onvif::ParseServices(text);
    norix::onvif::ParseSystemDateAndTime(text);
    return 0;
}
