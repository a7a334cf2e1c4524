#pragma once

// The private messages of the control's window: how worker threads hand results to the window thread.
// Messages whose parameters are pointers are sent, so that the memory stays valid while it is read; all
// others are posted.

#include <cstdint>

namespace norix {

inline constexpr std::uint32_t kControlMessageBase = 0x8000;  // WM_APP

///                                                     wParam               lParam
enum ControlMessage : std::uint32_t {
    WM_OnMotionWindowUpdate = kControlMessageBase + 3,  // motion window index  0
    WM_OnDIOStatus = kControlMessageBase + 4,           // input state          output state
    WM_OnRecordStatus = kControlMessageBase + 5,        // ERecordStatus        0
    WM_OnResolutionChanged = kControlMessageBase + 6,   // width                height
    WM_OnMDAlert = kControlMessageBase + 7,             // motion window id     percentage
    WM_OnNewFrame = kControlMessageBase + 8,            // sent: NewFrameDescription*  bytes
    WM_OnRequestFileName = kControlMessageBase + 9,     // sent: SYSTEMTIME*    0
    WM_OnNewPacket = kControlMessageBase + 10,          // reserved, nobody sends it
    WM_OnConnectStatus = kControlMessageBase + 11,      // EConnectStatus       0
    WM_OnDisConnect = kControlMessageBase + 12,         // 0                    0
    WM_OnForceI = kControlMessageBase + 13,             // channel              stream
    WM_OnSnapshotData = kControlMessageBase + 14,       // sent: bytes          SnapshotDescription*
    WM_OnIVAEvent = kControlMessageBase + 15,           // analytics index      function type
    WM_OnGeneralEvent = kControlMessageBase + 16,       // event type           (index << 8) | status
    WM_OnShowAuthDialog = kControlMessageBase + 17,     // 0                    0
    WM_OnConnectStep = kControlMessageBase + 18,        // number of the step   0
    WM_OnSaveMotion = kControlMessageBase + 19,         // 0                    0
    WM_OnTalkState = kControlMessageBase + 20,          // 0                    0
    WM_OnTalkWish = kControlMessageBase + 21,           // 0                    0
};

/// wParam of WM_OnNewFrame.
struct NewFrameDescription {
    std::uint32_t frameType = 0;   // 0 = key frame
    std::uint32_t signal = 1;      // 0 = the camera reports that it has lost its video signal
    std::uint32_t byteLength = 0;  // bytes at lParam
};

/// lParam of WM_OnSnapshotData.
struct SnapshotDescription {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t byteLength = 0;  // bytes at wParam
    std::int32_t format = 0;       // that was asked for
};

}  // namespace norix
