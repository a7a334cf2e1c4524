#pragma once

#include "control/Enumerations.h"
#include "framework/Dispatch.h"

namespace norix {

/// The control's stored properties with the values they have after construction. Window thread.
struct ControlProperties {
    using Text = framework::Text;

    /// Camera and sign-in
    Text serverIP;
    long httpPort = 80;
    Text username;
    Text password;
    Text magicCode;
    bool showUserAuthenticationDialog = true;
    long chIndex = 1;
    long streamIndex = 1;

    /// Connection
    short videoProtocol = ecpUDP;
    short mediaType = -1;           // EMediaType; -1: decided by the stream
    long connectionTimeout = 5000;  // ms
    bool autoReconnect = false;
    Text mediaServiceUri;
    Text profileToken;
    Text streamUri;
    Text interfaceAddress;
    long streamingType = 0;

    /// Picture and sound
    bool forceGDI = false;
    bool display = true;
    bool decodeAV = true;
    bool deInterlace = false;
    bool iFrameOnly = false;
    bool ignoreBorder = false;
    bool ignoreCaption = false;
    long captionInfo = eciAll;
    bool enableAudioControl = false;
    bool voiceMute = false;
    long voiceVolume = 0;

    /// Recording
    Text recordVideoPath;
    Text recordFileName;
    bool recordManualNaming = false;
    long recordMaxFileSize = 0;         // MiB; 0: no limit
    long recordMaxFileTimeLength = 10;  // s; 0: no limit
    short recordStatus = 0;             // RecordStatus

    /// Notification, motion detection, client settings
    bool notifyVideoData = false;
    bool notifyNewPacket = false;
    bool motionEditMode = false;
    bool showMDWindow = false;
    bool clientSettingMode = false;

    Text versionInfo;      // the module's file version, set by the constructor
    Text serverModelType;  // cache of the camera's model name
};

}  // namespace norix
