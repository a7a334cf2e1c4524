// Receives a stream over HTTP and writes its frames to a file, each behind its length in 4 bytes:
//
//     HttpProbe video|audio PORT PATH FILE FRAMES
//
// Prints what Start answers, then the statuses that were posted.

#include <winsock2.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "include/HTTP/HttpStreamReceiver.h"

namespace {

using namespace norix;

void Write(std::FILE* file, const std::uint8_t* data, std::uint32_t size) {
    std::fwrite(&size, sizeof(size), 1, file);
    std::fwrite(data, 1, size, file);
}

template <class Get, class Put, class Record>
int Keep(std::FILE* file, int frames, Record* record, const Get& get, const Put& put) {
    constexpr ULONGLONG kDeadlineMs = 15'000;
    const ULONGLONG begin = GetTickCount64();
    int kept = 0;
    while (kept < frames && GetTickCount64() - begin < kDeadlineMs) {
        if (get(&record) != kResultOk) continue;
        Write(file, record->data.get(), record->storedLength);
        put(record);
        ++kept;
    }
    return kept;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 6) return 2;
    const bool video = std::string(argv[1]) == "video";
    std::FILE* const file = std::fopen(argv[4], "wb");
    if (!file) return 2;
    const auto param = std::make_shared<CCtrlParam>();
    HttpStreamReceiver receiver(video ? HttpStreamReceiver::Kind::Video : HttpStreamReceiver::Kind::Audio,
                                param, nullptr);
    HttpStreamRequest request;
    request.host = "localhost";
    request.port = static_cast<std::uint16_t>(std::atoi(argv[2]));
    request.path = argv[3];
    const ULONGLONG begin = GetTickCount64();
    const bool started = receiver.Start(request);
    std::printf("start %d after %u ms\n", started, static_cast<unsigned>(GetTickCount64() - begin));
    int kept = 0;
    const int frames = std::atoi(argv[5]);
    if (started && video) {
        kept = Keep(
            file, frames, static_cast<VideoFrameRecord*>(nullptr),
            [&](VideoFrameRecord** record) { return param->GetFilledVideoFrame(record); },
            [&](VideoFrameRecord* record) { param->PutEmptyVideoFrame(record); });
    } else if (started) {
        kept = Keep(
            file, frames, static_cast<AudioFrameRecord*>(nullptr),
            [&](AudioFrameRecord** record) { return param->GetFilledAudioFrame(record); },
            [&](AudioFrameRecord* record) { param->PutEmptyAudioFrame(record); });
    }
    std::fclose(file);
    receiver.Stop();
    return kept == frames ? 0 : 1;
}
