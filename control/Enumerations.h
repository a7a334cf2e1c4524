#pragma once

#include "media/MediaTypes.h"

namespace norix {

// The enumerations of the type library that the control's own code uses, beside those of MediaTypes.h,
// MulticastInfo.h and RecordStatus.h. The values are fixed for ever: hosts have them compiled in.

enum ECaptionInfo : long { eciNone = 0, eciProtocol = 1, eciTime = 2, eciStatus = 4, eciAll = 255 };

}  // namespace norix
