#include <winsock2.h>

#include "audio/talkback/WaveIn.h"

#include <utility>

#include "audio/talkback/PostJob.h"
#include "net/Sockets.h"
#include "protocol/Url.h"
#include "util/AnsweringWait.h"
#include "util/Log.h"
#include "util/LooseThread.h"
#include "util/Redact.h"

namespace norix {
namespace {

constexpr DWORD kCloseMs = 200;

void StopSlowly(util::GenericThread& thread) {
    thread.Stop([](const util::StopWait& wait) {
        NORIX_LOG("CWaveIn::Close", 1, "[%02d] Wait for PostURL thread (handle = 0x%08X) to exit.",
                  wait.attempt, wait.handle);
    });
}

}  // namespace

CWaveIn::CWaveIn(std::unique_ptr<VoiceInput> input, std::shared_ptr<TalkProgress> progress)
    : m_input(std::move(input)), m_progress(std::move(progress)) {}

CWaveIn::~CWaveIn() {
    Close();
}

bool CWaveIn::Open(const VoiceFormat& format) {
    if (!m_input) return false;
    m_format = format;
    m_open = m_input->Open(format.sampleRate);
    if (!m_open) {
        NORIX_LOG("CWaveIn::Open", 1, "no microphone for %u Hz (error %u)",
                  static_cast<unsigned>(format.sampleRate), static_cast<unsigned>(m_input->LastError()));
    }
    return m_open;
}

void CWaveIn::SetAuthorization(std::string user, std::string password) {
    m_user = std::move(user);
    m_password = std::move(password);
}

bool CWaveIn::PostUrlSending(const std::string& url) {
    const auto address = protocol::parseUrl(url);
    if (!m_open || !m_input || m_thread || !net::startUp() || !address || address->scheme != "http") {
        NORIX_LOG("CWaveIn::PostUrlSending", 1, "nothing can be posted to %s",
                  util::RedactSecrets(url).c_str());
        return false;
    }
    const auto job = std::make_shared<PostJob>();
    job->url = url;
    job->target = {address->host, address->port, address->path, m_user, m_password, ContentTypeOf(m_format)};
    if (m_user.empty() && address->hasCredentials) {
        job->target.user = address->user;
        job->target.password = address->password;
    }
    const auto routed = m_route ? m_route(address->host) : address->host;
    if (!routed || !PostDialogue(job->target, {}).Valid()) return false;
    job->connectTo = *routed;
    job->format = m_format;
    job->progress = m_progress;
    job->input = std::move(m_input);
    auto thread = std::make_shared<util::GenericThread>("PostURL");
    if (!thread->Start(THREAD_PRIORITY_ABOVE_NORMAL, [job](util::StopToken& stop) { job->Run(stop); }))
        return false;
    m_thread = std::move(thread);
    NORIX_LOG("CWaveIn::PostUrlSending", 1, "Create PostURL thread (handle = 0x%08X, id = %d)",
              static_cast<unsigned>(reinterpret_cast<UINT_PTR>(m_thread->Handle())),
              static_cast<int>(m_thread->Id()));
    return true;
}

void CWaveIn::PostUrlStop() {
    if (!m_thread) return;
    NORIX_LOG("CWaveIn::PostUrlStop", 1, "CWaveIn::PostUrlStop()");
    m_thread->RequestStop();
}

void CWaveIn::Close() {
    PostUrlStop();
    const auto thread = std::exchange(m_thread, nullptr);
    if (!thread) return;
    const bool ended = util::WaitAnsweringSentMessages(thread->Handle(), kCloseMs);
    // One that is stuck is waited for beside this thread.
    if (!ended && util::StartLooseThread([thread] { StopSlowly(*thread); })) return;
    StopSlowly(*thread);
}

}  // namespace norix
