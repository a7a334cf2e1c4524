#include "camera/CommandTables.h"

#include <algorithm>
#include <cstdio>

namespace norix {
namespace {

std::string TwoDigits(std::int32_t number) {
    char text[16];
    std::snprintf(text, sizeof text, "%02d", static_cast<int>(number));
    return text;
}

std::string Prefix(std::string_view begin, const KeyRules& rules) {
    std::string prefix(begin);
    if (rules.severalChannels) prefix += TwoDigits(rules.selection.channel);
    return prefix + "_";
}

std::string CodecSuffix(VideoCodec codec) {
    switch (codec) {
        case VideoCodec::Mpeg4:
            return "_mp4v";
        case VideoCodec::Mjpeg:
            return "_mjpg";
        case VideoCodec::H264:
            return "_h264";
        case VideoCodec::H265:
            return "_h265";
        default:
            return "";
    }
}

std::string FrameRateKey(const std::string& prefix, const KeyRules& rules) {
    if (!rules.codecListKnown) return prefix + "maxframe";
    return prefix + "maxframe" + TwoDigits(rules.selection.stream) + CodecSuffix(rules.selection.codec);
}

}  // namespace

std::vector<CgiParam> SystemInformationTable(SystemInformation& info) {
    return {
        {"Model", info.model},
        {"HostName", info.hostName},
        {"SerialNumber", info.serialNumber},
        {"BIOSVersion", info.biosVersion},
        {"RTSPPort", info.rtspPort},
        {"CameraNumber", info.cameraNumber},
        {"UartNumber", info.uartNumber},
        {"DINumber", info.diNumber},
        {"PowerNumber", info.powerNumber},
        {"DONumber", info.doNumber},
        {"RoiNumber", info.roiNumber},
        {"PrivacyMaskNumber", info.privacyMaskNumber},
        {"MotionDetectNumber", info.motionDetectNumber},
        {"IvaIvsNumber", info.ivaIvsNumber},
        {"DemisterFunc", info.demisterFunc},
        {"TamperFunc", info.tamperFunc},
        {"DNRFunc", info.dnrFunc},
        {"VideoCodec", info.videoCodec},
        {"FirmwareVersion", info.firmwareVersion},
        {"FirmwareBuildTime", info.firmwareBuildTime},
        {"MotionDetectionMethod", info.motionDetectionMethod},
        {"MagicCode", info.magicCode},
        {"MACAddress", info.macAddress},
        {"DeInterlace", info.deInterlace},
        {"ONVIFSupport", info.onvifSupport},
        {"PTZFunc", info.ptzFunc},
        {"ZoomFunc", info.zoomFunc},
        {"PanTiltFunc", info.panTiltFunc},
    };
}

std::vector<CgiParam> PortTable(CameraPorts& ports) {
    return {
        {"rtsp_rtspport", ports.rtsp},
        {"http_httpport", ports.http},
        {"http_httpsport", ports.https},
    };
}

std::vector<CgiParamW> VideoSettingsTable(const KeyRules& rules, VideoSettings& settings,
                                          std::wstring& codepage) {
    const std::string prefix = Prefix(rules.perVideoSource ? "videosourcecfg01" : "video", rules);
    return {
        {prefix + "imprinttimestamp", settings.imprintTimestamp},
        {prefix + "text", settings.text},
        {prefix + "codepage", codepage},
        {FrameRateKey(prefix, rules), settings.frameRateLimit},
        {"videoencoderoptions_frameratelimit", settings.frameRateLimit},
        {"video_frameratetype", settings.frameRateType},
        {"video_actualmodulation", settings.standard},
        {"videoresolutionoptions_modulation", settings.standard},
    };
}

std::vector<CgiParam> MotionTable(const KeyRules& rules, MotionSettings& settings) {
    const std::string prefix = Prefix("motiondetect", rules);
    std::vector<CgiParam> table{
        {"motiondetect_enable", settings.enable},          {"eventconfig_vmdenable", settings.vmdEnable},
        {"motiondetect_showalert", settings.showAlert},    {prefix + "usestream", settings.useStream},
        {prefix + "winsensitivity", settings.sensitivity},
    };
    const auto addPerWindow = [&](const char* key, auto MotionWindow::*field) {
        std::int32_t number = 0;
        for (MotionWindow& window : settings.windows)
            table.emplace_back(prefix + key + TwoDigits(++number), window.*field);
    };
    addPerWindow("winname", &MotionWindow::name);
    addPerWindow("winenable", &MotionWindow::enable);
    addPerWindow("winleft", &MotionWindow::left);
    addPerWindow("wintop", &MotionWindow::top);
    addPerWindow("winwidth", &MotionWindow::width);
    addPerWindow("winheight", &MotionWindow::height);
    addPerWindow("winobjsize", &MotionWindow::objectSize);
    table.emplace_back(prefix + "refwidth", settings.referenceWidth);
    table.emplace_back(prefix + "refheight", settings.referenceHeight);
    return table;
}

}  // namespace norix
