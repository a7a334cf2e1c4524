#pragma once

#include <memory>
#include <string>

#include "audio/talkback/PostDialogue.h"
#include "audio/talkback/TalkProgress.h"
#include "audio/talkback/VoiceFormat.h"
#include "audio/talkback/VoiceInput.h"
#include "util/GenericThread.h"

namespace norix {

/// What the post thread does, and all that it touches.
struct PostJob {
    // Constant once the thread runs.
    std::string url;  // for the log
    PostDialogue::Target target;
    std::string connectTo;  // the target's host, or the address that was checked for it
    VoiceFormat format;
    std::shared_ptr<TalkProgress> progress;

    std::unique_ptr<VoiceInput> input;  // open; the thread's

    void Run(util::StopToken& stop);
};

}  // namespace norix
