// Frames of any content and order, from any kind of stream, on a disk that fails now and then: what is in the
// files is a strict reader's AVI.

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "RiffCheck.h"
#include "Rig.h"

using namespace norix;
using namespace norix::tests;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::size_t at = 0;
    const auto next = [&]() -> std::uint32_t { return at < size ? data[at++] : 0; };
    constexpr VideoCodec kVideo[] = {VideoCodec::H264, VideoCodec::Mpeg4, VideoCodec::Mjpeg, VideoCodec::None,
                                     VideoCodec::H265};
    constexpr AudioCodec kAudio[] = {AudioCodec::Pcmu, AudioCodec::Aac, AudioCodec::None};
    const std::uint32_t kind = next();
    Rig rig(kVideo[kind % 5], kAudio[kind / 5 % 3], 4096);
    rig.param.streamForm.Set(static_cast<StreamForm>(kind / 16 % 3));
    rig.controller.SetLimits({next() * 64ull, next() / 32});
    rig.disk.FailAt(static_cast<int>(next()) - 1, static_cast<FakeDisk::Fault>(1 + next() % 3));
    rig.controller.Start(RecordFormat::Avi);
    while (at < size) {
        const std::uint32_t step = next();
        rig.now += next() * (step & 0x40 ? 50 : 1);
        const std::uint32_t pts = step & 0x20 ? next() << 24 : rig.now;
        const std::size_t length = std::min<std::size_t>(next(), size - at);
        Bytes frame(data + at, data + at + length);
        at += length;
        if (step & 0x10) frame = KeyFrame(rig.param.videoCodec.Get(), pts, 40);
        rig.writerRuns = (step & 0x80) == 0;
        switch (step % 8) {
            case 0:
                rig.Stop();
                break;
            case 1:
                rig.controller.Start(RecordFormat::Avi);
                break;
            case 2:
                rig.controller.Suspend();
                rig.controller.Resume();
                break;
            case 3:
            case 4:
                rig.Audio(frame, pts);
                break;
            default:
                rig.Video(frame, pts);
                break;
        }
    }
    rig.writerRuns = true;
    rig.Stop();
    for (std::size_t i = 0; i < rig.disk.Names().size(); ++i) {
        const AviContents avi = ReadAvi(rig.disk.Contents(i), false);
        if (avi.fault.empty()) continue;
        // One failed call may leave a header that was written by half, or an index that could not be removed.
        const bool faulty = rig.Count(RecordStatus::FileWriteFailed) + rig.Count(RecordStatus::DiskFull) != 0;
        if (faulty) continue;
        std::fprintf(stderr, "%s\n", avi.fault.c_str());
        std::abort();
    }
    return 0;
}
