#pragma once

#include "media/MediaTypes.h"

namespace norix {

// The enumerations of the type library that the control's own code uses, beside those of MediaTypes.h. The
// values are fixed for ever: hosts have them compiled in.

enum ECaptionInfo : long { eciNone = 0, eciProtocol = 1, eciTime = 2, eciStatus = 4, eciAll = 255 };

enum ERecordStatus : short {
    ersNone = 0,
    ersRecording = 1,
    ersDiskFull = 2,
    ersRecordStart = 3,
    ersRecordStop = 4,
    ersPathInvalid = 5,
    ersFileCreateFailed = 6,
    ersFileWriteFailed = 7,
};

enum EMulticastInfoType : long { emiVideo = 0, emiAudio = 1, emiAudioBroadcast = 2, emiMetadata = 3 };

}  // namespace norix
