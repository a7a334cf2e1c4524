#pragma once

#include <deque>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "CommandLine.h"

/// Carries out the script of the command line, one step per turn of the message loop, and what the host was
/// told to do upon events. All calls come from the window's thread.
class ScriptRunner {
  public:
    using Perform = std::function<void(const Action&)>;
    using Post = std::function<void()>;

    /// `perform` carries out a step, `post` has RunNext() called from the message loop.
    ScriptRunner(const Options& options, Perform perform, Post post)
        : perform_(std::move(perform)),
          post_(std::move(post)),
          steps_(options.script.begin(), options.script.end()),
          reactions_(options.reactions) {}

    /// Is there a step that has not run, or one that waits for its event?
    bool Unfinished() const { return !steps_.empty() || !awaited_.empty(); }

    /// The next step, unless one runs, pauses or waits.
    void RunNext();
    /// For the steps themselves: the next one comes after the event, which may have come since the last step
    /// but one.
    void Await(const EventFilter& filter);
    /// For the steps themselves: the next one comes after EndPause().
    void Pause() { pausing_ = true; }
    void EndPause();

    /// All events pass through here: who waits for it goes on.
    void OnEvent(const std::wstring& name, const std::wstring& arguments);
    /// Does what was to be done upon this event, once.
    void React(const std::wstring& name, const std::wstring& arguments);

  private:
    Perform perform_;
    Post post_;
    std::deque<Action> steps_;
    std::deque<EventFilter> awaited_;                            // of the step that is waiting; empty or one
    std::vector<std::pair<std::wstring, std::wstring>> recent_;  // name and values, since the last step
    std::vector<std::pair<EventFilter, Action>> reactions_;
    bool inStep_ = false;
    bool pausing_ = false;
};
