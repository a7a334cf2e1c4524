#pragma once

#include <windows.h>

#include <oleidl.h>

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "control/trust/NameLookup.h"
#include "control/trust/PageStore.h"
#include "control/trust/Trust.h"
#include "framework/InPlace.h"

namespace norix {

/// What a control's connections may reach, as its threads ask it. Any thread.
class Reach {
  public:
    /// The host to connect to instead of `host`: the same one, or the numeric address that was checked for
    /// it, so that the name can't mean another one a moment later. Nothing: not to be reached.
    std::optional<std::string> Resolve(const std::string& host) const;

    /// Whether a camera may name multicast groups.
    bool MayJoinGroups() const;
    void AddGroups();

    /// From then on only hosts that were added may be reached.
    void Restrict();
    void Add(const std::string& host, const std::string& connectTo);

  private:
    mutable std::mutex m_lock;
    bool m_restricted = false;
    bool m_groups = false;
    std::map<std::string, std::string> m_hosts;  // in Origin's form, and what to connect to
};

/// Puts the control's questions to the user; tests answer them by themselves. Window thread. Each runs a
/// message loop: the host may do anything meanwhile.
class TrustQuestions {
  public:
    virtual ~TrustQuestions() = default;
    /// Whether the page may reach the target. `address` where the target is a name; No is the default.
    virtual bool AllowTarget(HWND owner, const PageIdentity& page, const std::string& target,
                             const std::string& address) = 0;
    /// Whether the page may send the microphone to the target, this once. No is the default.
    virtual bool AllowMicrophone(HWND owner, const PageIdentity& page, const std::string& target) = 0;
    /// The folder below which the page may write files; empty when the user picks none.
    virtual std::wstring PickFolder(HWND owner, const PageIdentity& page) = 0;
};

/// The one place where it is decided what the host of a control may do. Window thread.
///
/// The level may get worse, never better: what a page has set stays a page's.
class TrustGuard {
  public:
    struct Host {
        IOleClientSite* site = nullptr;
        bool untrustedCaller = false;
        HWND window = nullptr;
        framework::InPlace* inPlace = nullptr;  // which tells the container of modal boxes; may be null
    };
    /// `host` says what the control knows of its host at the moment.
    explicit TrustGuard(std::function<Host()> host);

    util::TrustLevel Level();
    bool IsWeb() { return Level() == util::TrustLevel::kWeb; }
    /// The page, for a Web host.
    const PageIdentity& Page() const { return m_page; }
    PageStore Store() const { return PageStore(m_page); }

    /// Whether a host or a multicast group may be reached. Asks the user where it must, once per page and
    /// target; looks names up for that. What it allows, the connections may reach from then on.
    bool Admit(const std::string& host);
    /// Whether some of these hosts are still being looked up for that, beside this thread; begins it.
    bool LooksUp(const std::vector<std::string>& hosts);
    /// Why the last one was not admitted, for the user.
    std::string WhyNotAdmitted() const;
    /// Whether a question of this process is open: views of one page would all put the same one, so no other
    /// one of a page is put meanwhile.
    bool IsUserAsked();
    /// The groups that a camera's description may name.
    bool AdmitGroups();

    /// A stream in clear from a host that is asked by HTTPS.
    bool AdmitInClear(const std::string& host);

    /// The microphone, for a host that may be reached: a page's user is asked each time.
    bool AdmitMicrophone(const std::string& host);

    /// The folder below which a page may write; asks where none was picked yet. Empty: nowhere.
    std::wstring FileFolder();

    /// Asks for another one; empty when the user picks none, which changes nothing.
    std::wstring PickFileFolder();

    std::shared_ptr<Reach> Connections() const { return m_reach; }

    /// Input arrived from the user himself: see MayFillScreen.
    void OnUserInput() { m_lastInput = GetTickCount(); }
    /// A page may fill the screen only as an answer to the user's input in the control.
    bool MayFillScreen();

    /// Where questions go; one for the whole process.
    static TrustQuestions* questions;

  private:
    /// As long as a question is open.
    class Open {
      public:
        Open();
        ~Open();
        Open(const Open&) = delete;
        Open& operator=(const Open&) = delete;
    };
    bool AreGroupsAllowed() const;
    Verdict Judge(const std::string& target) const;
    bool Decide(const std::string& target, const std::string& address);
    /// Puts one question to the user; the host may do anything meanwhile.
    template <class Question>
    auto Put(const Question& question);

    const std::function<Host()> m_host;
    util::TrustLevel m_level = util::TrustLevel::kTrusted;
    PageIdentity m_page;
    std::shared_ptr<Reach> m_reach = std::make_shared<Reach>();
    std::map<std::string, bool> m_answers;  // of this life, also for pages that nothing can be kept for
    NameLookup m_names;
    bool m_nameMissing = false;        // of the last host that was not admitted
    std::optional<DWORD> m_lastInput;  // GetTickCount
};

}  // namespace norix
