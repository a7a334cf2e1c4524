#pragma once

// A server that follows a script. One file per case; a new quirk needs no new code:
//
// clang-format off
//   # what it is about
//   url rtsp://user:password@{host}/path   where the client connects to (default rtsp://{host}/stream)
//   route camera.test                      this name alone may be reached, and stands for the server's address
//   transport tcp|udp|http|multicast       default tcp
//   listen no                              nobody listens on the port
//   expect DESCRIBE 401                    lines that the client writes down, in this order (others may come between)
//   never BYE                              what no line may begin with
//   within 2000                            milliseconds, default 5000
//   media audio|video                      whole sessions only, as are the next two: what is received
//   keepalive 5000                         milliseconds between keep-alives where the server states no time-out
//   watch 300                              milliseconds of the checks
//   log text                               what has to be logged
//
// Then what the server does. It takes connections one after the other:
//
//   > PLAY [text ...]     waits for a request; the rest of the line has to be in it ("!text": must not)
//   < line                sends a line; "<" alone an empty one. {cseq} is the last request's, {port} the server's
//   body                  sends the lines that follow up to "end", and, before that, their Content-Length and an
//                         empty line
//   sdp one|two           the same with a stock description: video, or video and audio
//   until PLAY [text ...]  the same after any number of others, which nobody answers
//   answer SETUP [text]   waits for the request and answers as a good server does; the text goes to the end of the
//                         header that matters (DESCRIBE: names the stock description)
//   raw 24 00 ...         sends bytes
//   rtp CHANNEL SEQ text  sends an interleaved H.264 packet (one NAL unit, a key frame: 'e' and the text)
//   udp SEQ text          the same as a datagram, to the client_port that the last SETUP named
//   foreign SEQ text      the same from another address than the server's
//   way N                 waits until N datagrams have come to the port {udp}
//   fill N c              sends N times the character
//   accept                takes the next connection (the first one is taken by itself)
//   hold                  like accept, but keeps the old one open, up to the next such step
//   other                 talks on the connection before the last from here on
//   base64                what comes from now on is base64 (a tunnel's POST)
//   plain                 ... and from now on no more
//   close | reset         ends the connection, in order or with a reset
//   wait 100              milliseconds
//
// At the end of the script the server stays silent until the client has gone.
// clang-format on

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace live_test {

struct Script {
    std::string url = "rtsp://{host}/stream";
    std::string route;
    std::string transport = "tcp";
    bool listen = true;
    std::vector<std::string> expected;
    std::vector<std::string> never;
    int withinMilliseconds = 5000;
    // Of runs of a whole session: "media audio|video", "watch MILLISECONDS", "log text".
    std::string media;
    int watchMilliseconds = 300;
    int keepAliveMilliseconds = 5000;
    std::vector<std::string> logged;
    std::vector<std::string> steps;
};

Script readScript(const std::filesystem::path& file);

class ScriptedServer {
  public:
    explicit ScriptedServer(const Script& script);
    ~ScriptedServer();

    unsigned short port() const { return m_port; }
    // What went against the script, "" when nothing did. After finish, which gives it a moment to come to its
    // end.
    const std::string& complaint() const { return m_complaint; }
    void finish();
    // Puts host and port into an address.
    std::string filled(std::string text) const;

  private:
    void run();
    bool step(const std::string& line, std::size_t& next);
    bool acceptNext();
    bool awaitRequest(const std::string& wanted, bool skipOthers = false);
    void answer(const std::string& method, const std::string& more);
    void take(const std::string& received);
    bool send(const std::string& bytes);
    void sendDatagram(const std::string& bytes, std::uint32_t from);
    bool awaitDatagrams(int count);
    void sendBody(const std::string& body);
    void closeCurrent(bool reset);

    const Script& m_script;
    int m_listener = -1;
    int m_socket = -1;
    int m_held = -1;
    unsigned short m_port = 0;
    bool m_base64 = false;
    int m_channel = 0;  // of the next SETUP
    unsigned short m_clientPort = 0;
    int m_datagrams = -1;
    unsigned short m_datagramPort = 0;
    std::string m_received;
    std::string m_encoded;  // the beginning of four characters of base64
    std::string m_sequence = "0";
    std::string m_complaint;
    std::atomic<bool> m_stop = false;
    std::atomic<bool> m_followed = false;  // the script is at its end
    std::thread m_thread;
};

// Plays the client's part: OPTIONS, DESCRIBE, SETUP of all, PLAY; what happens is written down.
std::vector<std::string> playClient(const Script& script, const std::string& url, unsigned short port);

}  // namespace live_test
