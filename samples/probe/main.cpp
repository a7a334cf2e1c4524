// Receives a stream as the control does, and prints what arrives and how the connection fares.
//
//   rtspprobe [options] rtsp://[user:password@]host[:port]/path
//     -t udp|tcp|http|multicast|push   how to receive (udp)
//     -p port                          of the HTTP tunnel (80)
//     -n seconds                       how long (10)
//     -u user -w password              instead of those in the address
//     -V group:port -A group:port      push: the video's and the audio's group
//     -c h264|mpeg4|jpeg               push: the video's codec
//     -i address                       push: of the interface to receive on
//     -o prefix                        writes the frames to prefix.0 (video) and prefix.1 (audio)
//     -q                               prints totals and the status only
//
// Ends with 0 when every medium that was set up has delivered frames and nothing failed.

#include <chrono>
#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "live/tools/ProbeOptions.h"
#include "media/CtrlParam.h"
#include "samples/probe/FrameTaker.h"
#include "samples/probe/ProbeSession.h"

namespace {

using Clock = std::chrono::steady_clock;
using live::tools::ProbeOptions;

// What ends the run: the session's time or its failure, whichever comes first.
class Ending {
  public:
    void Set(bool failed) {
        if (!m_set.exchange(true)) m_promise.set_value(failed);
    }
    // Whether it failed; a session that does neither within that time did.
    bool Wait(double seconds) {
        auto future = m_promise.get_future();
        return future.wait_for(std::chrono::duration<double>(seconds)) != std::future_status::ready ||
               future.get();
    }

  private:
    std::atomic<bool> m_set{false};
    std::promise<bool> m_promise;
};

int OnStatus(int code, unsigned value, void* userData) {
    if (code == norix::kCallbackForceKeyFrame) {
        std::printf("status: a key frame is wanted\n");
        return 0;
    }
    const auto status = static_cast<norix::EConnectStatus>(value);
    const bool connected = status == norix::ecsConnected;
    std::printf("status: %s\n", connected                                    ? "connected"
                                : status == norix::ecsUserAuthenticationFail ? "not authorised"
                                                                             : "failed");
    std::fflush(stdout);
    if (!connected) static_cast<Ending*>(userData)->Set(true);
    return 0;
}

bool ReadProtocol(const std::string& name, norix::EConnectProtocol& protocol) {
    constexpr std::pair<const char*, norix::EConnectProtocol> kNames[] = {{"udp", norix::ecpUDP},
                                                                          {"tcp", norix::ecpTCP},
                                                                          {"http", norix::ecpHTTP},
                                                                          {"multicast", norix::ecpMulticast},
                                                                          {"push", norix::ecpMulticastPush}};
    for (const auto& [known, value] : kNames) {
        if (name != known) continue;
        protocol = value;
        return true;
    }
    return false;
}

norix::MulticastAddress ReadGroup(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) return {};
    return {text.substr(0, colon),
            static_cast<std::uint16_t>(std::strtoul(text.c_str() + colon + 1, nullptr, 10))};
}

void SetUpPush(const ProbeOptions& options, norix::MulticastInfo& multicast, norix::CCtrlParam& param) {
    multicast[norix::MulticastStream::Video] = ReadGroup(options.videoGroup);
    multicast[norix::MulticastStream::Audio] = ReadGroup(options.audioGroup);
    multicast.interfaceAddress = options.interfaceAddress;
    param.videoCodec.Set(options.codec == "mpeg4"  ? norix::VideoCodec::Mpeg4
                         : options.codec == "jpeg" ? norix::VideoCodec::Mjpeg
                                                   : norix::VideoCodec::H264);
}

int Run(const ProbeOptions& options, norix::SessionSettings settings) {
    // Every frame is to be seen, so the session waits for the taker.
    norix::MediaSettings media;
    media.enableDecodeFrameDrop = false;
    const auto param = std::make_shared<norix::CCtrlParam>(media);
    SetUpPush(options, settings.groups, *param);
    const auto taker = std::make_shared<probe::FrameTaker>(param, options.dump);
    Ending ending;
    settings.callback = OnStatus;
    settings.userData = &ending;
    const auto session = std::make_shared<probe::ProbeSession>(
        std::move(settings), param, taker, options.seconds, options.quiet, [&ending] { ending.Set(false); });
    std::thread thread([session] { session->RTSPStart(); });
    constexpr double kStarting = 10;  // seconds until it plays, at most
    const bool failed = ending.Wait(options.seconds + kStarting);
    const auto stopping = Clock::now();
    session->RequestStop();
    thread.join();
    const std::chrono::duration<double, std::milli> took = Clock::now() - stopping;
    taker->Stop();
    std::printf("pictures %llu, of which key %llu; stopped in %.0f ms\n",
                static_cast<unsigned long long>(taker->Pictures()),
                static_cast<unsigned long long>(taker->KeyPictures()), took.count());
    return !failed && session->Delivered() ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) try {
    ProbeOptions options;
    norix::SessionSettings settings;
    if (!live::tools::parseProbeOptions(count, arguments, options) ||
        !ReadProtocol(options.transport, settings.protocol) ||
        (options.url.empty() && settings.protocol != norix::ecpMulticastPush)) {
        std::fprintf(stderr,
                     "usage: rtspprobe [-t udp|tcp|http|multicast|push] [-p tunnel port] [-n seconds]\n"
                     "                 [-u user -w password] [-V group:port] [-A group:port]\n"
                     "                 [-c h264|mpeg4|jpeg] [-i address] [-o prefix] [-q] rtsp://...\n");
        return 2;
    }
    settings.streamUri = options.url;
    settings.userName = options.user;
    settings.password = options.password;
    settings.tunnelOverHttpPort = options.tunnelPort;
    return Run(options, std::move(settings));
} catch (const std::exception& error) {
    std::fprintf(stderr, "rtspprobe: %s\n", error.what());
    return 2;
}
