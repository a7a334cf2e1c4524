#include "CommandLine.h"

#include <algorithm>
#include <cwchar>
#include <string_view>

#include "Values.h"

namespace {

std::wstring Trim(std::wstring_view text) {
    const auto first = text.find_first_not_of(L' ');
    if (first == std::wstring_view::npos) return {};
    return std::wstring(text.substr(first, text.find_last_not_of(L' ') - first + 1));
}

// "left<separator>right"; `right` is empty where there is no separator.
std::pair<std::wstring, std::wstring> Split(const std::wstring& text, wchar_t separator) {
    const auto at = text.find(separator);
    if (at == std::wstring::npos) return {text, {}};
    return {text.substr(0, at), text.substr(at + 1)};
}

// Splits at commas that are not inside quotes.
std::vector<std::wstring> SplitArguments(const std::wstring& text) {
    std::vector<std::wstring> arguments;
    if (Trim(text).empty()) return arguments;
    std::wstring current;
    wchar_t quote = L'\0';
    for (const wchar_t c : text) {
        if (quote) {
            if (c == quote) quote = L'\0';
        } else if (c == L'"' || c == L'\'') {
            quote = c;
        } else if (c == L',') {
            arguments.push_back(Trim(current));
            current.clear();
            continue;
        }
        current += c;
    }
    if (quote) throw UsageError(L"unbalanced quotes: " + text);
    arguments.push_back(Trim(current));
    return arguments;
}

double Number(const std::wstring& text) {
    wchar_t* end = nullptr;
    const double number = std::wcstod(text.c_str(), &end);
    if (text.empty() || *end != L'\0' || number < 0) throw UsageError(L"not a number: " + text);
    return number;
}

SIZE Size(const std::wstring& text) {
    const auto [width, height] = Split(text, L'x');
    const SIZE size{static_cast<LONG>(Number(width)), static_cast<LONG>(Number(height))};
    if (size.cx < 1 || size.cy < 1) throw UsageError(L"not a size: " + text);
    return size;
}

POINT Place(const std::wstring& text) {
    const auto [x, y] = Split(text, L',');
    return {static_cast<LONG>(Number(x)), static_cast<LONG>(Number(y))};
}

EventFilter Filter(const std::wstring& text) {
    auto [name, arguments] = Split(text, L':');
    return {name, arguments};
}

Action Assignment(const std::wstring& text) {
    if (text.find(L'=') == std::wstring::npos) throw UsageError(L"Name=Value expected: " + text);
    auto [name, value] = Split(text, L'=');
    return {.kind = Action::Kind::Set, .name = Trim(name), .value = value};
}

Action Call(const std::wstring& text) {
    const auto open = text.find(L'(');
    if (open == std::wstring::npos) return {.kind = Action::Kind::Call, .name = Trim(text)};
    if (!text.ends_with(L')')) throw UsageError(L"Method(argument,...) expected: " + text);
    return {.kind = Action::Kind::Call,
            .name = Trim(text.substr(0, open)),
            .arguments = SplitArguments(text.substr(open + 1, text.size() - open - 2))};
}

Action Wait(const std::wstring& text) {
    auto [name, arguments] = Split(text, L':');
    return {.kind = Action::Kind::Wait, .name = name, .value = arguments};
}

Action Verb(const std::wstring& text) {
    wchar_t* end = nullptr;
    const long verb = std::wcstol(text.c_str(), &end, 10);
    if (text.empty() || *end != L'\0') throw UsageError(L"not a verb number: " + text);
    return {.kind = Action::Kind::Verb, .verb = verb};
}

// What --on does: "close", "Name=Value" or "Method(...)".
Action Reaction(const std::wstring& text) {
    if (EqualsIgnoringCase(text, L"close")) return {.kind = Action::Kind::Close};
    if (text.find(L'=') < text.find(L'(')) return Assignment(text);
    return Call(text);
}

template <class Result, class Parse>
std::pair<EventFilter, Result> OnEvent(const std::wstring& text, Parse parse) {
    if (text.find(L'=') == std::wstring::npos) throw UsageError(L"Event=... expected: " + text);
    auto [filter, rest] = Split(text, L'=');
    return {Filter(filter), parse(rest)};
}

struct Option {
    const wchar_t* name;
    const wchar_t* argument;  // null: takes none
    const wchar_t* help;
    void (*apply)(Options& options, const std::wstring& argument);
};

constexpr Option kOptions[] = {
    {L"--help", nullptr, L"show this text", [](Options& o, const std::wstring&) { o.help = true; }},
    {L"--list", nullptr, L"list the control's properties, methods, events and enumerations",
     [](Options& o, const std::wstring&) { o.list = true; }},
    {L"--progid", L"ID", L"the control to host", [](Options& o, const std::wstring& a) { o.progId = a; }},
    {L"--address", L"X", L"fill the address bar: host, host:port or rtsp:// address",
     [](Options& o, const std::wstring& a) { o.address = a; }},
    {L"--user", L"NAME", L"fill the user field", [](Options& o, const std::wstring& a) { o.user = a; }},
    {L"--password", L"TEXT", L"fill the password field",
     [](Options& o, const std::wstring& a) { o.password = a; }},
    {L"--size", L"WxH", L"size of the video area in pixels",
     [](Options& o, const std::wstring& a) { o.videoSize = Size(a); }},
    {L"--at", L"X,Y", L"where on the screen the window is",
     [](Options& o, const std::wstring& a) { o.place = Place(a); }},
    {L"--log", L"FILE", L"write what happens to FILE as well, one line each, in UTF-8",
     [](Options& o, const std::wstring& a) { o.logFile = a; }},

    {L"--set", L"Name=Value", L"step: write a property",
     [](Options& o, const std::wstring& a) { o.script.push_back(Assignment(a)); }},
    {L"--get", L"Name", L"step: read a property into the log",
     [](Options& o, const std::wstring& a) { o.script.push_back({.kind = Action::Kind::Get, .name = a}); }},
    {L"--call", L"Method(arg,...)", L"step: call a method; parentheses may be left out",
     [](Options& o, const std::wstring& a) { o.script.push_back(Call(a)); }},
    {L"--connect", nullptr, L"step: press Connect",
     [](Options& o, const std::wstring&) { o.script.push_back({.kind = Action::Kind::Connect}); }},
    {L"--wait", L"Event[:args]", L"step: wait until the event has come since the step before",
     [](Options& o, const std::wstring& a) { o.script.push_back(Wait(a)); }},
    {L"--pause", L"N", L"step: let N seconds pass",
     [](Options& o, const std::wstring& a) {
         o.script.push_back({.kind = Action::Kind::Pause, .seconds = Number(a)});
     }},
    {L"--verb", L"N", L"step: perform an OLE verb (0 primary, -1 show, -3 hide, -4 UI-activate, ...)",
     [](Options& o, const std::wstring& a) { o.script.push_back(Verb(a)); }},
    {L"--command", L"NAME", L"step: run a menu command: \"Save Snapshot\", \"Demo Drawing\", Rotate ...",
     [](Options& o, const std::wstring& a) {
         o.script.push_back({.kind = Action::Kind::Command, .name = a});
     }},
    {L"--properties", nullptr, L"step: show the control's property pages",
     [](Options& o, const std::wstring&) { o.script.push_back({.kind = Action::Kind::Properties}); }},
    {L"--resize", L"WxH", L"step: give the video area this size",
     [](Options& o, const std::wstring& a) {
         o.script.push_back({.kind = Action::Kind::Resize, .size = Size(a)});
     }},
    {L"--close", nullptr, L"step: destroy the control, keep the window",
     [](Options& o, const std::wstring&) { o.script.push_back({.kind = Action::Kind::Close}); }},
    {L"--exit", nullptr, L"step: leave the program",
     [](Options& o, const std::wstring&) { o.script.push_back({.kind = Action::Kind::Exit}); }},

    {L"--on", L"Event[:args]=Action",
     L"inside the event's handler, the first time it fires: Method(arg,...), Name=Value or close",
     [](Options& o, const std::wstring& a) { o.reactions.push_back(OnEvent<Action>(a, Reaction)); }},
    {L"--reply", L"Event[:args]=Text", L"give the event's first by-reference argument this text",
     [](Options& o, const std::wstring& a) {
         o.replies.push_back(OnEvent<std::wstring>(a, [](const std::wstring& text) { return text; }));
     }},
    {L"--exit-on", L"Event[:args]", L"leave the program once the event has come",
     [](Options& o, const std::wstring& a) { o.exitOn.push_back(Filter(a)); }},
    {L"--run-seconds", L"N", L"leave the program after N seconds",
     [](Options& o, const std::wstring& a) { o.runSeconds = Number(a); }},
};

}  // namespace

