// Receives a stream over HTTP and writes its frames to a file, each behind its length in 4 bytes:
//
//     HttpProbe video|audio PORT PATH FILE FRAMES

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "include/HTTP/HttpStreamReceiver.h"

using namespace norix;

template <class Record>
static int Keep(CCtrlParam& param, Result (CCtrlParam::*get)(Record**), Result (CCtrlParam::*put)(Record*),
                int frames, std::FILE* file) {
    constexpr ULONGLONG kDeadlineMs = 15'000;
    const ULONGLONG end = GetTickCount64() + kDeadlineMs;
    int kept = 0;
    while (kept < frames && GetTickCount64() < end) {
        Record* record = nullptr;
        if ((param.*get)(&record) != kResultOk) continue;
        std::fwrite(&record->storedLength, sizeof(record->storedLength), 1, file);
        std::fwrite(record->data.get(), 1, record->storedLength, file);
        (param.*put)(record);
        ++kept;
    }
    return kept;
}

int main(int argc, char** argv) {
    if (argc != 6) return 2;
    const bool video = std::string(argv[1]) == "video";
    const int frames = std::atoi(argv[5]);
    const auto param = std::make_shared<CCtrlParam>();
    HttpStreamReceiver receiver(video ? HttpStreamReceiver::Kind::Video : HttpStreamReceiver::Kind::Audio,
                                param, nullptr);
    HttpStreamRequest request;
    request.host = "localhost";
    request.port = static_cast<std::uint16_t>(std::atoi(argv[2]));
    request.path = argv[3];
    std::FILE* const file = std::fopen(argv[4], "wb");
    if (!file || !receiver.Start(request)) return 2;
    const int kept =
        video ? Keep(*param, &CCtrlParam::GetFilledVideoFrame, &CCtrlParam::PutEmptyVideoFrame, frames, file)
              : Keep(*param, &CCtrlParam::GetFilledAudioFrame, &CCtrlParam::PutEmptyAudioFrame, frames, file);
    std::fclose(file);
    return kept == frames ? 0 : 1;
}
