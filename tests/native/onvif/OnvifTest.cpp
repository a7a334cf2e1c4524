#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>

#include "Dialogue.h"
#include "camera/onvif/ProfileChoice.h"
#include "camera/onvif/SoapReply.h"
#include "camera/onvif/SoapRequest.h"
#include "protocol/Digest.h"
#include "protocol/Text.h"
#include "tests/support/LogCapture.h"

namespace onvif_test {
namespace {

using namespace norix;

std::string TextOf(const std::optional<OnvifStream>& stream) {
    if (!stream) return "nothing";
    return stream->uri + " " + stream->profileToken + " " + std::to_string(stream->frameRateLimit);
}

std::vector<std::string> RequestsOf(const Dialogue& dialogue) {
    std::vector<std::string> requests;
    for (const Exchange& exchange : dialogue.exchanges)
        requests.push_back(exchange.request);
    return requests;
}

void ExpectSent(const std::vector<std::string>& wanted, const std::vector<HttpRequest>& requests) {
    std::string bodies;
    for (const HttpRequest& request : requests) {
        pugi::xml_document document;
        EXPECT_TRUE(document.load_buffer(request.body.data(), request.body.size())) << request.body;
        EXPECT_EQ(request.maxReply, kOnvifLargestReply);
        // Nobody may have to know who asks before the clock is known.
        const bool anonymous =
            request.user.empty() || request.body.find("GetSystemDate") != request.body.npos;
        const std::string name = "<w:Username>";
        const std::string user = anonymous ? name : name + onvif::EscapeXml(request.user) + "</";
        EXPECT_EQ(request.body.find(user) == request.body.npos, anonymous) << request.body;
        bodies += request.body;
    }
    std::size_t at = 0;
    for (const std::string& part : wanted) {
        at = bodies.find(part, at);
        ASSERT_NE(at, bodies.npos) << part << " in\n" << bodies;
    }
}

class DialogueTest : public testing::TestWithParam<std::filesystem::path> {};

TEST_P(DialogueTest, ComesToItsEnd) {
    std::ostringstream text;
    text << std::ifstream(GetParam()).rdbuf();
    const Dialogue dialogue = ReadDialogue(text.str());
    ASSERT_NE(dialogue.expected, "");

    const util::LogCapture log;
    ScriptedCamera camera(dialogue.exchanges);
    const OnvifMediaPtr media = CreateOnvifMedia(camera, QuietSurroundings());
    EXPECT_EQ(TextOf(AskOnvif(*media, dialogue.question)), dialogue.expected);
    EXPECT_EQ(camera.asked, RequestsOf(dialogue));
    ExpectSent(dialogue.sent, camera.requests);
    for (const std::string& part : dialogue.logged)
        EXPECT_TRUE(log.Contains(part)) << part << " in\n" << testing::PrintToString(log.Lines());
    for (const std::string& part : dialogue.neverLogged)
        EXPECT_FALSE(log.Contains(part)) << part;
}

std::vector<std::filesystem::path> Dialogues() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator("tests/native/onvif/dialogues"))
        files.push_back(entry.path());
    return files;
}

INSTANTIATE_TEST_SUITE_P(Onvif, DialogueTest, testing::ValuesIn(Dialogues()),
                         [](const auto& info) { return info.param.stem().string(); });

std::string Profiles(int count, std::size_t padding) {
    std::string body = "<r:GetProfilesResponse xmlns:r='x'>";
    for (int i = 1; i <= count; ++i)
        body += "<r:Profiles token='p" + std::to_string(i) + "'/>";
    return onvif::Envelope("", body + std::string(padding, ' ') + "</r:GetProfilesResponse>");
}

