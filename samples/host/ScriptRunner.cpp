#include "ScriptRunner.h"

#include <algorithm>

void ScriptRunner::RunNext() {
    // A control that pumps messages inside a call must not start the next step before that call is over.
    if (inStep_ || pausing_ || !awaited_.empty() || steps_.empty()) return;
    const Action action = steps_.front();
    steps_.pop_front();
    if (action.kind != Action::Kind::Wait) recent_.clear();
    inStep_ = true;
    perform_(action);
    inStep_ = false;
    if (!steps_.empty()) post_();
}

void ScriptRunner::Await(const EventFilter& filter) {
    // A method often fires its events before it returns: they have come, too.
    const auto matches = [&](const auto& event) { return filter.Matches(event.first, event.second); };
    if (std::ranges::none_of(recent_, matches)) awaited_.push_back(filter);
}

void ScriptRunner::EndPause() {
    pausing_ = false;
    RunNext();
}

void ScriptRunner::OnEvent(const std::wstring& name, const std::wstring& arguments) {
    recent_.emplace_back(name, arguments);
    const auto matches = [&](const EventFilter& filter) { return filter.Matches(name, arguments); };
    if (std::erase_if(awaited_, matches) > 0) post_();
}

void ScriptRunner::React(const std::wstring& name, const std::wstring& arguments) {
    // Each reaction happens once, or one that causes its own event would never end.
    std::vector<Action> due;
    std::erase_if(reactions_, [&](const auto& reaction) {
        if (!reaction.first.Matches(name, arguments)) return false;
        due.push_back(reaction.second);
        return true;
    });
    for (const Action& action : due)
        perform_(action);
}
