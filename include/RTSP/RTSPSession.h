#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "UsageEnvironment.hh"

#include "include/RTSP/ConnectionTypes.h"
#include "include/RTSP/SessionSettings.h"

class Authenticator;
class MediaSubsession;
class RTSPClient;

namespace norix {

class CCtrlParam;
class MediaPlayers;
class RTSPClientCustom;

/// One session from the first request to TEARDOWN: what RTSPCoumm's thread does. Shared by that thread and
/// whoever stops it, so that a thread which had to be left alone touches nothing that is gone.
///
/// RTSPStart and all handlers belong to one thread; RequestStop may be called by any.
class RTSPSession {
  public:
    RTSPSession(SessionSettings settings, std::shared_ptr<CCtrlParam> param,
                std::shared_ptr<MediaPlayers> players);
    virtual ~RTSPSession() = default;
    RTSPSession(const RTSPSession&) = delete;
    RTSPSession& operator=(const RTSPSession&) = delete;

    /// Runs the session until it is stopped or ends: 1, or 0 when there could be no client. Failures are
    /// reported through the callback; nothing is thrown.
    int RTSPStart() noexcept;

    /// Makes RTSPStart return soon. From now on nothing is reported and no frame is inserted.
    void RequestStop() noexcept;

    const SessionPeriods& Periods() const { return m_settings.periods; }
    EConnectProtocol Protocol() const { return m_settings.protocol; }

    /// False when nobody wishes a key frame.
    bool AskForKeyFrame();
    void ReportStatus(EConnectStatus status);
    /// Keeps why the stream does not come, or no longer, for the user; a request's result code says it, too.
    void NoteFailure(const std::string& why);
    void NoteFailure(int resultCode);
    /// The time for it is over: what was noted before says more than that.
    void NoteLateness();
    /// The event loop ends after it, and nothing else is reported: one cause may be noticed in several
    /// places.
    void ReportStatusAndStop(EConnectStatus status);

    /// Begins the dialogue; what it leads to is reported.
    void SendOptions(RTSPClientCustom& client);

    /// Handlers of the client's requests. They free `resultString`.
    static void continueAfterOPTIONS(RTSPClient* client, int resultCode, char* resultString);
    static void continueAfterDESCRIBE(RTSPClient* client, int resultCode, char* resultString);
    static void continueAfterSETUP(RTSPClient* client, int resultCode, char* resultString);
    static void continueAfterPLAY(RTSPClient* client, int resultCode, char* resultString);
    /// Sets up the subsessions that are left, or plays.
    static void setupNextSubsession(RTSPClient* client);
    /// A source has ended; `clientData` is the subsession.
    static void subsessionAfterPlaying(void* clientData);
    static void subsessionByeHandler(void* clientData);
    /// The session's time is over; `clientData` is the client.
    static void sessionAfterPlaying(void* clientData);

  protected:
    /// For tools, which look at what is received from inside the event loop.
    virtual void OnPlaying(RTSPClientCustom&) {}

  private:
    void RunLoop(UsageEnvironment& env, RTSPClientCustom& client);
    void AfterOptions(RTSPClientCustom& client, int resultCode, const std::string& result);
    void AfterDescribe(RTSPClientCustom& client, int resultCode, const std::string& result);
    void AfterSetup(RTSPClientCustom& client, int resultCode, const std::string& result);
    void AfterPlay(RTSPClientCustom& client, int resultCode, const std::string& result);
    void SetUpNext(RTSPClientCustom& client);
    bool Initiate(MediaSubsession& subsession);
    bool HasSinkOfKind(const RTSPClientCustom& client, const MediaSubsession& subsession) const;
    void NoteFailed(const MediaSubsession& subsession, const std::string& why);
    void NoteUnsupported(const MediaSubsession& subsession);
    void NoteGroupRefused(const MediaSubsession& subsession);
    bool NothingIsLeft(const RTSPClientCustom& client) const;
    void TellWhatIsMissing(const RTSPClientCustom& client);
    bool IsWanted(const MediaSubsession& subsession) const;
    void Play(RTSPClientCustom& client);
    void ChooseReceivingInterface(RTSPClientCustom& client) const;
    void RecordFormat(const MediaSubsession& subsession);
    void StartSink(RTSPClientCustom& client, MediaSubsession& subsession);
    static void ShutDownStream(RTSPClientCustom& client) noexcept;
    static void CloseSinks(RTSPClientCustom& client) noexcept;
    void Report(int code, unsigned value);
    bool IsPush() const { return m_settings.protocol == ecpMulticastPush; }

    // constant after construction
    const SessionSettings m_settings;
    const std::shared_ptr<CCtrlParam> m_param;
    const std::shared_ptr<MediaPlayers> m_players;

    // written by any thread
    EventLoopWatchVariable m_stop{0};
    std::atomic<bool> m_silenced{false};  // RequestStop has been called

    // RTSPStart's thread only
    Authenticator* m_authenticator = nullptr;  // RTSPStart's
    bool m_endReported = false;
    bool m_groupRefused = false;   // told already
    std::string m_unsupported[2];  // names of video and sound that can't be received
    std::string m_failed[2];       // why they could not be, though they are supported
};

}  // namespace norix