TEST(OnvifLimits, OfRepliesAndProfiles) {
    const auto stream = [](std::uint32_t index, std::string profiles) {
        OnvifQuestion question;
        question.mediaServiceUri = "http://camera/media";
        question.streamIndex = index;
        const std::string uri = onvif::Envelope(
            "",
            "<GetStreamUriResponse><MediaUri><Uri>rtsp://camera/</Uri></MediaUri></GetStreamUriResponse>");
        ScriptedCamera camera({{"", true, 200, std::move(profiles)}, {"", true, 200, uri}});
        return TextOf(AskOnvif(*CreateOnvifMedia(camera, QuietSurroundings()), question));
    };
    EXPECT_EQ(stream(128, Profiles(1000, 0)), "rtsp://camera/ p128 0");
    EXPECT_EQ(stream(129, Profiles(1000, 0)), "nothing");
    EXPECT_EQ(stream(1, Profiles(1, 200 * 1024)), "rtsp://camera/ p1 0");
    EXPECT_EQ(stream(1, Profiles(1, 10 * 1024 * 1024)), "nothing");
    EXPECT_EQ(stream(1, std::string(250 * 1024 / 3, '<')), "nothing");
    std::string deep;
    while (deep.size() < 250 * 1024)
        deep += "<a>";
    EXPECT_EQ(stream(1, deep), "nothing");
}

TEST(OnvifProfiles, AreMeantByChannelStreamAndCodec) {
    const std::vector<onvif::Profile> profiles = {
        {"a1", "a", kKsOnvifH264, 0}, {"a2", "a", kKsOnvifJpeg, 0}, {"b1", "b", kKsOnvifJpeg, 0},
        {"a3", "a", kKsOnvifH264, 0}, {"b2", "b", kKsOnvifH264, 0},
    };
    const struct {
        std::uint32_t channel, stream;
        KsOnvifCodec codec;
        const char* token;
    } cases[] = {
        {1, 1, kKsOnvifAnyCodec, "a1"}, {1, 2, kKsOnvifAnyCodec, "a2"}, {1, 3, kKsOnvifAnyCodec, "a3"},
        {1, 4, kKsOnvifAnyCodec, ""},   {2, 1, kKsOnvifAnyCodec, "b1"}, {2, 2, kKsOnvifAnyCodec, "b2"},
        {9, 1, kKsOnvifAnyCodec, "b1"}, {1, 2, kKsOnvifH264, "a3"},     {1, 1, kKsOnvifJpeg, "a2"},
        {1, 3, kKsOnvifJpeg, "a3"},     {2, 1, kKsOnvifH264, "b2"},     {2, 0, kKsOnvifH264, ""},
    };
    for (const auto& c : cases) {
        const onvif::Profile* const chosen = onvif::ChooseProfile(profiles, c.channel, c.stream, c.codec);
        EXPECT_EQ(chosen ? chosen->token : "", c.token) << c.channel << " " << c.stream << " " << c.codec;
    }
}

// A camera that takes 2.5 seconds for each answer, and never has one that helps.
TEST(OnvifLimits, OfTime) {
    struct SlowCamera : HttpTransport {
        HttpReply Send(const HttpRequest&) override {
            now += 2500;
            ++requests;
            return {true, 500, "", ""};
        }
        std::int64_t now = 0;
        int requests = 0;
    } camera;
    OnvifSurroundings surroundings = QuietSurroundings();
    surroundings.milliseconds = [&camera] { return camera.now; };
    const OnvifMediaPtr media = CreateOnvifMedia(camera, surroundings);
    OnvifQuestion question;
    question.host = "camera";
    question.user = "user";
    EXPECT_FALSE(AskOnvif(*media, question));
    EXPECT_EQ(camera.requests, 2);
    // The next question starts anew.
    EXPECT_FALSE(AskOnvif(*media, question));
    EXPECT_EQ(camera.requests, 4);
}

