#pragma once

#include <array>

#include "framework/Event.h"

namespace norix::events {

using framework::Event;

// The control's events, numbered in the order of their declaration in the type library.

inline constexpr Event<short> OnConnStatus{1, L"OnConnStatus"};
inline constexpr Event<long> OnRecordStatus{2, L"OnRecordStatus"};
inline constexpr Event<VARIANT*> OnRequestFileName{3, L"OnRequestFileName"};
inline constexpr Event<short, short> OnMDAlert{4, L"OnMDAlert"};
inline constexpr Event<long> OnVideoFrameRate{5, L"OnVideoFrameRate"};
inline constexpr Event<long, long> OnResolutionChanged{6, L"OnResolutionChanged"};
inline constexpr Event<long, long> OnDIOStatus{7, L"OnDIOStatus"};
inline constexpr Event<long, long, bool, VARIANT*> OnNewFrame{8, L"OnNewFrame"};
inline constexpr Event<long, long> OnMouseClick{9, L"OnMouseClick"};
inline constexpr Event<long, long> OnRMouseClick{10, L"OnRMouseClick"};
inline constexpr Event<BSTR*> OnDrop{11, L"OnDrop"};
inline constexpr Event<long, long> OnMouseUp{12, L"OnMouseUp"};
inline constexpr Event<long, long> OnMouseMove{13, L"OnMouseMove"};
inline constexpr Event<long, long> OnMouseDown{14, L"OnMouseDown"};
inline constexpr Event<long, long> OnRMouseUp{15, L"OnRMouseUp"};
inline constexpr Event<long, long> OnRMouseDown{16, L"OnRMouseDown"};
inline constexpr Event<long, long> OnRMouseDbClick{17, L"OnRMouseDbClick"};
inline constexpr Event<long, long> OnMouseDbClick{18, L"OnMouseDbClick"};
inline constexpr Event<double> FramePerSec{19, L"FramePerSec"};
inline constexpr Event<long, long, long, long, VARIANT*> OnNotifySnapshotData{20, L"OnNotifySnapshotData"};
inline constexpr Event<long> OnUserStreamSelChanged{21, L"OnUserStreamSelChanged"};
inline constexpr Event<long, long, BSTR*> OnIVAEvent{22, L"OnIVAEvent"};
inline constexpr Event<long, long, long> OnGeneralEvent{23, L"OnGeneralEvent"};
inline constexpr Event<long, long, long> OnMouseWheel{24, L"OnMouseWheel"};

/// All of them as data: a test compares it with the type library.
inline constexpr std::array kAll{
    Describe(OnConnStatus),
    Describe(OnRecordStatus),
    Describe(OnRequestFileName),
    Describe(OnMDAlert),
    Describe(OnVideoFrameRate),
    Describe(OnResolutionChanged),
    Describe(OnDIOStatus),
    Describe(OnNewFrame),
    Describe(OnMouseClick),
    Describe(OnRMouseClick),
    Describe(OnDrop),
    Describe(OnMouseUp),
    Describe(OnMouseMove),
    Describe(OnMouseDown),
    Describe(OnRMouseUp),
    Describe(OnRMouseDown),
    Describe(OnRMouseDbClick),
    Describe(OnMouseDbClick),
    Describe(FramePerSec),
    Describe(OnNotifySnapshotData),
    Describe(OnUserStreamSelChanged),
    Describe(OnIVAEvent),
    Describe(OnGeneralEvent),
    Describe(OnMouseWheel),
};

}  // namespace norix::events
