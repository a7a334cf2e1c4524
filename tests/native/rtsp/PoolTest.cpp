// What a stream on a bad link leaves in the pools: from packets through sockets, sources and sinks to frame
// records.

#include <gmock/gmock.h>

#include <random>

#include "live/BasicUsageEnvironment.hh"
#include "live/GroupsockHelper.hh"
#include "live/liveMedia.hh"

#include "include/RTSP/DummySink.h"
#include "live/rtp/RtpFrameSource.h"
#include "media/CtrlParam.h"
#include "tests/native/live/Packetizer.h"

namespace norix {
namespace {

using namespace live_test;

struct VideoRecord {
    Buffer data;
    std::uint32_t pts;
    bool key;
    bool damagedBefore;
};
struct SoundRecord {
    Buffer data;
    std::uint32_t pts;
};

constexpr char kDescription[] =
    "v=0\r\nm=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n"
    "a=fmtp:96 packetization-mode=1;sprop-parameter-sets=Z0IA,aM4=\r\nm=audio 0 RTP/AVP 0\r\n";
const Buffer kSets{0, 0, 0, 1, 0x67, 0x42, 0x00, 0, 0, 0, 1, 0x68, 0xCE};

// A session without a server: packets are sent to its ports.
class Pools : public testing::Test {
  protected:
    explicit Pools(char const* description = kDescription, VideoCodec codec = VideoCodec::H264)
        : m_session(MediaSession::createNew(*m_env, description)) {
        m_param.videoCodec.Set(codec);
        MediaSubsessionIterator subsessions(*m_session);
        for (MediaSubsession*& medium : m_media) {
            medium = subsessions.next();
            EXPECT_TRUE(medium->initiate());
            // Nothing waits: what is missing is known with the next packet, without any time passing.
            medium->rtpSource()->setPacketReorderingThresholdTime(0);
            medium->sink = DummySink::createNew(*m_env, *medium, 2'048'000, m_param, m_stop);
            medium->sink->startPlaying(*medium->readSource(), nullptr, nullptr);
        }
    }
    ~Pools() override {
        for (MediaSubsession* medium : m_media)
            Medium::close(std::exchange(medium->sink, nullptr));
        Medium::close(m_session);
        m_out.reset();
        m_env->reclaim();
    }

