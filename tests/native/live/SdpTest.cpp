// Session descriptions, and the sessions that are made of them.

#include <gmock/gmock.h>

#include "live/BasicUsageEnvironment.hh"
#include "live/liveMedia.hh"
#include "live/sdp/SdpDescription.h"

namespace live_test {
namespace {

using live::sdp::parseRange;
using live::sdp::parseSdp;

TEST(Sdp, ReadsWhatCamerasWrite) {
    std::string error;
    const auto session = parseSdp(
        "v=0\r\ns=Camera\r\nc=IN IP4 0.0.0.0\r\na=type:broadcast\r\na=control:*\r\na=range:npt=0-30.5\r\n"
        "m=video 5560 RTP/AVP 96 97\r\nc=IN IP4 239.1.1.1/127\r\na=rtpmap:97 JPEG/90000\r\na=rtpmap: 96 "
        "h264/90000\r\n"
        "a=fmtp:96 packetization-mode=1; Sprop-Parameter-Sets=Z0IA,aM4=;flag ; profile-level-id=42e01f\r\n"
        "a=framesize:96 1920-1080\r\na=framerate:12.5\r\na=control:trackID=1\r\n"
        "a=source-filter: incl IN IP4 239.1.1.1 10.0.0.7\r\n"
        "m=audio 0 RTP/AVP 8\na=range:clock=20200101T000000Z-\n"
        "m=audio 0 RTP/AVP 98\na=rtpmap:98 mpeg4-generic/44100/2\na=fmtp:98 config=1210\n"
        "m=application 0 RTP/AVP 107\na=rtpmap:107 vnd.onvif.metadata/90000\n",
        error);
    ASSERT_TRUE(session) << error;
    EXPECT_EQ(session->type, "broadcast");
    ASSERT_TRUE(session->range);
    EXPECT_DOUBLE_EQ(session->range->end, 30.5);
    ASSERT_EQ(session->media.size(), 4u);
    const auto& video = session->media[0];
    EXPECT_EQ(video.codec, "H264");
    EXPECT_EQ(video.connection, "239.1.1.1");
    EXPECT_EQ(video.source, "10.0.0.7");
    EXPECT_EQ(video.width, 1920u);
    EXPECT_DOUBLE_EQ(video.framesPerSecond, 12.5);
    EXPECT_THAT(video.attributes, testing::Contains(testing::Pair("sprop-parameter-sets", "Z0IA,aM4=")));
    EXPECT_THAT(video.attributes, testing::Contains(testing::Pair("flag", "")));
    EXPECT_EQ(session->media[1].codec, "PCMA");
    EXPECT_EQ(session->media[1].connection, "0.0.0.0");
    EXPECT_EQ(session->media[1].range->absoluteStart, "20200101T000000Z");
    EXPECT_EQ(session->media[2].channels, 2u);
    EXPECT_EQ(session->media[2].clockRate, 44100u);
}

// What can't be received says why, and nothing else suffers from it.
TEST(Sdp, AMediumsFaultCostsThatMedium) {
    for (const char* medium :
         {"m=video", "m=video 99999 RTP/AVP 96", "m=video 0 RTP/AVP 300", "m=video 0 RTP/AVP smart/1/90000",
          "m=audio -1 RTP/AVP 0", "m=audio 0 RTP/AVP 0\na=sendonly", "m=audio 0 RTP/AVP 0\na=inactive"}) {
        std::string error;
        const auto session = parseSdp("v=0\na=source-filter: incl IN IP4 * 10.0.0.7\nno line\n" +
                                          std::string(medium) + "\nm=video 0 RTP/AVP 26\n",
                                      error);
        ASSERT_TRUE(session) << medium;
        ASSERT_EQ(session->media.size(), 2u) << medium;
        EXPECT_NE(session->media[0].problem, "") << medium;
        EXPECT_EQ(session->media[1].problem, "") << medium;
        EXPECT_EQ(session->media[1].codec, "JPEG") << medium;
        EXPECT_EQ(session->media[1].source, "10.0.0.7") << "the session's";
    }
}

TEST(Sdp, Ranges) {
    struct Case {
        const char* text;
        double start, end;
    };
    for (const Case& c :
         {Case{"npt=0-", 0, 0}, Case{"npt=now-", 0, 0}, Case{" npt = 1.5-10", 1.5, 10},
          Case{"npt=0:01:02.5-1:00:00", 62.5, 3600}, Case{"npt=-5", 0, 5}, Case{"npt=3", 3, 0}}) {
        const auto range = parseRange(c.text);
        ASSERT_TRUE(range) << c.text;
        EXPECT_DOUBLE_EQ(range->start, c.start) << c.text;
        EXPECT_DOUBLE_EQ(range->end, c.end) << c.text;
    }
    for (const char* bad : {"", "npt", "npt=x-", "npt=1-x", "smpte=0-", "clock=-", "npt=1e9-", "npt=nan-"}) {
        EXPECT_FALSE(parseRange(bad)) << bad;
    }
}

TEST(ParameterSets, AreSplitAtCommas) {
    unsigned count = 0;
    const std::unique_ptr<SPropRecord[]> records(parseSPropParameterSets("Z0IA, aM4=,,!", count));
    ASSERT_EQ(count, 4u);
    EXPECT_EQ(std::string(records[0].sPropBytes, records[0].sPropBytes + records[0].sPropLength),
              std::string("\x67\x42\x00", 3));
    EXPECT_EQ(records[1].sPropLength, 2u);
    EXPECT_EQ(records[2].sPropLength, 0u);
    EXPECT_EQ(records[3].sPropLength, 0u);
    EXPECT_EQ(parseSPropParameterSets("", count), nullptr);
    EXPECT_EQ(parseSPropParameterSets(nullptr, count), nullptr);
    EXPECT_EQ(count, 0u);
}

TEST(MediaSession, InitiatesWhatItKnows) {
    const std::unique_ptr<TaskScheduler> scheduler(BasicTaskScheduler::createNew());
    UsageEnvironment* const env = BasicUsageEnvironment::createNew(*scheduler);
    EXPECT_EQ(MediaSession::createNew(*env, "nonsense"), nullptr);
    EXPECT_STRNE(env->getResultMsg(), "");
    MediaSession* const session = MediaSession::createNew(
        *env,
        "v=0\r\nm=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\na=fmtp:96 sprop-parameter-sets=Z0IA\r\n"
        "m=audio 0 RTP/AVP 0\r\na=range:npt=0-12\r\nm=audio 0 RTP/AVP 97\r\nm=video 0 UDP 33\r\n"
        "m=audio 0 RTP/AVP 98\r\na=rtpmap:98 MPEG4-GENERIC/8000\r\na=fmtp:98 sizelength=99\r\n"
        "m=video 0 RTP/AVP 34\r\na=rtpmap:34 H263/90000\r\n"
        "m=video 0 RTP/SAVP 96\r\na=rtpmap:96 H264/90000\r\nm=audio -1 RTP/AVP 0\r\n"
        "m=audio 0 RTP/AVPF/UDP 0\r\n");
    ASSERT_NE(session, nullptr);
    EXPECT_DOUBLE_EQ(session->playEndTime(), 12) << "the longest medium's";
    MediaSubsessionIterator subsessions(*session);
    for (const bool known : {true, true, false, false, false, false, false, false, true}) {
        MediaSubsession* const subsession = subsessions.next();
        ASSERT_NE(subsession, nullptr);
        EXPECT_EQ(subsession->initiate(), known) << subsession->codecName() << env->getResultMsg();
        EXPECT_EQ(subsession->readSource() != nullptr, known);
        EXPECT_EQ(subsession->rtcpInstance() != nullptr, known);
        if (!known) continue;
        EXPECT_EQ(subsession->clientPortNum() % 2, 0);
        EXPECT_EQ(subsession->rtpSource()->RTPgs()->port(), subsession->clientPortNum());
    }
    EXPECT_EQ(subsessions.next(), nullptr);
    subsessions.reset();
    EXPECT_STREQ(subsessions.next()->fmtp_spropparametersets(), "Z0IA");
    Medium::close(session);
    env->reclaim();
}

}  // namespace
}  // namespace live_test
