#pragma once

#include <array>

#include "control/Enumerations.h"
#include "media/MediaTypes.h"
#include "media/MulticastInfo.h"

namespace norix::test {

// The automation interface as it was published: what hosts have compiled in or written into their pages. A
// member may be added; none of these ever changes.

inline constexpr std::array kPublishedMembers{
    "1 string ServerIP",
    "2 string RecordVideoPath",
    "3 BOOL MotionEditMode",
    "4 long RecordMaxFileSize",
    "5 long RecordMaxFileTimeLength",
    "6 string username",
    "7 string password",
    "8 BOOL RecordManualNaming",
    "9 long HttpPort",
    "10 BOOL ForceGDI",
    "11 BOOL EnableAudioControl",
    "12 string MagicCode",
    "13 BOOL VoiceMute",
    "14 long VoiceVolume",
    "15 BOOL ShowMDWindow",
    "16 BOOL NotifyVideoData",
    "17 BOOL NotifyNewPacket",
    "18 BOOL DeInterlace",
    "19 BOOL ClientSettingMode",
    "20 short VideoProtocol",
    "21 BOOL Display",
    "22 short ConnectStatus read-only",
    "23 short MediaType",
    "24 long VideoFrameRate read-only",
    "25 string RecordFileName",
    "26 short GetStreamType read-only",
    "27 BOOL IgnoreBorder",
    "28 BOOL IgnoreCaption",
    "29 string ServerModelType",
    "30 BOOL DecodeAV",
    "31 short RecordStatus",
    "32 long ConnectionTimeout",
    "33 BOOL AutoReconnect",
    "34 double FrameRate read-only",
    "35 long CHIndex",
    "36 string InterfaceAddress",
    "37 long StreamingType",
    "38 long Connect()",
    "39 string GetPresetName()",
    "40 void SavePresetPosition(string lpszPresetName, short sPresetIndex)",
    "41 long SendCameraCommand(string lpszstrCommand, short sCameraParam)",
    "42 long StartRecording(short sRecordFormat)",
    "43 long StopRecording(short sRecordFormat)",
    "44 string HttpCommand(string lpszSendType, string lpszServerIP, string lpszURLString, BOOL bReturnVal)",
    "45 void PreviewFullScreen(BOOL bFull)",
    "46 short SaveClientSetting()",
    "47 void SetClientReg(string lpszModel, long lChannelID, string lpszName, string lpszValue)",
    "48 string GetClientReg(string lpszModel, long lChannelID, string lpszName, string lpszDefaultValue)",
    "49 long Disconnect()",
    "50 BOOL AudioPost(BOOL bEnable)",
    "51 void SetMulticastInfo(string lpszIP, string lpszVideoPort, string lpszAudioPort)",
    "52 void SaveSnapShot(string lpszSavePath, string lpszSaveFileName, BOOL bAuto)",
    "53 void GetSnapshotData(long lPicFormat)",
    "54 long StreamIndex",
    "55 BOOL IFrameOnly",
    "56 long CreateOverlappedWindow(long lIndex, long lLeft, long lTop, long lWidth, long lHeight, BOOL "
    "bShow, BOOL bResizable, string szCaption)",
    "57 long DeleteOverlappedWindow(long lIndex)",
    "58 string GetOverlappedWindowInJSON(long lIndex)",
    "59 long SetVideoSize(long lWidth, long lHeight)",
    "60 string ConvertCoordinateInJSON(long lInputX, long lInputY, BOOL bVideoToWindow)",
    "61 long RemoveAllGraphicObjs()",
    "62 long RemoveGraphicObj(long lHandle)",
    "63 long CreatePen(short sRed, short sGreen, short sBlue, short sLineWidth, short sPenStyle)",
    "64 long CreateBrush(short sRed, short sGreen, short sBlue)",
    "65 long CreateFont(short sRed, short sGreen, short sBlue, long lPointSize, string szFaceName)",
    "66 long DrawLine(long lBeginX, long lBeginY, long lEndX, long lEndY, long lPenHandle)",
    "67 long DrawRectangle(long lLeft, long lTop, long lWidth, long lHeight, long lPenHandle, long "
    "lBrushHandle)",
    "68 long DrawEllipse(long lLeft, long lTop, long lWidth, long lHeight, long lPenHandle, long "
    "lBrushHandle)",
    "69 long DrawText(string szText, long lLeft, long lTop, long lWidth, long lHeight, short sFormat, long "
    "lFontHandle, long lBrushHandle)",
    "70 void SetMulticastInfoEx(string lpszVideoAddr, long lVideoPort, string lpszAudioAddr, long "
    "lAudioPort)",
    "71 long CaptionInfo",
    "72 long ConnectServer()",
    "73 long DisconnectServer()",
    "74 string MediaServiceUri",
    "75 string ProfileToken",
    "76 string StreamUri",
    "77 long SetMulticastInfoByType(long lType, string lpszAddress, long lPort)",
    "78 long RotateVideo(long lRotateAngleDegree)",
    "79 string VersionInfo",
    "80 BOOL ShowUserAuthenticationDialog",
    "81 long ChangeDecodeSpeed(long speed)",
    "82 BOOL AudioPostEx(BOOL bEnable, string lpszAudioPostUri, short AudioCodecType, long sSampleRate)",
    "83 void EnableDigitalPTZ(BOOL bEnable)",
};

inline constexpr std::array kPublishedEvents{
    "1 void OnConnStatus(short iConnectionStatus)",
    "2 void OnRecordStatus(long lStatus)",
    "3 void OnRequestFileName(variant& pvTime)",
    "4 void OnMDAlert(short iMotionID, short iPersentage)",
    "5 void OnVideoFrameRate(long lFrameRate)",
    "6 void OnResolutionChanged(long lWidth, long lHeight)",
    "7 void OnDIOStatus(long lDIStatus, long lDOStatus)",
    "8 void OnNewFrame(long lFrameType, long lFrameSize, BOOL bSignal, variant& pvFrameBuffer)",
    "9 void OnMouseClick(long lX, long lY)",
    "10 void OnRMouseClick(long lX, long lY)",
    "11 void OnDrop(string& pbstrMACAdd)",
    "12 void OnMouseUp(long lX, long lY)",
    "13 void OnMouseMove(long lX, long lY)",
    "14 void OnMouseDown(long lX, long lY)",
    "15 void OnRMouseUp(long lX, long lY)",
    "16 void OnRMouseDown(long lX, long lY)",
    "17 void OnRMouseDbClick(long lX, long lY)",
    "18 void OnMouseDbClick(long lX, long lY)",
    "19 void FramePerSec(double FrameRate)",
    "20 void OnNotifySnapshotData(long lPicFormat, long lWidth, long lHeight, long lDataSize, variant& "
    "pvData)",
    "21 void OnUserStreamSelChanged(long lStreamID)",
    "22 void OnIVAEvent(long lIndex, long lFunctionType, string& pbstrIVAStructInJSON)",
    "23 void OnGeneralEvent(long lEventType, long lIndex, long lStatus)",
    "24 void OnMouseWheel(long lDelta, long lX, long lY)",
};

/// As the library names and numbers a constant, and the one that the control's own code works with.
struct PublishedConstant {
    template <class Enumerator>
    constexpr PublishedConstant(const char* asPublished, Enumerator inTheCode)
        : row(asPublished), value(static_cast<long>(inTheCode)) {}
    const char* row;
    long value;
};
inline constexpr PublishedConstant kPublishedConstants[] = {
    {"ECaptionInfo eciNone = 0", eciNone},
    {"ECaptionInfo eciProtocol = 1", eciProtocol},
    {"ECaptionInfo eciTime = 2", eciTime},
    {"ECaptionInfo eciStatus = 4", eciStatus},
    {"ECaptionInfo eciAll = 255", eciAll},
    {"EConnectStatus ecsConnecting = 0", ecsConnecting},
    {"EConnectStatus ecsConnected = 1", ecsConnected},
    {"EConnectStatus ecsDisconnect = 2", ecsDisconnect},
    {"EConnectStatus ecsConnectFail = 3", ecsConnectFail},
    {"EConnectStatus ecsMulticastError = 4", ecsMulticastError},
    {"EConnectStatus ecsUserAuthenticationFail = 5", ecsUserAuthenticationFail},
    {"EConnectProtocol ecpNone = 0", ecpNone},
    {"EConnectProtocol ecpUDP = 1", ecpUDP},
    {"EConnectProtocol ecpTCP = 2", ecpTCP},
    {"EConnectProtocol ecpHTTP = 3", ecpHTTP},
    {"EConnectProtocol ecpMulticast = 4", ecpMulticast},
    {"EConnectProtocol ecpMulticastPush = 5", ecpMulticastPush},
    {"ECodecType ectNone = 0", VideoCodec::None},
    {"ECodecType ectMPEG4 = 1", VideoCodec::Mpeg4},
    {"ECodecType ectMJPEG = 2", VideoCodec::Mjpeg},
    {"ECodecType ectH264 = 4", VideoCodec::H264},
    {"EAudioCodecType eactNone = 0", AudioCodec::None},
    {"EAudioCodecType eactPCMU = 1", AudioCodec::Pcmu},
    {"EAudioCodecType eactAAC = 2", AudioCodec::Aac},
    {"EAudioCodecType eactPCM = 3", AudioCodec::Pcm},
    {"EMediaType emtAudioVideo = 0", norix::MediaType::AudioVideo},
    {"EMediaType emtVideo = 1", norix::MediaType::Video},
    {"EMediaType emtAudio = 2", norix::MediaType::Audio},
    {"ERecordStatus ersNone = 0", ersNone},
    {"ERecordStatus ersRecording = 1", ersRecording},
    {"ERecordStatus ersDiskFull = 2", ersDiskFull},
    {"ERecordStatus ersRecordStart = 3", ersRecordStart},
    {"ERecordStatus ersRecordStop = 4", ersRecordStop},
    {"ERecordStatus ersPathInvalid = 5", ersPathInvalid},
    {"ERecordStatus ersFileCreateFailed = 6", ersFileCreateFailed},
    {"ERecordStatus ersFileWriteFailed = 7", ersFileWriteFailed},
    {"EMulticastInfoType emiVideo = 0", emiVideo},
    {"EMulticastInfoType emiAudio = 1", emiAudio},
    {"EMulticastInfoType emiAudioBroadcast = 2", emiAudioBroadcast},
    {"EMulticastInfoType emiMetadata = 3", emiMetadata},
};

}  // namespace norix::test
