#pragma once

// RTSP client, sessions and subsessions, sources and sinks.

#include "live/env/Medium.h"
#include "live/media/FramedSource.h"
#include "live/media/MediaSink.h"
#include "live/rtp/RTCPInstance.h"
#include "live/rtp/RTPSource.h"
#include "live/rtp/ReceptionStats.h"
#include "live/rtsp/Authenticator.h"
#include "live/rtsp/RTSPClient.h"
#include "live/sdp/MediaSession.h"
#include "live/sdp/ParameterSets.h"
