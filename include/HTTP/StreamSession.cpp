#include <winsock2.h>

#include "include/HTTP/StreamSession.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <random>
#include <vector>

#include "include/HTTP/BodyDecoder.h"
#include "include/HTTP/HttpDialogue.h"
#include "media/MediaPlatform.h"
#include "net/Failure.h"
#include "net/StreamSocket.h"
#include "util/Log.h"
#include "util/Redact.h"

namespace norix {
namespace {

using http::Bytes;
using net::StreamSocket;

constexpr char kWhere[] = "HttpStreamReceiver::Receive";
constexpr unsigned kUnauthorized = 401;
constexpr std::size_t kReceiveBytes = 64 * 1024;

std::string RandomHex() {
    std::random_device random;
    std::string text;
    for (int i = 0; i < 4; ++i) {
        char word[9];
        std::snprintf(word, sizeof(word), "%08x", static_cast<unsigned>(random()));
        text += word;
    }
    return text;
}

const char* TextOf(StreamSocket::Result result) {
    switch (result) {
        case StreamSocket::Result::Done:
            return "done";
        case StreamSocket::Result::NoAddress:
            return "name not found";
        case StreamSocket::Result::Closed:
            return "the camera has ended the connection";
        case StreamSocket::Result::Timeout:
            return "nothing came in time";
        case StreamSocket::Result::Stopped:
            return "stopped";
        case StreamSocket::Result::Failed:
            return "the connection failed";
    }
    return "";
}

// What is left of a span of time that begins now.
class Deadline {
  public:
    explicit Deadline(std::uint32_t milliseconds) : m_end(GetTickCount64() + milliseconds) {}
    std::uint32_t Left() const {
        const ULONGLONG now = GetTickCount64();
        return now < m_end ? static_cast<std::uint32_t>(m_end - now) : 0;
    }

  private:
    const ULONGLONG m_end;
};

}  // namespace

// The receiving thread's view: its connection, buffer and reasons.
class StreamSession::Receiving {
  public:
    Receiving(StreamSession& session, util::StopToken& stop)
        : m_session(session), m_stop(stop), m_socket(stop.Event()), m_buffer(kReceiveBytes) {}

    // Asks until a stream's head has come; false when there is none.
    bool Ask();
    // Receives until the stream ends for whatever reason.
    void Receive();

    const std::string& SessionCookie() const { return m_sessionCookie; }
    const std::string& Reason() const { return m_reason; }
    // User name or password is wrong, or the camera wants a kind of sign-in that is not known here.
    bool Unauthorized() const { return m_unauthorized; }

  private:
    std::optional<http::ReplyHead> ReadHead(const Deadline& deadline);
    bool Take(Bytes bytes, http::BodyDecoder& body, http::Splitter& splitter, http::FrameDelivery& delivery);
    bool Fail(std::string reason) {
        m_reason = std::move(reason);
        return false;
    }
    bool Fail(StreamSocket::Result result) {
        std::string reason = TextOf(result);
        if (result == StreamSocket::Result::Failed) reason = net::failureOfError(m_socket.error());
        return Fail(std::move(reason));
    }

