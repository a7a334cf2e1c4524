#pragma once

#include <windows.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// Something the host does to the control: one step of a script, or the reaction to an event.
struct Action {
    enum class Kind { Set, Get, Call, Connect, Wait, Pause, Verb, Command, Properties, Resize, Close, Exit };

    Kind kind = Kind::Call;
    std::wstring name{};                    // of the property, the method, the awaited event or the command
    std::wstring value{};                   // to set; of Wait: what the event's arguments begin with
    std::vector<std::wstring> arguments{};  // of Call, as written
    long verb = 0;
    double seconds = 0;  // of Pause
    SIZE size{};         // of Resize
};

/// Picks events by name and, where given, by how their arguments begin ("3", "640,480").
struct EventFilter {
    std::wstring name;
    std::wstring arguments;

    bool Matches(const std::wstring& eventName, const std::wstring& eventArguments) const;
};

struct Options {
    bool help = false;
    bool list = false;
    std::wstring progId = L"NORIXSDK.NorixSDKCtrl.1";
    std::wstring address;
    std::wstring user;
    std::wstring password;
    std::wstring logFile;
    std::optional<SIZE> videoSize;
    std::optional<POINT> place;
    std::optional<double> runSeconds;
    std::vector<EventFilter> exitOn;
    std::vector<std::pair<EventFilter, Action>> reactions;
    std::vector<std::pair<EventFilter, std::wstring>> replies;
    std::vector<Action> script;
};

class UsageError : public std::runtime_error {
  public:
    explicit UsageError(std::wstring message) : std::runtime_error("usage"), message_(std::move(message)) {}
    const std::wstring& Message() const { return message_; }

  private:
    std::wstring message_;
};

/// Throws UsageError.
Options ParseCommandLine(const std::vector<std::wstring>& arguments);

std::wstring UsageText();
