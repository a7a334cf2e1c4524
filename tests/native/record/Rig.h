#pragma once

#include <functional>
#include <string>
#include <vector>

#include "FakeDisk.h"
#include "media/CtrlParam.h"
#include "record/RecordController.h"
#include "record/RecordQueue.h"
#include "record/RecordWriter.h"

namespace norix::tests {

/// What a recording can be of.
struct Streams {
    VideoCodec video;
    AudioCodec audio;
    StreamForm form;
};
inline constexpr Streams kStreams[] = {
    {VideoCodec::H264, AudioCodec::Pcmu, StreamForm::Bare},
    {VideoCodec::H264, AudioCodec::Aac, StreamForm::Bare},
    {VideoCodec::H264, AudioCodec::None, StreamForm::WithHeader},
    {VideoCodec::H265, AudioCodec::Pcmu, StreamForm::WithHeader},
    {VideoCodec::H265, AudioCodec::None, StreamForm::Bare},
    {VideoCodec::Mpeg4, AudioCodec::Pcmu, StreamForm::WithHeader},
    {VideoCodec::Mpeg4, AudioCodec::Aac, StreamForm::Bare},
    {VideoCodec::Mjpeg, AudioCodec::Pcmu, StreamForm::WithHeader},
    {VideoCodec::Mjpeg, AudioCodec::None, StreamForm::Bare},
    {VideoCodec::None, AudioCodec::Pcmu, StreamForm::WithHeader},
    {VideoCodec::None, AudioCodec::Pcmu, StreamForm::Unknown},
    {VideoCodec::None, AudioCodec::Aac, StreamForm::Bare},
};

/// A recording on one thread, with a disk in memory and a clock that the test moves: frames go in by Video
/// and Audio, and what they lead to has happened when these return.
class Rig : public RecordEnvironment {
  public:
    explicit Rig(VideoCodec codec = VideoCodec::H264, AudioCodec sound = AudioCodec::Pcmu,
                 std::size_t queueBytes = 1 << 22);

    void Video(const Bytes& frame, std::uint32_t pts);
    void Audio(const Bytes& frame, std::uint32_t pts);
    /// So many pictures at this distance, each with a number of its own, key frames every so often.
    void Pictures(int count, int intervalMs, int group = 10);
    /// Fifty pictures and as many blocks of sound, in two seconds, of a stream of this kind.
    void Send(const Streams& streams);
    void Stop(RecordFormat format = RecordFormat::Avi);
    void RunWriter();
    int Count(RecordStatus status) const;

    // RecordEnvironment
    std::uint32_t NowMs() override { return now; }
    void Report(RecordStatus status) override { reports.push_back(status); }
    void WishKeyFrame() override { ++wishes; }
    LocalTime Now() override;
    std::wstring NameFormat() override { return nameFormat; }
    Question AskFileName(const LocalTime& time) override;
    Created Create(const std::wstring& folder, const std::wstring& name,
                   const std::wstring& extension) override {
        return disk.Create(folder, name, extension);
    }

    FakeDisk disk;
    std::uint32_t now = 1000;
    std::vector<RecordStatus> reports;
    int wishes = 0;
    int questions = 0;
    std::function<void()> onQuestion;
    Question question = Question::Asked;
    std::wstring nameFormat;
    bool writerRuns = true;
    std::vector<Bytes> pictures;  // that Pictures and Send have sent
    std::vector<Bytes> sounds;    // that Send has sent

    CCtrlParam param;
    RecordQueue queue;
    RecordWriter writer;
    RecordController controller;
};

/// Bytes that look like a frame of that kind; `number` makes each one another.
Bytes KeyFrame(VideoCodec codec, std::uint32_t number, std::size_t size = 400);
Bytes OtherFrame(VideoCodec codec, std::uint32_t number, std::size_t size = 200);
/// H.264: a key frame without parameter sets.
Bytes BareIdr(std::uint32_t number, std::size_t size = 400);
/// The frame behind a header of the camera's, 0xE0 for pictures, 0xC0 for sound.
Bytes WithHeader(const Bytes& frame, std::uint8_t kind);
Bytes Sound(std::size_t size, std::uint8_t value);

}  // namespace norix::tests