    StreamSession& m_session;
    util::StopToken& m_stop;
    StreamSocket m_socket;
    std::vector<std::uint8_t> m_buffer;
    Bytes m_rest;  // what came behind the head, in m_buffer
    http::ReplyHead m_head;
    std::string m_sessionCookie;
    std::string m_reason;
    bool m_unauthorized = false;
};

std::optional<http::ReplyHead> StreamSession::Receiving::ReadHead(const Deadline& deadline) {
    http::HeadReader reader;
    for (;;) {
        std::size_t received = 0;
        const auto result = m_socket.receive(m_buffer, deadline.Left(), received);
        if (result != StreamSocket::Result::Done) {
            Fail(result);
            return std::nullopt;
        }
        m_rest = Bytes(m_buffer).first(received);
        const auto state = reader.Feed(m_rest);
        if (state == http::HeadReader::State::Done) return reader.Head();
        if (state == http::HeadReader::State::Bad || deadline.Left() == 0) {
            Fail(state == http::HeadReader::State::Bad ? "the answer is not HTTP"
                                                       : "the answer takes too long");
            return std::nullopt;
        }
    }
}

bool StreamSession::Receiving::Ask() {
    const Deadline deadline(m_session.request.timeLimitMs);
    const bool video = m_session.kind == http::FrameDelivery::Kind::Pictures;
    http::HttpDialogue dialogue(
        m_session.request, video ? http::HttpDialogue::Media::Pictures : http::HttpDialogue::Media::Sound,
        video ? RandomHex() : std::string(), RandomHex());
    if (!dialogue.Valid()) return Fail("host or path can't be asked for");
    for (;;) {
        const auto connected = m_socket.connect(dialogue.ConnectTo(), dialogue.Port(), deadline.Left());
        if (connected != StreamSocket::Result::Done) return Fail(connected);
        const auto sent = m_socket.send(dialogue.Request(), deadline.Left());
        if (sent != StreamSocket::Result::Done) return Fail(sent);
        auto head = ReadHead(deadline);
        if (!head) return false;
        switch (dialogue.Take(*head)) {
            case http::HttpDialogue::Next::Stream:
                m_head = std::move(*head);
                m_sessionCookie = dialogue.SessionCookie();
                return true;
            case http::HttpDialogue::Next::AskAgain:
                break;
            case http::HttpDialogue::Next::Refused:
                m_unauthorized = head->status == kUnauthorized;
                if (!m_session.decided.Wait(0)) m_session.unauthorized = m_unauthorized;
                m_session.param->refusal.Set(head->status);
                return Fail(dialogue.Reason());
        }
    }
}

// False when the stream ends here.
bool StreamSession::Receiving::Take(Bytes bytes, http::BodyDecoder& body, http::Splitter& splitter,
                                    http::FrameDelivery& delivery) {
    for (;;) {
        Bytes piece;
        switch (body.Next(bytes, piece)) {
            case http::BodyDecoder::State::More:
                return true;
            case http::BodyDecoder::State::End:
                return Fail("the stream has ended");
            case http::BodyDecoder::State::Bad:
                return Fail("the transfer coding is broken");
            case http::BodyDecoder::State::Data:
                break;
        }
        switch (splitter.Feed(piece, delivery)) {
            case http::Splitter::State::GoOn:
                break;
            case http::Splitter::State::End:
                return Fail("the stream has ended");
            case http::Splitter::State::Broken:
                return Fail("the stream is no media");
        }
    }
}

void StreamSession::Receiving::Receive() {
    const http::ContentType type = http::ParseContentType(m_head.contentType);
    http::FrameDelivery delivery(m_session.kind, *m_session.param, m_session.players.get());
    std::unique_ptr<http::Splitter> splitter;
    if (m_session.kind == http::FrameDelivery::Kind::Pictures) {
        splitter = std::make_unique<http::PictureSplitter>(m_session.bufferSize, type);
    } else {
        splitter = std::make_unique<http::SoundSplitter>(m_session.bufferSize);
    }
    // A length that is stated for an endless stream means nothing.
    const bool endless = type.content == http::Content::Multipart;
    http::BodyDecoder body(m_head.chunked, endless ? std::nullopt : m_head.contentLength);
    if (!m_session.decided.Wait(0)) {
        m_session.accepted = true;
        m_session.sessionCookie = m_sessionCookie;
        m_session.Decide();
    }

    if (type.content != http::Content::Bytes) delivery.StartPlayers();
    delivery.SetArrival(platform::TimerMs());
    while (Take(m_rest, body, *splitter, delivery)) {
        std::size_t received = 0;
        const auto result = m_socket.receive(m_buffer, m_session.stallMs, received);
        if (result != StreamSocket::Result::Done) {
            Fail(result);
            break;
        }
        m_rest = Bytes(m_buffer).first(received);
        delivery.SetArrival(platform::TimerMs());
    }
    if (!m_stop.StopRequested()) splitter->Finish(delivery);
}

void StreamSession::Decide() {
    if (decided.Wait(0)) return;
    decided.Set();
    if (onDecided) onDecided();
}

void StreamSession::Run(util::StopToken& stop) {
    // Whatever happens: nobody waits in vain, and an accepted stream's end is told.
    struct Ending {
        StreamSession& session;
        ~Ending() {
            if (session.accepted && session.retryMs == 0) session.Report();
            session.Decide();
        }
    } const ending{*this};

    while (ReceiveOnce(stop) && retryMs != 0) {
        Decide();
        if (stop.Wait(retryMs)) return;
    }
}

// False when it was stopped, or is not to be asked again: where sign-ins are refused, each one counts, and
// accounts get locked that are still good for the pictures.
bool StreamSession::ReceiveOnce(util::StopToken& stop) {
    Receiving receiving(*this, stop);
    const bool asked = receiving.Ask();
    if (asked) receiving.Receive();
    if (stop.StopRequested()) return false;
    if (retryMs == 0) param->failure.Set(receiving.Reason());
    NORIX_LOG(kWhere, 0, "%s:%u%s: %s: %s", request.host.c_str(), request.port,
              util::RedactSecrets(request.path).c_str(), asked ? "the stream is over" : "no stream",
              receiving.Reason().c_str());
    return !receiving.Unauthorized();
}

void StreamSession::Report() {
    const std::lock_guard<std::mutex> lock(m_lock);
    if (!m_silenced) param->window.Report(ecsConnectFail);
    m_silenced = true;
}

void StreamSession::Silence() {
    const std::lock_guard<std::mutex> lock(m_lock);
    m_silenced = true;
}

}  // namespace norix
