#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "camera/CameraCommands.h"
#include "camera/onvif/OnvifRoute.h"
#include "control/Enumerations.h"
#include "control/connection/ConnectionMeans.h"

#include "protocol/Origin.h"

namespace norix {

/// The ONVIF service is at the camera's web server, and asked as whom that is asked, unless it has an address
/// of its own.
void AddressCamera(OnvifQuestion& question, const CameraAccess& access);

/// One round of questions to a camera before a stream is received: what it is, and where its ONVIF service
/// says that the stream is. Filled in by the window's thread, then handed to a worker that runs it, then read
/// again by the window's thread once the worker has signalled; nobody else has it meanwhile.
struct CameraInquiry {
    /// `known` is what cameras have said before.
    CameraInquiry(std::shared_ptr<CameraServices> s, const CameraCommands& known)
        : services(std::move(s)), commands(services->Transport(), known) {}

    /// Asks. Throws nothing but bad_alloc.
    void Run();

    const std::shared_ptr<CameraServices> services;

    // What to ask
    CameraCommands commands;
    protocol::Origin asked;          // the web server that `commands` begin with
    std::int32_t askedHttpPort = 0;  // as the host had set it
    StreamSelection selection;
    bool codecChosen = false;  // by the user; else the camera's list has to name it
    EConnectProtocol protocol = ecpUDP;
    bool streamKnown = false;  // the host has said where the stream is: nobody is asked for that
    OnvifQuestion onvif;       // all but the server's address

    // What came of it
    bool ran = false;  // else there was no thread for it
    CameraCommands::Outcome outcome;
    std::optional<OnvifStream> stream;
    bool onvifDenied = false;
};

}  // namespace norix
