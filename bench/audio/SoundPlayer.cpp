// Plays a tone as a camera would send it, in real time through a parameter block and CAudioControl. For
// sound.py, which listens:
//
//     sound_player FOLDER pcmu|aac8000|aac16000 MILLISECONDS [COMMAND=MILLISECONDS ...]
//
// Commands are mute, unmute, half (volume 50), off (DecodeAV off), on; each is carried out when so much has
// been sent. Prints one line: "frames N, longest insert N ms, dropped N, queued at the end N, stopped in N
// ms, CPU N ms" (the audio thread's), or "no device".

#include <windows.h>

#include <mmsystem.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "audio/AudioControl.h"
#include "util/Handles.h"
#include "util/Log.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kMuLawFrameMs = 20;
constexpr std::size_t kMuLawFrameBytes = 160;
constexpr std::uint32_t kAacFrameSamples = 1024;
constexpr std::uint32_t kFirstPts = 5000;

Bytes ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

struct Stream {
    std::vector<Bytes> frames;  // repeated when they don't suffice
    double frameMs = 0;
};

Stream LoadMuLaw(const std::string& folder) {
    const Bytes second = ReadFile(folder + "/tone.ulaw");
    Stream stream;
    stream.frameMs = kMuLawFrameMs;
    for (std::size_t at = 0; at + kMuLawFrameBytes <= second.size(); at += kMuLawFrameBytes) {
        const auto start = second.begin() + static_cast<std::ptrdiff_t>(at);
        stream.frames.emplace_back(start, start + kMuLawFrameBytes);
    }
    return stream;
}

Stream LoadAac(const std::string& folder, std::uint32_t rate, Bytes* config) {
    const Bytes all = ReadFile(folder + "/tone_" + std::to_string(rate) + ".pkt");
    Stream stream;
    stream.frameMs = kAacFrameSamples * 1000.0 / rate;
    for (std::size_t at = 0; at + 4 <= all.size();) {
        const std::size_t length = all[at] | all[at + 1] << 8 | all[at + 2] << 16;
        const auto start = all.begin() + static_cast<std::ptrdiff_t>(at + 4);
        stream.frames.emplace_back(start, start + static_cast<std::ptrdiff_t>(length));
        at += 4 + length;
    }
    if (!stream.frames.empty()) {
        *config = stream.frames.front();
        stream.frames.erase(stream.frames.begin());
    }
    return stream;
}

std::set<DWORD> Threads() {
    std::set<DWORD> found;
    const util::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) found.insert(entry.th32ThreadID);
    }
    return found;
}

// Of the thread that wasn't there before.
std::uint32_t CpuMs(const std::set<DWORD>& before) {
    const std::set<DWORD> now = Threads();
    const auto added = std::find_if(now.begin(), now.end(), [&](DWORD id) { return !before.contains(id); });
    if (added == now.end()) return 0;
    const util::UniqueHandle thread(OpenThread(THREAD_QUERY_INFORMATION, FALSE, *added));
    FILETIME times[4] = {};
    GetThreadTimes(thread.Get(), &times[0], &times[1], &times[2], &times[3]);
    const auto ticks = [](const FILETIME& t) {
        return (std::uint64_t{t.dwHighDateTime} << 32) + t.dwLowDateTime;
    };
    return static_cast<std::uint32_t>((ticks(times[2]) + ticks(times[3])) / 10000);
}

void Carry(norix::CCtrlParam& param, const std::string& command) {
    if (command == "mute") param.voiceMute.Set(true);
    if (command == "unmute") param.voiceMute.Set(false);
    if (command == "half") param.voiceVolume.Set(50);
    if (command == "off") param.decodeAV.Set(false);
    if (command == "on") param.decodeAV.Set(true);
}

// Sends in real time; returns how many frames were dropped at the entrance.
int Send(norix::CCtrlParam& param, const Stream& stream, std::uint32_t milliseconds,
         std::multimap<std::uint32_t, std::string> commands, int* sent, std::uint32_t* longest) {
    int dropped = 0;
    const std::uint32_t start = timeGetTime();
    for (double at = 0; at < milliseconds; at += stream.frameMs) {
        while (timeGetTime() - start < at)
            Sleep(1);
        while (!commands.empty() && commands.begin()->first <= at) {
            Carry(param, commands.begin()->second);
            commands.erase(commands.begin());
        }
        const Bytes& frame = stream.frames[static_cast<std::size_t>(*sent) % stream.frames.size()];
        const std::uint32_t before = timeGetTime();
        const int stored = param.InsertFrameToAudioBuffer(frame.data(), frame.size(),
                                                          kFirstPts + static_cast<std::uint32_t>(at));
        *longest = std::max(*longest, static_cast<std::uint32_t>(timeGetTime() - before));
        if (stored != 1) ++dropped;
        ++*sent;
    }
    return dropped;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    const std::string codec = argv[2];
    std::multimap<std::uint32_t, std::string> commands;
    for (int i = 4; i < argc; ++i) {
        const std::string text = argv[i];
        const std::size_t equals = text.find('=');
        commands.emplace(std::strtoul(text.c_str() + equals + 1, nullptr, 10), text.substr(0, equals));
    }

    // To be seen with WINEDEBUG=+debugstr.
    util::Switches().output.Set(std::getenv("SOUND_PLAYER_LOG") ? 1 : 0);
    timeBeginPeriod(1);
    const auto shared = std::make_shared<norix::CCtrlParam>();
    norix::CCtrlParam& param = *shared;
    Stream stream;
    param.videoCodec.Set(norix::VideoCodec::H264);
    if (codec == "pcmu") {
        stream = LoadMuLaw(argv[1]);
        param.audioCodec.Set(norix::AudioCodec::Pcmu);
    } else {
        Bytes config;
        stream = LoadAac(argv[1], codec == "aac16000" ? 16000 : 8000, &config);
        param.audioCodec.Set(norix::AudioCodec::Aac);
        param.aacConfig.Set(config);
    }
    if (stream.frames.empty()) return 3;

    auto player = std::make_unique<norix::CAudioControl>(shared);
    if (!player->OpenDevice()) {
        std::puts("no device");
        return 0;
    }
    const std::set<DWORD> others = Threads();
    if (player->StartAudioThread() != norix::kResultOk) return 4;
    int sent = 0;
    std::uint32_t longest = 0;
    const int dropped =
        Send(param, stream, std::strtoul(argv[3], nullptr, 10), std::move(commands), &sent, &longest);
    const std::uint32_t cpu = CpuMs(others);
    Sleep(1000);  // what is queued is played
    int queued = 0;
    norix::AudioFrameRecord* record = nullptr;
    while (param.GetFilledAudioFrame(&record) == norix::kResultOk)
        ++queued;
    const std::uint32_t stop = timeGetTime();
    player.reset();
    std::printf(
        "frames %d, longest insert %u ms, dropped %d, queued at the end %d, stopped in %u ms, CPU %u ms\n",
        sent, static_cast<unsigned>(longest), dropped, queued, static_cast<unsigned>(timeGetTime() - stop),
        static_cast<unsigned>(cpu));
    return 0;
}
