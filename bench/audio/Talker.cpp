// Talks to an address, for scripts that listen there:
//
//     talker URL CODEC RATE MILLISECONDS [ROUNDS [USER PASSWORD]]
//
// CODEC is a number of EAudioCodecType. Each round starts, waits, says in what state it is, and stops. Prints
// a line for each ("round 1: started 1, state 2, level 83, stopped in 4 ms") and at the end "threads N to N,
// handles N to N": what there was after the first round, and after the last.

#include <winsock2.h>

#include <windows.h>

#include <mmsystem.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "audio/talkback/TalkBack.h"
#include "util/Handles.h"
#include "util/Log.h"

namespace {

unsigned CountThreads() {
    unsigned count = 0;
    const util::UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot.Get(), &entry); more;
         more = Thread32Next(snapshot.Get(), &entry)) {
        if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 5) return 2;
    const auto number = [&](int index, long fallback) {
        return argc > index ? std::strtol(argv[index], nullptr, 10) : fallback;
    };
    // To be seen with WINEDEBUG=+debugstr.
    util::Switches().output.Set(std::getenv("TALKER_LOG") ? 1 : 0);
    timeBeginPeriod(1);
    const auto format = norix::ParseVoiceFormat(static_cast<int>(number(2, 1)), number(3, 0));
    if (!format) return 3;
    norix::TalkTarget target{argv[1], *format, "", "", {}};
    if (argc > 7) {
        target.user = argv[6];
        target.password = argv[7];
    }
    norix::TalkBack talk(std::make_shared<norix::CCtrlParam>());
    const int rounds = static_cast<int>(number(5, 1));
    unsigned first = 0;
    for (int round = 1; round <= rounds; ++round) {
        const bool started = talk.Start(target);
        int level = 0;
        const DWORD begin = timeGetTime();
        while (timeGetTime() - begin < static_cast<DWORD>(number(4, 0))) {
            Sleep(1);
            if (talk.Level() != 0) level = talk.Level();
        }
        const int state = static_cast<int>(talk.State());
        const DWORD stop = timeGetTime();
        talk.Stop();
        std::printf("round %d: started %d, state %d, level %d, stopped in %u ms\n", round, started, state,
                    level, static_cast<unsigned>(timeGetTime() - stop));
        std::fflush(stdout);
        if (round == 1) first = CountThreads();
    }
    Sleep(500);  // what the system ends by itself
    std::printf("threads %u to %u\n", first, CountThreads());
    return 0;
}
