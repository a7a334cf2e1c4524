#pragma once

// How a connection fares, in figures for a person and for scripts. Pure. Window thread.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "control/Enumerations.h"
#include "media/FrameRateMeter.h"
#include "media/MediaTypes.h"

namespace norix {

struct StreamStatistics {
    bool connected = false;
    VideoCodec codec = VideoCodec::None;
    int width = 0;
    int height = 0;
    EConnectProtocol protocol = ecpNone;
    FrameRates rates;            // of the last second
    std::uint64_t received = 0;  // frames of this connection
    std::uint64_t decoded = 0;
    std::uint64_t shown = 0;
    unsigned reconnections = 0;  // by the control itself, since the host connected

    /// The stream has begun.
    void Begin();
    /// Once a second.
    void Pass(const FrameRates& counts);
};

/// Name and text of each figure, as scripts ask for them.
std::vector<std::pair<std::wstring, std::wstring>> Figures(const StreamStatistics& statistics);

/// One figure by its name; all of them as JSON for an empty name; `fallback` for a name that is none.
std::wstring FigureText(const StreamStatistics& statistics, const std::wstring& name,
                        const std::wstring& fallback);

/// The lines that lie over the picture, from texts with places for the figures.
struct StatisticsTexts {
    std::wstring stream;  // codec, width, height
    std::wstring frames;  // received, decoded, shown
    std::wstring totals;  // likewise
    std::wstring link;    // protocol, reconnections
};
std::wstring OverlayText(const StreamStatistics& statistics, const StatisticsTexts& texts);

}  // namespace norix
