// The dispatch table: the automation interface as data.

#include <iterator>

#include "control/NorixSDKCtl.h"

namespace norix {

namespace {

using framework::AccessorProperty;
using framework::DispatchMember;
using framework::Method;
using framework::Persistence;
using framework::ReadOnlyProperty;
using P = ControlProperties;
using C = CNorixSDKCtrl;

/// A stored property of the control. Its change handler marks it modified unless it has more to do.
template <auto Member, auto Changed = &C::OnPropertyModified>
constexpr DispatchMember Stored(DISPID id, const wchar_t* name, Persistence persistence = Persistence::Full,
                                bool handlerNeedsWindow = false) {
    return framework::StoredProperty<C, Member, Changed>(id, name, persistence, handlerNeedsWindow);
}

constexpr bool kNeedsWindow = true;

constexpr DispatchMember kMembers[] = {
    Stored<&P::serverIP>(1, L"ServerIP"),
    Stored<&P::recordVideoPath, &C::OnRecordSettingsChanged>(2, L"RecordVideoPath"),
    Stored<&P::motionEditMode, &C::OnMotionEditModeChanged>(3, L"MotionEditMode", Persistence::Full,
                                                            kNeedsWindow),
    Stored<&P::recordMaxFileSize, &C::OnRecordSettingsChanged>(4, L"RecordMaxFileSize"),
    Stored<&P::recordMaxFileTimeLength, &C::OnRecordMaxFileTimeLengthChanged>(5, L"RecordMaxFileTimeLength"),
    Stored<&P::username, &C::OnSignInChanged>(6, L"username"),
    Stored<&P::password, &C::OnSignInChanged>(7, L"password", Persistence::LoadOnly),
    Stored<&P::recordManualNaming, &C::OnRecordSettingsChanged>(8, L"RecordManualNaming"),
    Stored<&P::httpPort, &C::OnHttpPortChanged>(9, L"HttpPort"),
    Stored<&P::forceGDI, &C::OnForceGDIChanged>(10, L"ForceGDI"),
    Stored<&P::enableAudioControl, &C::OnEnableAudioControlChanged>(11, L"EnableAudioControl",
                                                                    Persistence::Full, kNeedsWindow),
    Stored<&P::magicCode, &C::OnMagicCodeChanged>(12, L"MagicCode", Persistence::Full, kNeedsWindow),
    Stored<&P::voiceMute, &C::OnVoiceMuteChanged>(13, L"VoiceMute"),
    Stored<&P::voiceVolume, &C::OnVoiceVolumeChanged>(14, L"VoiceVolume"),
    Stored<&P::showMDWindow, &C::OnShowMDWindowChanged>(15, L"ShowMDWindow"),
    Stored<&P::notifyVideoData, &C::OnNotifyVideoDataChanged>(16, L"NotifyVideoData"),
    Stored<&P::notifyNewPacket, &C::OnNotifyNewPacketChanged>(17, L"NotifyNewPacket"),
    Stored<&P::deInterlace, &C::OnDeInterlaceChanged>(18, L"DeInterlace"),
    Stored<&P::clientSettingMode, &C::OnClientSettingModeChanged>(19, L"ClientSettingMode"),
    Stored<&P::videoProtocol>(20, L"VideoProtocol"),
    Stored<&P::display, &C::OnDisplayChanged>(21, L"Display"),
    ReadOnlyProperty<&C::GetConnectStatus>(22, L"ConnectStatus"),
    Stored<&P::mediaType>(23, L"MediaType"),
    ReadOnlyProperty<&C::GetVideoFrameRate>(24, L"VideoFrameRate"),
    Stored<&P::recordFileName, &C::OnRecordSettingsChanged>(25, L"RecordFileName"),
    ReadOnlyProperty<&C::GetStreamType>(26, L"GetStreamType"),
    AccessorProperty<&C::GetIgnoreBorder, &C::SetIgnoreBorder>(27, L"IgnoreBorder", Persistence::Full),
    AccessorProperty<&C::GetIgnoreCaption, &C::SetIgnoreCaption>(28, L"IgnoreCaption", Persistence::Full),
    AccessorProperty<&C::GetServerModelType, &C::SetServerModelType>(29, L"ServerModelType"),
    Stored<&P::decodeAV, &C::OnDecodeAVChanged>(30, L"DecodeAV"),
    Stored<&P::recordStatus>(31, L"RecordStatus", Persistence::None),
    Stored<&P::connectionTimeout, &C::OnConnectionTimeoutChanged>(32, L"ConnectionTimeout"),
    Stored<&P::autoReconnect>(33, L"AutoReconnect"),
    ReadOnlyProperty<&C::GetFrameRate>(34, L"FrameRate"),
    Stored<&P::chIndex, &C::OnCHIndexChanged>(35, L"CHIndex"),
    AccessorProperty<&C::GetInterfaceAddress, &C::SetInterfaceAddress>(36, L"InterfaceAddress",
                                                                       Persistence::Full),
    AccessorProperty<&C::GetStreamingType, &C::SetStreamingType>(37, L"StreamingType", Persistence::Full),
    Method<&C::Connect>(38, L"Connect"),
    Method<&C::GetPresetName>(39, L"GetPresetName"),
    Method<&C::SavePresetPosition>(40, L"SavePresetPosition"),
    Method<&C::SendCameraCommand>(41, L"SendCameraCommand"),
    Method<&C::StartRecording>(42, L"StartRecording"),
    Method<&C::StopRecording>(43, L"StopRecording"),
    Method<&C::HttpCommand>(44, L"HttpCommand"),
    Method<&C::PreviewFullScreen>(45, L"PreviewFullScreen"),
    Method<&C::SaveClientSetting>(46, L"SaveClientSetting"),
    Method<&C::SetClientReg>(47, L"SetClientReg"),
    Method<&C::GetClientReg>(48, L"GetClientReg"),
    Method<&C::Disconnect>(49, L"Disconnect"),
    Method<&C::AudioPost>(50, L"AudioPost"),
    Method<&C::SetMulticastInfo>(51, L"SetMulticastInfo"),
    Method<&C::SaveSnapShot>(52, L"SaveSnapShot"),
    Method<&C::GetSnapshotData>(53, L"GetSnapshotData"),
    Stored<&P::streamIndex, &C::OnStreamIndexChanged>(54, L"StreamIndex"),
    Stored<&P::iFrameOnly, &C::OnIFrameOnlyChanged>(55, L"IFrameOnly"),
    Method<&C::CreateOverlappedWindow>(56, L"CreateOverlappedWindow"),
    Method<&C::DeleteOverlappedWindow>(57, L"DeleteOverlappedWindow"),
    Method<&C::GetOverlappedWindowInJSON>(58, L"GetOverlappedWindowInJSON"),
    Method<&C::SetVideoSize>(59, L"SetVideoSize"),
    Method<&C::ConvertCoordinateInJSON>(60, L"ConvertCoordinateInJSON"),
    Method<&C::RemoveAllGraphicObjs>(61, L"RemoveAllGraphicObjs"),
    Method<&C::RemoveGraphicObj>(62, L"RemoveGraphicObj"),
    Method<&C::CreatePen>(63, L"CreatePen"),
    Method<&C::CreateBrush>(64, L"CreateBrush"),
    Method<&C::CreateFont>(65, L"CreateFont"),
    Method<&C::DrawLine>(66, L"DrawLine"),
    Method<&C::DrawRectangle>(67, L"DrawRectangle"),
    Method<&C::DrawEllipse>(68, L"DrawEllipse"),
    Method<&C::DrawText>(69, L"DrawText"),
    Method<&C::SetMulticastInfoEx>(70, L"SetMulticastInfoEx"),
    Stored<&P::captionInfo, &C::OnCaptionInfoChanged>(71, L"CaptionInfo"),
    Method<&C::ConnectServer>(72, L"ConnectServer"),
    Method<&C::DisconnectServer>(73, L"DisconnectServer"),
    Stored<&P::mediaServiceUri>(74, L"MediaServiceUri"),
    Stored<&P::profileToken>(75, L"ProfileToken"),
    Stored<&P::streamUri>(76, L"StreamUri"),
    Method<&C::SetMulticastInfoByType>(77, L"SetMulticastInfoByType"),
    Method<&C::RotateVideo>(78, L"RotateVideo"),
    Stored<&P::versionInfo>(79, L"VersionInfo", Persistence::None),
    Stored<&P::showUserAuthenticationDialog>(80, L"ShowUserAuthenticationDialog"),
    Method<&C::ChangeDecodeSpeed>(81, L"ChangeDecodeSpeed"),
    Method<&C::AudioPostEx>(82, L"AudioPostEx"),
    Method<&C::EnableDigitalPTZ>(83, L"EnableDigitalPTZ"),
};
static_assert(std::size(kMembers) == 45 + 38, "45 properties and 38 methods");

}  // namespace

const framework::DispatchTable& CNorixSDKCtrl::Table() {
    static const framework::DispatchTable table(kMembers);
    return table;
}

}  // namespace norix
