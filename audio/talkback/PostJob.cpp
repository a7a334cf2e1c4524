#include <winsock2.h>

#include "audio/talkback/PostJob.h"

#include <cstdio>
#include <random>
#include <vector>

#include "audio/talkback/VoiceBacklog.h"
#include "audio/talkback/VoiceEncoder.h"
#include "net/Failure.h"
#include "net/StreamSocket.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

using net::StreamSocket;

constexpr char kWhere[] = "CWaveIn::PostUrlThreadBody";
constexpr std::uint32_t kConnectMs = 5000;
constexpr std::uint32_t kSendHeadMs = 1000;
constexpr DWORD kWaitMs = 500;
/// A microphone that brings nothing for so long has gone. The first block may take two seconds.
constexpr ULONGLONG kMicrophoneMs = 3000;
/// A packet that has been begun gets so long to be finished when the voice ends.
constexpr DWORD kFinishMs = 50;
/// The listener is never further behind than what waits here, what is in the system's hands, and the way.
/// Together less than 200 ms.
constexpr std::uint32_t kWaitingUs = 64000;
constexpr std::uint32_t kInSystemMs = 128;

int BytesPerSecond(const VoiceFormat& format) {
    const int samples = static_cast<int>(format.sampleRate);
    switch (format.codec) {
        case VoiceCodec::Pcm:
            return samples * 2;
        case VoiceCodec::Aac:
            return samples / 4;  // about
        case VoiceCodec::Pcmu:
            break;
    }
    return samples;
}

std::string RandomHex() {
    std::random_device random;
    char text[17];
    std::snprintf(text, sizeof text, "%08x%08x", static_cast<unsigned>(random()),
                  static_cast<unsigned>(random()));
    return text;
}

// The post thread's view: its connection and what is on its way.
class Posting {
  public:
    Posting(PostJob& job, util::StopToken& stop)
        : m_job(job),
          m_input(*job.input),
          m_stop(stop),
          m_socket(stop.Event()),
          m_backlog(kWaitingUs),
          m_encoder(job.format, m_input.Rate()),
          m_lastBlock(GetTickCount64()),
          m_received(2048) {}

    // Until it ends; how.
    TalkState Run();

  private:
    enum class Wake { Stopped, Microphone, NoMicrophone, Socket, Nothing };

    TalkState Ask(PostDialogue& dialogue);
    TalkState AwaitAnswer(PostDialogue& dialogue, bool& again);
    TalkState Talk();
    Wake Await(DWORD milliseconds);
    bool Listen();
    bool Receive();
    bool Send();
    void FinishPacket();
    TalkState Lose(StreamSocket::Result result, TalkState as);

    PostJob& m_job;
    VoiceInput& m_input;
    util::StopToken& m_stop;
    StreamSocket m_socket;
    VoiceBacklog m_backlog;
    VoiceEncoder m_encoder;
    ULONGLONG m_lastBlock;  // when it came
    std::vector<std::uint8_t> m_received;
};

TalkState Posting::Lose(StreamSocket::Result result, TalkState as) {
    if (result == StreamSocket::Result::Stopped) return TalkState::Off;
    std::string reason = "the camera has ended the connection";
    if (result == StreamSocket::Result::Timeout) reason = net::kNoAnswer;
    if (result == StreamSocket::Result::NoAddress) reason = net::failureOfError(net::kNameNotFound);
    if (result == StreamSocket::Result::Failed) reason = net::failureOfError(m_socket.error());
    NORIX_LOG(kWhere, 0, "talk-back to %s:%u: %s", m_job.target.host.c_str(), m_job.target.port,
              reason.c_str());
    return as;
}

// Takes what the microphone has filled; false when it has gone.
bool Posting::Listen() {
    const std::span<const std::int16_t> samples = m_input.Take();
    m_lastBlock = GetTickCount64();
    m_job.progress->SetLevel(LevelOf(samples));
    m_encoder.Encode(samples, m_backlog);
    return m_input.GiveBack();
}

Posting::Wake Posting::Await(DWORD milliseconds) {
    const HANDLE handles[] = {m_stop.Event(), m_input.Filled(), m_socket.event()};
    switch (WaitForMultipleObjects(3, handles, FALSE, milliseconds)) {
        case WAIT_OBJECT_0:
            return Wake::Stopped;
        case WAIT_OBJECT_0 + 1:
            return Listen() ? Wake::Microphone : Wake::NoMicrophone;
        case WAIT_OBJECT_0 + 2:
            m_socket.acknowledge();
            return Wake::Socket;
        default:
            return GetTickCount64() - m_lastBlock > kMicrophoneMs ? Wake::NoMicrophone : Wake::Nothing;
    }
}

