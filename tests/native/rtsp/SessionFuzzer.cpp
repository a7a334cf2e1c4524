// Whole sessions, engine and driver, against a server that says whatever it likes. The input: a byte that
// chooses transport and media, then pieces that end with byte 0xFE. A piece is the answer to the next
// request, with {cseq} for its number; one that begins with '!' comes by itself, '^' closes the connection
// that spoke last. No credentials reach another server than the session's own, requests and datagrams are
// bounded, and the session ends when it is told.

#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "include/RTSP/RTSPSession.h"
#include "media/CtrlParam.h"
#include "net/KnownServers.h"
#include "protocol/Text.h"
#include "tests/native/rtsp/FrameTaker.h"
#include "tests/native/rtsp/FuzzNetwork.h"

namespace {

using namespace norix;

constexpr char kHome[] = "192.0.2.1:554";
constexpr char kTunnelHome[] = "192.0.2.1:80";
constexpr char kUser[] = "kzqx", kPassword[] = "wvyj";
constexpr std::int64_t kLongest = 20'000;  // milliseconds

class ScriptedServer final : public fuzz::Server {
  public:
    ScriptedServer(std::string_view script, bool tunnel) : m_rest(script), m_tunnel(tunnel) {}

    RTSPSession* session = nullptr;
    int requests = 0;
    int pieces = 0;

    void OnBytes(int connection, std::string_view bytes) override {
        m_idle = 0;
        std::string& received = m_received[connection];
        received += bytes;
        if (fuzz::AddressOf(connection) != (m_tunnel ? kTunnelHome : kHome)) CheckNoSecrets(received);
        for (std::size_t end = 0; (end = received.find("\r\n\r\n")) != received.npos;) {
            const std::string head = received.substr(0, end + 4);
            received.erase(0, end + 4);
            OnRequest(connection, head);
        }
        // Behind a tunnel's POST: only counted.
        if (m_posts[connection]) OnPosted(connection, received);
    }

    int OnIdle() override {
        constexpr int kStep = 200;
        const bool speaks = !m_rest.empty() && (m_rest[0] == '!' || m_rest[0] == '^');
        if (speaks && m_last >= 0) {
            Answer(m_last);
        } else if (fuzz::Milliseconds() > kLongest || (m_rest.empty() && ++m_idle > 3)) {
            session->RequestStop();
        }
        return kStep;
    }

  private:
    void OnRequest(int connection, const std::string& head) {
        ++requests;
        m_last = m_last >= 0 && m_posts[connection] ? m_last : connection;
        if (head.starts_with("POST ")) {
            m_posts[connection] = true;
            return;
        }
        const std::size_t at = head.find("CSeq: ");
        if (at != head.npos) m_sequence = head.substr(at + 6, head.find('\r', at) - at - 6);
        Answer(m_last);
    }
    void OnPosted(int connection, std::string& received) {
        const std::size_t whole = received.size() / 4 * 4;
        const auto decoded = protocol::decodeBase64(received.substr(0, whole));
        const std::string text(decoded.begin(), decoded.end());
        if (fuzz::AddressOf(connection) != kTunnelHome) CheckNoSecrets(text);
        received.erase(0, whole);
        if (text.find("RTSP/1.0\r\n") != text.npos) OnRequest(connection, text);
    }
    void Answer(int connection) {
        if (m_rest.empty()) return;
        std::string piece(m_rest.substr(0, m_rest.find('\xFE')));
        m_rest.remove_prefix(std::min(piece.size() + 1, m_rest.size()));
        ++pieces;
        if (piece.starts_with('^')) {
            fuzz::Close(connection);
            return;
        }
        if (piece.starts_with('!')) piece.erase(0, 1);
        const std::string mark = "{cseq}";
        if (const std::size_t at = piece.find(mark); at != piece.npos)
            piece.replace(at, mark.size(), m_sequence);
        fuzz::Send(connection, piece);
    }
    static void CheckNoSecrets(const std::string& text) {
        const std::string basic = protocol::encodeBase64(std::string(kUser) + ":" + kPassword);
        for (const std::string& secret : {std::string(kUser), std::string(kPassword), basic}) {
            if (text.find(secret) != text.npos) std::abort();
        }
    }

    std::string_view m_rest;
    const bool m_tunnel;
    std::map<int, std::string> m_received;  // by connection
    std::map<int, bool> m_posts;
    int m_last = -1;  // where answers go
    int m_idle = 0;
    std::string m_sequence = "1";
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view script(reinterpret_cast<const char*>(data) + 1, size - 1);
    // Whoever is told the secrets by the input may be told them.
    for (const char* secret : {kUser, kPassword, "a3pxe"}) {
        if (script.find(secret) != script.npos) return 0;
    }
    constexpr EConnectProtocol kProtocols[] = {ecpTCP, ecpUDP, ecpHTTP, ecpMulticast};
    constexpr MediaType kMedia[] = {MediaType::AudioVideo, MediaType::Video, MediaType::Audio};
    net::KnownServers::get().forget();
    SessionSettings settings;
    settings.protocol = kProtocols[data[0] % 4];
    settings.streamUri = "rtsp://192.0.2.1/stream";
    settings.userName = kUser;
    settings.password = kPassword;
    settings.tunnelOverHttpPort = 80;
    ScriptedServer server(script, settings.protocol == ecpHTTP);
    fuzz::SetServer(&server);
    MediaSettings media;
    media.videoBufferSize = 100'000;
    media.videoBufferNum = media.audioBufferNum = 2;
    const auto param = std::make_shared<CCtrlParam>(media);
    param->mediaType.Set(kMedia[data[0] / 4 % 3]);
    param->SetRecorder(std::make_shared<fuzz::FrameTaker>(*param));
    {
        RTSPSession session(settings, param, nullptr);
        server.session = &session;
        session.RTSPStart();
    }
    param->SetRecorder(nullptr);
    const auto seconds = static_cast<int>(fuzz::Milliseconds() / 1000);
    // A request may be sent again with credentials and to another server; keep-alives come twice in a second.
    if (server.requests > 20 + 6 * server.pieces + 10 * seconds) std::abort();
    if (fuzz::Datagrams() > 200 + 8 * seconds) std::abort();
    fuzz::SetServer(nullptr);
    return 0;
}
