#include "Rig.h"

#include <algorithm>

namespace norix::tests {
namespace {

MediaSettings SmallPools() {
    MediaSettings settings;
    settings.videoBufferNum = 1;
    settings.audioBufferNum = 1;
    return settings;
}

// 320 x 240, baseline.
const Bytes kSps = {0, 0, 0,    1, 0x67, 0x42, 0xC0, 0x0D, 0xD9, 0x01, 0x41, 0xFB, 0x01, 0x10,
                    0, 0, 0x03, 0, 0x10, 0,    0,    0x03, 0x03, 0x20, 0xF1, 0x42, 0xA4, 0x80};
const Bytes kPps = {0, 0, 0, 1, 0x68, 0xCB, 0x83, 0xCB, 0x20};
const Bytes kIdr = {0, 0, 0, 1, 0x65, 0x88, 0x84};    // first_mb_in_slice 0, slice_type 7 (I)
const Bytes kOther = {0, 0, 0, 1, 0x41, 0x9A, 0x24};  // the same, slice_type 5 (P)
// The same as H.265 writes it.
const Bytes kH265Vps = {0, 0, 0,    1, 0x40, 1, 0xc, 1, 0xff, 0xff, 1,    0x60, 0, 0,
                        3, 0, 0x90, 0, 0,    3, 0,   0, 3,    0,    0x3c, 0xba, 2, 0x40};
const Bytes kH265Sps = {0,    0,    0,    1,    0x42, 1, 1,    1,    0x60, 0,    0,   3,    0,    0x90, 0,
                        0,    3,    0,    0,    3,    0, 0x3c, 0xa0, 0xa,  8,    0xf, 0x16, 0x5b, 0xa4, 0xa4,
                        0xc2, 0xf0, 0x16, 0x80, 0x80, 0, 0,    3,    0,    0x80, 0,   0,    0xc,  0x84};
const Bytes kH265Pps = {0, 0, 0, 1, 0x44, 1, 0xc0, 0x73, 0xc1, 0x89};
const Bytes kH265Idr = {0, 0, 0, 1, 0x26, 1, 0xAF};  // first slice of its picture
const Bytes kH265Other = {0, 0, 0, 1, 0x02, 1, 0xD0};
// A layer of 320 x 240: visual object sequence, object, layer.
const Bytes kVol = {0, 0, 1, 0xB0, 1, 0,    0,    1,    0xB5, 0x89, 0x13, 0,    0,    1,    0,
                    0, 0, 1, 0x20, 0, 0xC4, 0x8D, 0x88, 0x00, 0xCD, 0x0A, 0x04, 0x1E, 0x14, 0x43};
const Bytes kIVop = {0, 0, 1, 0xB6, 0x10};
const Bytes kPVop = {0, 0, 1, 0xB6, 0x50};
const Bytes kJpeg = {0xFF, 0xD8, 0xFF, 0xC0, 0, 11, 8, 0, 240, 1, 64, 1, 1, 0x11, 0, 0xFF, 0xDA, 0, 2};

Bytes Make(std::initializer_list<Bytes> parts, std::uint32_t number, std::size_t size) {
    Bytes frame;
    for (const Bytes& part : parts)
        frame.insert(frame.end(), part.begin(), part.end());
    for (int shift = 24; shift >= 0; shift -= 8)
        frame.push_back(static_cast<std::uint8_t>(0x80 | (number >> shift & 0x7F)));
    while (frame.size() < size)
        frame.push_back(static_cast<std::uint8_t>(0x40 + frame.size() % 64));
    return frame;
}

}  // namespace

Bytes KeyFrame(VideoCodec codec, std::uint32_t number, std::size_t size) {
    if (codec == VideoCodec::H264) return Make({kSps, kPps, kIdr}, number, size);
    if (codec == VideoCodec::H265) return Make({kH265Vps, kH265Sps, kH265Pps, kH265Idr}, number, size);
    if (codec == VideoCodec::Mpeg4) return Make({kVol, kIVop}, number, size);
    return Make({kJpeg}, number, size);
}

Bytes OtherFrame(VideoCodec codec, std::uint32_t number, std::size_t size) {
    if (codec == VideoCodec::H264) return Make({kOther}, number, size);
    if (codec == VideoCodec::H265) return Make({kH265Other}, number, size);
    if (codec == VideoCodec::Mpeg4) return Make({kPVop}, number, size);
    return Make({kJpeg}, number, size);
}

Bytes BareIdr(std::uint32_t number, std::size_t size) {
    return Make({kIdr}, number, size);
}

Bytes WithHeader(const Bytes& frame, std::uint8_t kind) {
    Bytes whole = {0, 0, 1, kind, 0, 0, 0, 0, 27, 1};
    whole.resize(kind == 0xC0 ? 32 : 36);
    whole.insert(whole.end(), frame.begin(), frame.end());
    return whole;
}

Bytes Sound(std::size_t size, std::uint8_t value) {
    return Bytes(size, value);
}

Rig::Rig(VideoCodec codec, AudioCodec sound, std::size_t queueBytes)
    : param(SmallPools()), writer(*this, queue), controller(param, *this, queue, writer) {
    param.videoCodec.Set(codec);
    param.audioCodec.Set(sound);
    param.mediaType.Set(codec == VideoCodec::None   ? MediaType::Audio
                        : sound == AudioCodec::None ? MediaType::Video
                                                    : MediaType::AudioVideo);
    if (sound == AudioCodec::Aac) {
        param.aacConfig.Set({0x14, 0x08, 0, 0});  // AAC-LC, 16 kHz, mono
        param.audioSampleRate.Set(16000);
    }
    param.streamForm.Set(StreamForm::Bare);
    queue.Reserve(queueBytes);
    writer.SetNaming({L"D:/", L"", false});
    controller.Resume();
}

void Rig::Video(const Bytes& frame, std::uint32_t pts) {
    const bool h264 = param.videoCodec.Get() == VideoCodec::H264;
    controller.RecMedia(h264 ? RecordMedia::VideoH264 : RecordMedia::VideoMpeg4OrMjpeg, frame.data(),
                        frame.size(), pts);
    RunWriter();
}

void Rig::Audio(const Bytes& frame, std::uint32_t pts) {
    if (!controller.IsRecordingRequested()) return;
    controller.RecMedia(RecordMedia::Audio, frame.data(), frame.size(), pts);
    RunWriter();
}

void Rig::Pictures(int count, int intervalMs, int group) {
    const VideoCodec codec = param.videoCodec.Get();
    for (int i = 0; i < count; ++i) {
        const auto number = static_cast<std::uint32_t>(pictures.size());
        pictures.push_back(number % static_cast<unsigned>(group) == 0 ? KeyFrame(codec, number)
                                                                      : OtherFrame(codec, number));
        Video(pictures.back(), now);
        now += static_cast<std::uint32_t>(intervalMs);
    }
}

void Rig::Send(const Streams& streams) {
    const auto [codec, audio, form] = streams;
    const bool header = form == StreamForm::WithHeader;
    param.streamForm.Set(form);
    for (std::uint32_t i = 0; i < 50; ++i, now += 40) {
        if (codec != VideoCodec::None) {
            pictures.push_back(i % 10 == 0 ? KeyFrame(codec, i, 400 + i) : OtherFrame(codec, i, 200 + i));
            Video(header ? WithHeader(pictures.back(), 0xE0) : pictures.back(), now);
        }
        if (audio != AudioCodec::None) {
            sounds.push_back(Sound(320 + i % 2, static_cast<std::uint8_t>(i + 1)));
            // An AAC frame of 64 ms goes with every 40 ms here: what counts is that none is lost.
            Audio(header ? WithHeader(sounds.back(), 0xC0) : sounds.back(),
                  audio == AudioCodec::Aac ? 1000 + i * 64 : now);
        }
    }
}

void Rig::Stop(RecordFormat format) {
    controller.Stop(format);
    RunWriter();
}

void Rig::RunWriter() {
    if (!writerRuns) return;
    do
        writer.Step(0);
    while (!queue.Empty());
}

int Rig::Count(RecordStatus status) const {
    return static_cast<int>(std::count(reports.begin(), reports.end(), status));
}

LocalTime Rig::Now() {
    LocalTime time;
    time.year = 2024;
    time.month = 5;
    time.day = 6;
    time.second = static_cast<std::uint16_t>(now / 1000 % 60);
    time.minute = static_cast<std::uint16_t>(now / 60000 % 60);
    time.hour = static_cast<std::uint16_t>(now / 3600000 % 24);
    time.milliseconds = static_cast<std::uint16_t>(now % 1000);
    return time;
}

RecordEnvironment::Question Rig::AskFileName(const LocalTime&) {
    ++questions;
    if (onQuestion) onQuestion();
    return question;
}

}  // namespace norix::tests
