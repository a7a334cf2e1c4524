#pragma once

// What a camera says of itself. Texts are bytes as received. Integers may be anything: whoever uses one
// checks it.

#include <array>
#include <cstdint>
#include <string>

namespace norix {

struct SystemInformation {
    std::string model;
    std::string hostName;
    std::int32_t serialNumber = 0;
    std::string biosVersion;
    std::int32_t rtspPort = 0;
    std::int32_t cameraNumber = 0;
    std::int32_t uartNumber = 0;
    std::int32_t diNumber = 0;
    std::int32_t powerNumber = 0;
    std::int32_t doNumber = 0;
    std::int32_t roiNumber = 0;
    std::int32_t privacyMaskNumber = 0;
    std::int32_t motionDetectNumber = 0;
    std::int32_t ivaIvsNumber = 0;
    std::int32_t demisterFunc = 0;
    std::int32_t tamperFunc = 0;
    std::int32_t dnrFunc = 0;
    std::string videoCodec;
    std::string firmwareVersion;
    std::string firmwareBuildTime;
    std::int32_t motionDetectionMethod = 0;
    std::int32_t magicCode = 0;
    std::string macAddress;
    std::int32_t deInterlace = 0;
    std::int32_t onvifSupport = 0;
    std::int32_t ptzFunc = 0;
    std::int32_t zoomFunc = 0;
    std::int32_t panTiltFunc = 0;
};

struct VideoSettings {
    std::int32_t imprintTimestamp = 0;
    std::wstring text;  // the camera's name
    std::int32_t frameRateLimit = 0;
    std::int32_t frameRateType = 0;
    std::int32_t standard = 0;  // VideoStandard
};

struct MotionWindow {
    std::string name;
    std::int32_t enable = 0;
    std::int32_t left = 0;  // geometry in the frame of reference below
    std::int32_t top = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t objectSize = 0;
};

struct MotionSettings {
    std::int32_t enable = 0;
    std::int32_t vmdEnable = 0;
    std::int32_t showAlert = 0;
    std::int32_t useStream = 0;
    std::int32_t sensitivity = 0;
    std::array<MotionWindow, 3> windows;
    std::int32_t referenceWidth = 0;
    std::int32_t referenceHeight = 0;
};

}  // namespace norix
