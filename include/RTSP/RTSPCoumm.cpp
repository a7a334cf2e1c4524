// Sockets before windows.h.
#include "GroupsockHelper.hh"

#include "include/RTSP/RTSPCoumm.h"

#include <utility>

#include "include/RTSP/RTSPSession.h"
#include "media/CtrlParam.h"
#include "util/Log.h"

namespace norix {

RTSPCoumm::RTSPCoumm(std::shared_ptr<CCtrlParam> param, std::shared_ptr<MediaPlayers> players)
    : m_param(std::move(param)), m_players(std::move(players)) {}

RTSPCoumm::~RTSPCoumm() {
    StopStreaming();
}

int RTSPCoumm::StartStreaming() {
    if (m_thread.Started()) return 1;
    // A session that has been stopped stays stopped.
    if (!m_session) {
        m_session = std::make_shared<RTSPSession>(settings, m_param, m_players);
    }
    const auto body = [session = m_session](util::StopToken&) { session->RTSPStart(); };
    if (!m_thread.Start(THREAD_PRIORITY_NORMAL, body)) return 0;
    NORIX_LOG("RTSPCoumm::StartStreaming", 0, "Create RTSP thread (handle = 0x%08X, id = %d)",
              static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(m_thread.Handle())),
              static_cast<int>(m_thread.Id()));
    return 1;
}

void RTSPCoumm::RequestStop() {
    if (!m_thread.Started()) return;
    m_session->RequestStop();
    m_param->SetClosing(true);  // lets a frame go that waits for a free record
}

bool RTSPCoumm::StopStreaming() {
    if (!m_thread.Started()) return true;
    RequestStop();
    return m_thread.Stop();
}

}  // namespace norix