TEST(OnvifMedia, KeepsTheContractOfTheInterface) {
    std::vector<Exchange> exchanges(10);  // most of them with an empty reply
    exchanges[0].reply = Profiles(1, 0);
    ScriptedCamera camera(exchanges);
    const OnvifMediaPtr media = CreateOnvifMedia(camera, QuietSurroundings());
    std::array<char, 3> token{};
    std::uint32_t limit = 7;
    EXPECT_EQ(media->GetProfileByIndex(1, 1, 0, token.data(), token.size()), kKsOnvifFail);  // not opened
    EXPECT_EQ(media->Open(nullptr), kKsOnvifNoObject);
    KsOnvifCamera whom{"", 80, 0, "", "", "rtsp://camera/media"};
    EXPECT_EQ(media->Open(&whom), kKsOnvifBadArgument);
    whom.mediaService = "";
    EXPECT_EQ(media->Open(&whom), kKsOnvifBadArgument);
    whom.mediaService = "http://camera/media";
    ASSERT_EQ(media->Open(&whom), kKsOnvifOk);

    EXPECT_EQ(media->GetProfileByIndex(1, 0, 0, token.data(), token.size()), kKsOnvifBadArgument);
    EXPECT_EQ(media->GetProfileByIndex(1, 1, 0, token.data(), 2), kKsOnvifTooSmall);
    EXPECT_EQ(media->GetProfileByIndex(1, 1, 0, token.data(), token.size()), kKsOnvifOk);
    EXPECT_STREQ(token.data(), "p1");
    EXPECT_EQ(media->GetProfileByToken("p2"), kKsOnvifNotFound);
    EXPECT_EQ(media->GetFrameRateLimit("p1", &limit), kKsOnvifOk);
    EXPECT_EQ(limit, 0u);
    EXPECT_EQ(media->GetStreamUri("p1", 5, token.data(), token.size()), kKsOnvifBadArgument);
    EXPECT_EQ(camera.asked.size(), 1u);
    for (int i = 0; i < 9; ++i)
        EXPECT_NE(media->GetStreamUri("p1", kKsOnvifUdp, token.data(), token.size()), kKsOnvifOk);
    EXPECT_EQ(camera.asked.size(), kOnvifMostRequests);
}

// RFC 3174, section 7.3.
TEST(Sha1, HasTheStandardsResults) {
    const auto hex = [](std::string_view text) {
        const std::string bytes = protocol::sha1(text);
        return protocol::toHex(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    };
    EXPECT_EQ(hex("abc"), "a9993e364706816aba3e25717850c26c9cd0d89d");
    EXPECT_EQ(hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
    EXPECT_EQ(hex(std::string(1000000, 'a')), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
    std::string digits;
    for (int i = 0; i < 80; ++i)
        digits += "01234567";
    EXPECT_EQ(hex(digits), "dea356a2cddd90c7a7ecedc5ebb563934f460452");
}

// The example of the ONVIF application programmer's guide.
TEST(OnvifRequests, AreMadeOfSafeParts) {
    const auto nonce = protocol::decodeBase64("LKqI6G/AikKCQrN0zqZFlg==");
    EXPECT_EQ(onvif::PasswordDigest({reinterpret_cast<const char*>(nonce.data()), nonce.size()},
                                    "2010-09-16T07:50:45Z", "userpassword"),
              "tuOSpGlFlIXsozq4HFNeeGeFLEI=");
    EXPECT_EQ(onvif::EscapeXml("\x01\t"), "?&#9;");
    const auto random = SystemOnvifSurroundings().nonce;
    EXPECT_EQ(random().size(), 16u);
    EXPECT_NE(random(), random());
}

TEST(OnvifReplies, TimesAreCheckedAndWrittenBack) {
    const auto parse = [](const char* date, const char* time) {
        return onvif::ParseSystemDateAndTime(onvif::Envelope(
            "", "<GetSystemDateAndTimeResponse><SystemDateAndTime><UTCDateTime><Date>" + std::string(date) +
                    "</Date><Time>" + time +
                    "</Time></UTCDateTime></SystemDateAndTime></GetSystemDateAndTimeResponse>"));
    };
    constexpr char kTime[] = "<Hour>23</Hour><Minute>59</Minute><Second>58</Second>";
    const auto leapDay = parse("<Year>2024</Year><Month>2</Month><Day>29</Day>", kTime);
    ASSERT_TRUE(leapDay);
    EXPECT_EQ(onvif::FormatUtc(*leapDay), "2024-02-29T23:59:58Z");
    EXPECT_FALSE(parse("<Year>2023</Year><Month>2</Month><Day>29</Day>", kTime));
    EXPECT_FALSE(parse("<Year>2023</Year><Month>-2</Month><Day>9</Day>", kTime));
    EXPECT_FALSE(parse("<Year>2023</Year><Month>2</Month><Day>9</Day>", "<Hour>23</Hour>"));
    EXPECT_EQ(onvif::FormatUtc(INT64_MAX), "9999-12-31T23:59:59Z");
    EXPECT_EQ(onvif::FormatUtc(-1), "1970-01-01T00:00:00Z");
}

}  // namespace
}  // namespace onvif_test
