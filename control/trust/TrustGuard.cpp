#include "control/trust/TrustGuard.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "control/trust/HostReader.h"
#include "control/trust/TrustDialogs.h"
#include "net/Failure.h"
#include "protocol/Origin.h"
#include "util/Log.h"

namespace norix {

namespace {

constexpr char kGroups[] = "multicast groups";
constexpr char kAnyGroup[] = "239.255.0.0";  // of all that are kept local (RFC 2365)
constexpr char kInClear[] = ", not encrypted";
constexpr DWORD kInputCountsFor = 1000;  // ms

TrustDialogs g_dialogs;

std::atomic<int> g_open{0};  // questions

}  // namespace

// ---- Reach

std::optional<std::string> Reach::Resolve(const std::string& host) const {
    const std::lock_guard lock(m_lock);
    if (!m_restricted) return host;
    const auto found = m_hosts.find(protocol::plainHost(host));
    if (found == m_hosts.end()) return std::nullopt;
    return found->second;
}

bool Reach::MayJoinGroups() const {
    const std::lock_guard lock(m_lock);
    return !m_restricted || m_groups;
}

void Reach::AddGroups() {
    const std::lock_guard lock(m_lock);
    m_groups = true;
}

void Reach::Restrict() {
    const std::lock_guard lock(m_lock);
    m_restricted = true;
}

void Reach::Add(const std::string& host, const std::string& connectTo) {
    const std::lock_guard lock(m_lock);
    m_hosts[protocol::plainHost(host)] = connectTo;
    m_hosts[connectTo] = connectTo;  // where a relative redirection stays
}

// ---- TrustGuard

TrustQuestions* TrustGuard::questions = &g_dialogs;

TrustGuard::Open::Open() {
    ++g_open;
}
TrustGuard::Open::~Open() {
    --g_open;
}

TrustGuard::TrustGuard(std::function<Host()> host) : m_host(std::move(host)) {}

util::TrustLevel TrustGuard::Level() {
    const Host host = m_host();
    const HostFacts facts = ReadHost(host.site, host.untrustedCaller);
    if (DecideLevel(facts) == util::TrustLevel::kTrusted) return m_level;
    if (m_level == util::TrustLevel::kTrusted || (facts.hasPage && m_page.host.empty()))
        m_page = IdentifyPage(facts.page);
    m_level = util::TrustLevel::kWeb;
    m_reach->Restrict();
    return m_level;
}

template <class Question>
auto TrustGuard::Put(const Question& question) {
    const Host host = m_host();
    std::optional<framework::InPlace::Modal> modal;
    if (host.inPlace != nullptr) modal.emplace(*host.inPlace);
    const Open open;
    return question(host.window, PageIdentity(m_page));
}

Verdict TrustGuard::Judge(const std::string& target) const {
    std::optional<bool> answered = Store().Answer(target);
    if (const auto known = m_answers.find(target); !answered && known != m_answers.end())
        answered = known->second;
    return JudgeTarget(m_page, target, ReadAllowedTargets(m_page), answered);
}

/// The answer for one target, which may be a question to the user.
bool TrustGuard::Decide(const std::string& target, const std::string& address) {
    const PageStore store(m_page);
    const Verdict verdict = Judge(target);
    if (verdict != Verdict::kAsk) return verdict == Verdict::kAllowed;
    // Who asks again while the user is being asked does not get an answer, nor a second box.
    if (IsUserAsked() || questions == nullptr) return false;
    const bool allowed = Put([&](HWND owner, const PageIdentity& page) {
        return questions->AllowTarget(owner, page, target, address);
    });
    m_answers[target] = allowed;
    store.Remember(target, allowed);
    return allowed;
}

bool TrustGuard::Admit(const std::string& host) {
    if (!IsWeb()) return true;
    if (AreGroupsAllowed()) m_reach->AddGroups();
    const std::string target = protocol::plainHost(host);
    m_nameMissing = false;
    if (target.empty()) return false;
    const TargetList listed = ReadAllowedTargets(m_page);
    std::string connectTo = target;
    bool admitted = false;
    if (const std::optional<NumericAddress> numeric = ParseAddress(target)) {
        admitted = Decide(target == m_page.host ? target : ToText(*numeric), {});  // however it is spelled
    } else if (Judge(target) != Verdict::kRefused) {
        const std::optional<NumericAddress> address = m_names.Find(target);
        if (!address) {
            NORIX_LOG("TrustGuard::Admit", 1, "no address for %s", target.c_str());
            m_nameMissing = true;
            return false;
        }
        connectTo = ToText(*address);
        // A name that points inside is decided about as the address that it stands for.
        const bool covered = IsCovered(m_page, target, *address, listed);
        admitted = covered ? Decide(target, connectTo) : Decide(connectTo, {});
    }
    if (admitted) {
        m_reach->Add(target, connectTo);
    } else {
        NORIX_LOG("TrustGuard::Admit", 1, "%s may not reach %s", m_page.origin.c_str(), target.c_str());
    }
    return admitted;
}

bool TrustGuard::LooksUp(const std::vector<std::string>& hosts) {
    if (!IsWeb()) return false;
    bool underWay = false;
    for (const std::string& host : hosts) {
        const std::string target = protocol::plainHost(host);
        if (!target.empty() && !ParseAddress(target) && Judge(target) != Verdict::kRefused)
            underWay = m_names.IsUnderWay(target) || underWay;
    }
    return underWay;
}

std::string TrustGuard::WhyNotAdmitted() const {
    return m_nameMissing ? net::failureOfError(net::kNameNotFound) : net::kMayNotReach;
}

bool TrustGuard::IsUserAsked() {
    return g_open != 0 && IsWeb();
}

bool TrustGuard::AdmitGroups() {
    if (!IsWeb()) return true;
    m_nameMissing = false;
    if (!AreGroupsAllowed() && !Decide(kGroups, {})) return false;
    m_reach->AddGroups();
    return true;
}

/// By the administrator, or by the user before.
bool TrustGuard::AreGroupsAllowed() const {
    const auto known = m_answers.find(kGroups);
    return ReadAllowedTargets(m_page).Contains(*ParseAddress(kAnyGroup)) ||
           (known != m_answers.end() && known->second) || Store().Answer(kGroups).value_or(false);
}

bool TrustGuard::AdmitInClear(const std::string& host) {
    return !IsWeb() || Decide(protocol::plainHost(host) + kInClear, {});
}

bool TrustGuard::AdmitMicrophone(const std::string& host) {
    if (!IsWeb()) return true;
    if (IsUserAsked() || questions == nullptr) return false;
    return Put([&](HWND owner, const PageIdentity& page) {
        return questions->AllowMicrophone(owner, page, protocol::plainHost(host));
    });
}

std::wstring TrustGuard::FileFolder() {
    if (!IsWeb()) return {};
    const PageStore store(m_page);
    std::wstring folder = store.Folder();
    return folder.empty() ? PickFileFolder() : folder;
}

std::wstring TrustGuard::PickFileFolder() {
    if (IsUserAsked() || questions == nullptr) return {};
    const PageStore store(m_page);
    std::wstring folder =
        Put([](HWND owner, const PageIdentity& page) { return questions->PickFolder(owner, page); });
    if (!folder.empty()) store.RememberFolder(folder);
    return folder;
}

bool TrustGuard::MayFillScreen() {
    if (!IsWeb()) return true;
    // Once for each: what the user does to leave it must not be followed by coming back.
    const std::optional<DWORD> input = std::exchange(m_lastInput, std::nullopt);
    return input && GetTickCount() - *input <= kInputCountsFor;
}

}  // namespace norix