    void Send(int medium, const Packet& packet, std::uint32_t ssrc = 7) {
        m_out->sendTo(htonl(INADDR_LOOPBACK), m_media[medium]->clientPortNum(),
                      packet.wire(medium == kVideo ? 96 : 0, ssrc));
        m_scheduler->SingleStep(1);
        Take();
    }
    void SendReport(int medium, double seconds, std::uint32_t timestamp) {
        const auto ntp = static_cast<std::uint64_t>((3'900'000'000.0 + seconds) * 4294967296.0);
        Buffer report{0x80, 200, 0, 6, 0, 0, 0, 7};
        for (int shift = 56; shift >= 0; shift -= 8)
            report.push_back(static_cast<unsigned char>(ntp >> shift));
        for (int shift = 24; shift >= 0; shift -= 8)
            report.push_back(static_cast<unsigned char>(timestamp >> shift));
        report.resize(28);
        m_out->sendTo(htonl(INADDR_LOOPBACK), static_cast<portNumBits>(m_media[medium]->clientPortNum() + 1),
                      report);
        m_scheduler->SingleStep(1);
    }
    void Take() {
        // An empty queue would be waited for.
        VideoFrameRecord* video = nullptr;
        for (; m_takenVideo < m_param.GetFrameCount(FrameCounters::kReceived); ++m_takenVideo) {
            ASSERT_EQ(m_param.GetFilledVideoFrame(&video), kResultOk);
            m_video.push_back({Buffer(video->data.get(), video->data.get() + video->payloadLength),
                               video->pts, video->frameType == kKeyFrame, video->damagedBefore});
            m_param.PutEmptyVideoFrame(video);
        }
        AudioFrameRecord* sound = nullptr;
        auto& sink = *static_cast<DummySink*>(m_media[kSound]->sink);
        for (; m_takenSound < sink.Frames(); ++m_takenSound) {
            ASSERT_EQ(m_param.GetFilledAudioFrame(&sound), kResultOk);
            m_sound.push_back(
                {Buffer(sound->data.get(), sound->data.get() + sound->storedLength), sound->pts});
            m_param.PutEmptyAudioFrame(sound);
        }
    }

    static constexpr int kVideo = 0, kSound = 1;
    std::unique_ptr<BasicTaskScheduler> m_scheduler{BasicTaskScheduler::createNew()};
    UsageEnvironment* m_env = BasicUsageEnvironment::createNew(*m_scheduler);
    MediaSession* const m_session;
    std::unique_ptr<Groupsock> m_out = Groupsock::open(*m_env, 0, 0);
    CCtrlParam m_param{MediaSettings{}};
    const EventLoopWatchVariable m_stop{0};
    MediaSubsession* m_media[2] = {};
    std::uint32_t m_takenVideo = 0;
    std::uint64_t m_takenSound = 0;
    std::vector<VideoRecord> m_video;
    std::vector<SoundRecord> m_sound;
};

// Parameter sets stand in the description only; the stream is joined amid a group of pictures.
TEST_F(Pools, EveryKeyFrameCanBeBegunWithAndEveryGapIsTold) {
    constexpr std::uint32_t kGroup = 10, kFrames = 500, kJoined = 4;
    std::minstd_rand random(3);
    std::uint16_t sequence = 65000;
    std::uint32_t timestamp = 1;
    for (const unsigned lossPercent : {0u, 1u, 5u}) {
        m_video.clear();
        std::vector<Buffer> sent;
        std::vector<bool> whole;
        for (std::uint32_t i = kJoined; i < kFrames; ++i, timestamp += 3600) {
            Buffer frame = randomBytes(i, 4000, {static_cast<unsigned char>(i % kGroup ? 0x41 : 0x65), 0x9A});
            auto parts = packetizeH264(frame, timestamp, 500);
            bool all = true;
            for (Packet& part : parts) {
                part.sequence = sequence++;
                const bool lost = random() % 100 < lossPercent;
                all = all && !lost;
                if (!lost) Send(kVideo, part);
            }
            sent.push_back(std::move(frame));
            whole.push_back(all);
        }
        std::size_t at = 0;
        bool gap = false;
        for (std::size_t i = 0; i < sent.size(); ++i) {
            if (!whole[i]) {
                gap = true;
                continue;
            }
            ASSERT_LT(at, m_video.size()) << lossPercent;
            const VideoRecord& record = m_video[at++];
            const bool key = (i + kJoined) % kGroup == 0;
            EXPECT_EQ(record.key, key);
            const bool begins = std::equal(kSets.begin(), kSets.end(), record.data.begin());
            EXPECT_TRUE(begins || !key) << "frame " << i << " at " << lossPercent << " %";
            EXPECT_TRUE(std::equal(sent[i].rbegin(), sent[i].rend(), record.data.rbegin()));
            EXPECT_EQ(record.damagedBefore, gap) << "frame " << i << " at " << lossPercent << " %";
            gap = false;
        }
        EXPECT_EQ(at, m_video.size());
    }
}

constexpr char kH265Description[] =
    "v=0\r\nm=video 0 RTP/AVP 96\r\na=rtpmap:96 H265/90000\r\n"
    "a=fmtp:96 sprop-vps=QAEH;sprop-sps=QgEI;sprop-pps=RAEJ\r\nm=audio 0 RTP/AVP 0\r\n";
const Buffer kH265Sets{0, 0, 0, 1, 0x40, 1, 7, 0, 0, 0, 1, 0x42, 1, 8, 0, 0, 0, 1, 0x44, 1, 9};

class H265Pools : public Pools {
  protected:
    H265Pools() : Pools(kH265Description, VideoCodec::H265) {}
};

// Pictures of three slices, from cameras that set the marker behind each picture, behind each slice, or
// never. Where it doesn't tell a picture's end, the next one's beginning does, and a loss between the two
// costs it.
TEST_F(H265Pools, PicturesComeWholeOrNotAtAll) {
    enum Markers { kBehindPictures, kNone, kBehindSlices };
    constexpr std::uint32_t kGroup = 10, kFrames = 300, kSlices = 3;
    std::minstd_rand random(5);
    std::uint16_t sequence = 65000;
    std::uint32_t timestamp = 1;
    for (const Markers markers : {kBehindPictures, kBehindSlices, kNone}) {
        for (const unsigned lossPercent : {0u, 2u}) {
            m_video.clear();
            std::vector<Buffer> sent;
            std::vector<bool> whole;
            for (std::uint32_t i = 0; i < kFrames; ++i, timestamp += 3600) {
                const unsigned char type = i % kGroup ? 0x02 : 0x26;
                Buffer picture;
                bool all = true;
                for (std::uint32_t slice = 0; slice < kSlices; ++slice) {
                    const unsigned char begin = slice == 0 ? 0xA0 : 0x20;
                    const Buffer unit = randomBytes(i * kSlices + slice, 1500, {type, 1, begin});
                    picture.insert(picture.end(), {0, 0, 0, 1});
                    picture.insert(picture.end(), unit.begin(), unit.end());
                    auto parts = packetizeH265(unit, timestamp, 500);
                    parts.back().marker =
                        markers == kBehindSlices || (markers == kBehindPictures && slice + 1 == kSlices);
                    for (Packet& part : parts) {
                        part.sequence = sequence++;
                        const bool lost = random() % 100 < lossPercent;
                        all = all && !lost;
                        if (!lost) Send(kVideo, part);
                    }
                }
                sent.push_back(std::move(picture));
                whole.push_back(all);
            }
            Packet delimiter;
            delimiter.sequence = sequence++;
            delimiter.timestamp = timestamp;
            delimiter.payload = {0x46, 1, 0x50};
            Send(kVideo, delimiter);  // ends the last one
            // The first one with markers behind its slices teaches.
            const std::string what =
                "markers " + std::to_string(markers) + ", " + std::to_string(lossPercent) + " % lost";
            std::size_t at = markers == kBehindSlices && lossPercent == 0 && !m_video.empty() ? 1 : 0;
            bool gap = at != 0;
            std::size_t missing = 0;
            for (std::size_t i = at; i < sent.size(); ++i) {
                const bool here = at < m_video.size() && m_video[at].data.size() >= sent[i].size() &&
                                  std::equal(sent[i].rbegin(), sent[i].rend(), m_video[at].data.rbegin());
                if (!here) {
                    if (whole[i]) ++missing;
                    gap = true;
                    continue;
                }
                const VideoRecord& record = m_video[at++];
                EXPECT_TRUE(whole[i]) << what;
                EXPECT_EQ(record.key, i % kGroup == 0) << what;
                EXPECT_EQ(record.key, std::search(record.data.begin(), record.data.end(), kH265Sets.begin(),
                                                  kH265Sets.end()) != record.data.end())
                    << what;
                EXPECT_EQ(record.damagedBefore, gap) << what << ", picture " << i;
                gap = false;
            }
            EXPECT_EQ(at, m_video.size()) << what;
            const bool told = lossPercent == 0 || markers == kBehindPictures;
            EXPECT_LE(missing, told ? 0 : sent.size() / 10) << what;
        }
    }
}

// A flash and a beep at one moment of the sender's clock each second; sound runs 300 ms behind picture, which
// only the reports tell.
TEST_F(Pools, SoundMeetsThePictureByTheSendersReports) {
    constexpr std::uint32_t kVideoStart = 4'000'000'000, kSoundStart = 77;
    constexpr int kSoundLate = 15;  // packets of 20 ms
    std::uint16_t sequence[2] = {9, 65530};
    std::vector<std::uint32_t> flashes, beeps;
    std::uint32_t lastVideo = 0, lastSound = 0;
    const auto run = [&](int from, int to, std::uint32_t ssrc) {
        for (int tick = from; tick < to; ++tick) {  // of 20 ms
            const auto soundTime = kSoundStart + static_cast<std::uint32_t>(tick) * 160;
            const auto videoTime = kVideoStart + static_cast<std::uint32_t>(tick) * 1800;
            if (tick % 50 == 25) {
                SendReport(kVideo, tick * 0.02, videoTime);
                SendReport(kSound, (tick - kSoundLate) * 0.02, soundTime);
            }
            Packet sound;
            sound.sequence = sequence[kSound]++;
            sound.timestamp = soundTime;
            sound.payload.assign(160, tick % 50 == kSoundLate ? 1 : 0xFF);
            Send(kSound, sound, ssrc);
            if (tick % 2 == 0) {
                Packet picture;
                picture.sequence = sequence[kVideo]++;
                picture.timestamp = videoTime;
                picture.marker = true;
                picture.payload = {0x65, 0x88, static_cast<unsigned char>(tick % 50 == 0 ? 1 : 9)};
                Send(kVideo, picture, ssrc);
            }
        }
        for (const VideoRecord& record : m_video) {
            EXPECT_GE(record.pts, lastVideo);
            lastVideo = record.pts;
            if (record.data.back() == 1) flashes.push_back(record.pts);
        }
        for (const SoundRecord& record : m_sound) {
            EXPECT_GE(record.pts, lastSound);
            lastSound = record.pts;
            if (record.data.back() == 1) beeps.push_back(record.pts);
        }
        m_video.clear();
        m_sound.clear();
    };
    run(0, 260, 7);
    ASSERT_EQ(flashes.size(), 6u);
    ASSERT_EQ(beeps.size(), 5u);
    EXPECT_NEAR(beeps[0], flashes[0] + 300.0, 1) << "nothing is known yet";
    for (std::size_t i = 1; i < beeps.size(); ++i)
        EXPECT_NEAR(static_cast<double>(beeps[i]), static_cast<double>(flashes[i]), 40) << i;
}

}  // namespace
}  // namespace norix