bool EventFilter::Matches(const std::wstring& eventName, const std::wstring& eventArguments) const {
    return EqualsIgnoringCase(name, eventName) && eventArguments.starts_with(arguments);
}

Options ParseCommandLine(const std::vector<std::wstring>& arguments) {
    Options options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const auto option = std::ranges::find_if(
            kOptions, [&](const Option& candidate) { return arguments[i] == candidate.name; });
        if (option == std::end(kOptions)) throw UsageError(L"unknown option: " + arguments[i]);
        std::wstring argument;
        if (option->argument) {
            if (i + 1 == arguments.size()) throw UsageError(arguments[i] + L" needs " + option->argument);
            argument = arguments[++i];
        }
        option->apply(options, argument);
    }
    return options;
}

std::wstring UsageText() {
    constexpr size_t kHelpColumn = 30;
    std::wstring text =
        L"NorixHost [options]\n\nShows a network camera's live video with the NorixSDK control.\n\n";
    for (const auto& option : kOptions) {
        std::wstring line = std::wstring(L"  ") + option.name;
        if (option.argument) line += std::wstring(L" ") + option.argument;
        line.append(line.size() < kHelpColumn ? kHelpColumn - line.size() : 1, L' ');
        text += line + option.help + L"\n";
    }
    text +=
        L"\nSteps run one after the other, in the order given, once the control is active.\n"
        L"[:args] is what the event's arguments begin with, as in OnConnStatus:3.\n"
        L"\nExit codes: 0 done, 1 control could not be shown, 2 bad command line,\n"
        L"3 a step failed, 4 time ran out before an awaited event came, 5 log could not be written.\n";
    return text;
}