// Talking: nothing came within the second.
TalkState Posting::AwaitAnswer(PostDialogue& dialogue, bool& again) {
    const auto judge = [&](const std::optional<http::ReplyHead>& answer) {
        const unsigned status = answer ? answer->status : 0;
        NORIX_LOG(kWhere, 0, "talk-back to %s:%u: the camera answers %u", m_job.target.host.c_str(),
                  m_job.target.port, status);
        const PostDialogue::Verdict verdict = dialogue.Take(answer);
        again = verdict == PostDialogue::Verdict::AskAgain;
        return verdict == PostDialogue::Verdict::Refused ? TalkState::Refused : TalkState::Occupied;
    };
    http::HeadReader reader;
    bool answered = false;
    const ULONGLONG end = GetTickCount64() + PostDialogue::kAnswerMs;
    for (ULONGLONG now = GetTickCount64(); now < end; now = GetTickCount64()) {
        switch (Await(static_cast<DWORD>(end - now))) {
            case Wake::Stopped:
                return TalkState::Off;
            case Wake::NoMicrophone:
                return TalkState::NoMicrophone;
            case Wake::Microphone:
            case Wake::Nothing:
                continue;
            case Wake::Socket:
                break;
        }
        std::size_t received = 0;
        const auto result = m_socket.receive(m_received, 0, received);
        if (result == StreamSocket::Result::Timeout) continue;
        if (result != StreamSocket::Result::Done)
            return answered ? judge(std::nullopt) : Lose(result, TalkState::Ended);
        answered = true;
        http::Bytes bytes(m_received.data(), received);
        const auto state = reader.Feed(bytes);
        if (state == http::HeadReader::State::Done) return judge(reader.Head());
        if (state == http::HeadReader::State::Bad) return judge(std::nullopt);
    }
    return answered ? judge(std::nullopt) : TalkState::Talking;
}

// Talking: the camera takes the voice.
TalkState Posting::Ask(PostDialogue& dialogue) {
    for (;;) {
        const auto connected = m_socket.connect(m_job.connectTo, m_job.target.port, kConnectMs);
        if (connected != StreamSocket::Result::Done) return Lose(connected, TalkState::NoAnswer);
        m_socket.keepLittleBuffered(BytesPerSecond(m_job.format) * static_cast<int>(kInSystemMs) / 1000);
        const auto sent = m_socket.send(dialogue.Head(m_socket.peer()), kSendHeadMs);
        if (sent != StreamSocket::Result::Done) return Lose(sent, TalkState::NoAnswer);
        bool again = false;
        const TalkState answer = AwaitAnswer(dialogue, again);
        if (!again) return answer;
    }
}

// What a camera says while it is talked to is of no interest; that it ends is. False then.
bool Posting::Receive() {
    for (;;) {
        std::size_t received = 0;
        const auto result = m_socket.receive(m_received, 0, received);
        if (result == StreamSocket::Result::Timeout) return true;
        if (result == StreamSocket::Result::Done) continue;
        Lose(result, TalkState::Ended);
        return false;
    }
}

// Sends until the system takes no more; false when the connection has ended.
bool Posting::Send() {
    while (!m_backlog.Front().empty() && !m_stop.StopRequested()) {
        std::size_t sent = 0;
        const auto result = m_socket.sendSome(m_backlog.Front(), sent);
        if (result != StreamSocket::Result::Done) {
            Lose(result, TalkState::Ended);
            return false;
        }
        if (sent == 0) break;
        m_backlog.Consume(sent);
    }
    return true;
}

// So that the last thing that the camera gets is no half of a sample.
void Posting::FinishPacket() {
    const ULONGLONG end = GetTickCount64() + kFinishMs;
    while (m_backlog.IsBegun()) {
        std::size_t sent = 0;
        if (m_socket.sendSome(m_backlog.Front(), sent) != StreamSocket::Result::Done) return;
        m_backlog.Consume(sent);
        const ULONGLONG now = GetTickCount64();
        if (now >= end) return;
        if (sent == 0) {
            WaitForSingleObject(m_socket.event(), static_cast<DWORD>(end - now));
            m_socket.acknowledge();
        }
    }
}

TalkState Posting::Talk() {
    for (;;) {
        if (!Send()) return TalkState::Ended;
        switch (Await(kWaitMs)) {
            case Wake::Stopped:
                FinishPacket();
                return TalkState::Off;
            case Wake::NoMicrophone:
                NORIX_LOG(kWhere, 0, "the microphone is gone (error %u)",
                          static_cast<unsigned>(m_input.LastError()));
                FinishPacket();
                return TalkState::NoMicrophone;
            case Wake::Socket:
                if (!Receive()) return m_stop.StopRequested() ? TalkState::Off : TalkState::Ended;
                break;
            case Wake::Microphone:
            case Wake::Nothing:
                break;
        }
    }
}

TalkState Posting::Run() {
    if (!m_encoder.Open() || !m_input.Start()) return TalkState::NoMicrophone;
    PostDialogue dialogue(m_job.target, RandomHex());
    const TalkState answer = Ask(dialogue);
    if (answer != TalkState::Talking) return answer;
    dialogue.Granted();
    m_job.progress->Set(TalkState::Talking);
    const TalkState end = Talk();
    if (m_backlog.DroppedUs() != 0) {
        NORIX_LOG(kWhere, 0, "talk-back to %s:%u: %u ms of voice dropped", m_job.target.host.c_str(),
                  m_job.target.port, static_cast<unsigned>(m_backlog.DroppedUs() / 1000));
    }
    return end;
}

}  // namespace

void PostJob::Run(util::StopToken& stop) {
    NORIX_LOG(kWhere, 0, "CWaveIn::PostUrlThreadBody(url=%s) begin", util::RedactSecrets(url).c_str());
    // Whatever happens, the microphone is off first, and nobody waits in vain.
    struct Ending {
        PostJob& job;
        TalkState state = TalkState::Ended;
        ~Ending() {
            job.input->Stop();
            job.progress->Set(state);
        }
    } ending{*this};
    ending.state = Posting(*this, stop).Run();
    NORIX_LOG(kWhere, 0, "CWaveIn::PostUrlThreadBody(url=%s) end", util::RedactSecrets(url).c_str());
}

}  // namespace norix
