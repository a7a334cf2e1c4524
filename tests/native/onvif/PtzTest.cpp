// What a camera's PTZ service is sent for the control's commands, and what becomes of its answers.

#include "camera/onvif/OnvifPtz.h"

#include <gtest/gtest.h>

#include <map>

#include "Dialogue.h"
#include "camera/onvif/PresetNumbers.h"

namespace onvif_test {
namespace {

using namespace norix;
using Outcome = OnvifPtz::Outcome;
using Texts = std::vector<std::string>;

std::string Answer(const std::string& operation, const std::string& content) {
    return onvif::Envelope(
        "", "<t:" + operation + "Response xmlns:t='t'>" + content + "</t:" + operation + "Response>");
}

std::string Service(const char* nameSpace, const char* address) {
    return std::string("<t:Service><t:Namespace>") + nameSpace + "</t:Namespace><t:XAddr>" + address +
           "</t:XAddr></t:Service>";
}

std::string Profile(const char* token, const char* source, const std::string& ptz) {
    return std::string("<t:Profiles token='") + token + "'><VideoSourceConfiguration><SourceToken>" + source +
           "</SourceToken></VideoSourceConfiguration>" + ptz + "</t:Profiles>";
}

constexpr char kTurns[] =
    "<DefaultContinuousPanTiltVelocitySpace> http://x/VelocityGenericSpace "
    "</DefaultContinuousPanTiltVelocitySpace>";
constexpr char kZooms[] =
    "<DefaultContinuousZoomVelocitySpace>http://x/VelocityGenericSpace</DefaultContinuousZoomVelocitySpace>";

std::string Ptz(const std::string& spaces) {
    return "<PTZConfiguration token='c'>" + spaces + "</PTZConfiguration>";
}

// Answers each operation as it is told, and keeps what it was asked: the address, and what the operation
// holds.
class Head : public HttpTransport {
  public:
    HttpReply Send(const HttpRequest& request) override {
        const std::size_t body = request.body.find("<s:Body><o:") + 11;
        const std::string operation = request.body.substr(body, request.body.find(' ', body) - body);
        const std::size_t content = request.body.find('>', body) + 1;
        asked.push_back(
            request.path + " " + operation + " " +
            request.body.substr(content, request.body.find("</o:" + operation, content) - content));
        const auto answer = answers.find(operation);
        if (answer == answers.end()) return {};
        return {true, answer->second.starts_with("<?xml") ? 200u : 404u, "", answer->second};
    }
    Texts Take() { return std::exchange(asked, {}); }

    std::map<std::string, std::string> answers;
    Texts asked;
};

class OnvifPtzTest : public testing::Test {
  protected:
    OnvifPtzTest() {
        head.answers["GetServices"] = Answer(
            "GetServices", Service("http://www.onvif.org/ver10/media/wsdl", "http://camera/media") +
                               Service("http://www.onvif.org/ver20/ptz/wsdl", "http://10.0.0.9:81/ptz"));
        Profiles(Profile("p", "s", Ptz(std::string(kTurns) + kZooms)));
        for (const char* const operation : {"ContinuousMove", "Stop", "GotoPreset"})
            head.answers[operation] = Answer(operation, "");
        whom.host = "camera";
        ptz.Use(whom);
    }
    void Profiles(const std::string& profiles) {
        head.answers["GetProfiles"] = Answer("GetProfiles", profiles);
    }
    void Presets(const std::string& presets) { head.answers["GetPresets"] = Answer("GetPresets", presets); }
    /// For what has been told of another camera.
    void Forget() {
        ptz.AskAnew();
        head.Take();
    }
    Outcome Send(const char* command, int parameter) { return ptz.Send(*FindPtzMove(command), parameter); }

    Head head;
    OnvifQuestion whom;
    OnvifPtz ptz{head, QuietSurroundings()};
};

TEST_F(OnvifPtzTest, MovesAndStopsEachAxis) {
    EXPECT_EQ(Send("up", 50), Outcome::Sent);
    const Texts first = head.Take();
    ASSERT_EQ(first.size(), 3u) << "where the service is and which profile moves the camera is asked once";
    const std::string profile = "<o:ProfileToken>p</o:ProfileToken>";
    EXPECT_EQ(first[2], "/ptz ContinuousMove " + profile +
                            "<o:Velocity><tt:PanTilt x=\"0.00\" y=\"0.50\"/></o:Velocity>");
    const struct {
        const char* command;
        int parameter;
        std::string sent;
    } cases[] = {
        {"downright", 7, "<tt:PanTilt x=\"0.07\" y=\"-0.07\"/>"},
        {"upleft", 1000, "<tt:PanTilt x=\"-1.00\" y=\"1.00\"/>"},
        {"pstop", 9, "<tt:PanTilt x=\"0.00\" y=\"1.00\"/>"},  // the other one goes on
        {"tstop", 9, "Stop <o:PanTilt>true</o:PanTilt><o:Zoom>false</o:Zoom>"},
        {"left", -5, "<tt:PanTilt x=\"-0.01\" y=\"0.00\"/>"},
        {"zin", 100, "<tt:Zoom x=\"1.00\"/>"},
        {"zout", 30, "<tt:Zoom x=\"-0.30\"/>"},
        {"zstop", 0, "Stop <o:PanTilt>false</o:PanTilt><o:Zoom>true</o:Zoom>"},
        {"stop", 0, "Stop <o:PanTilt>true</o:PanTilt><o:Zoom>true</o:Zoom>"},
        {"pstop", 0, "Stop <o:PanTilt>true</o:PanTilt><o:Zoom>false</o:Zoom>"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Send(c.command, c.parameter), Outcome::Sent);
        std::string wanted = "/ptz ContinuousMove " + profile + "<o:Velocity>" + c.sent + "</o:Velocity>";
        if (c.sent.starts_with("Stop ")) wanted = "/ptz Stop " + profile + c.sent.substr(5);
        EXPECT_EQ(head.Take(), Texts{wanted}) << c.command;
    }
}

TEST_F(OnvifPtzTest, IsHonestAboutWhatItCan) {
    const auto can = [&] {
        Forget();
        PtzAbilities abilities;
        const Outcome outcome = ptz.Abilities(abilities);
        if (outcome != Outcome::Sent)
            return std::string(outcome == Outcome::NotSent ? "nothing" : "not ONVIF");
        return std::string(abilities.turns ? "turns" : "") + (abilities.zooms ? "zooms" : "");
    };
    EXPECT_EQ(can(), "turnszooms");
    Profiles(Profile("p", "s", Ptz(kZooms)));
    EXPECT_EQ(can(), "zooms");
    head.Take();
    EXPECT_EQ(Send("left", 5), Outcome::NotSent);
    EXPECT_EQ(Send("pstop", 5), Outcome::NotSent);
    EXPECT_EQ(head.Take(), Texts{});
    EXPECT_EQ(Send("stop", 5), Outcome::Sent);
    EXPECT_NE(head.Take()[0].find("<o:PanTilt>false</o:PanTilt>"), std::string::npos);

    Profiles(Profile("a", "1", "") + Profile("b", "2", Ptz(kTurns)) + Profile("c", "1", Ptz(kZooms)));
    EXPECT_EQ(can(), "zooms") << "another profile of the same source";
    EXPECT_EQ(Send("zin", 5), Outcome::Sent);
    EXPECT_NE(head.Take().back().find(">c<"), std::string::npos);
    whom.profileToken = "b";
    ptz.Use(whom);
    EXPECT_EQ(can(), "turns") << "the stream's own";
    Profiles(Profile("a", "1", "") + Profile("b", "2", ""));
    EXPECT_EQ(can(), "nothing");
    EXPECT_EQ(Send("left", 5), Outcome::NotSent);
    EXPECT_EQ(head.Take().size(), 2u) << "not asked again";
    Profiles(Profile("b", "2",
                     Ptz("<DefaultContinuousPanTiltVelocitySpace>http://maker/Degrees"
                         "</DefaultContinuousPanTiltVelocitySpace>")));
    EXPECT_EQ(can(), "turns");
    Send("up", 5);
    EXPECT_NE(head.Take().back().find(
                  "space=\"http://www.onvif.org/ver10/tptz/PanTiltSpaces/VelocityGenericSpace\""),
              std::string::npos);

    head.answers["GetServices"] =
        Answer("GetServices", Service("http://www.onvif.org/ver10/media/wsdl", "http://camera/media"));
    head.answers["GetCapabilities"] = Answer("GetCapabilities", "");
    EXPECT_EQ(can(), "nothing") << "no such service";
    head.answers["GetServices"] = head.answers["GetCapabilities"] = "Not Found";
    EXPECT_EQ(can(), "not ONVIF");
    EXPECT_EQ(Send("left", 5), Outcome::NotOnvif);
    head.answers.erase("GetServices");
    EXPECT_EQ(can(), "nothing") << "nobody is there";
}

TEST_F(OnvifPtzTest, KeepsPresetsUnderTheirNumbers) {
    std::string names;
    Presets("");
    EXPECT_EQ(ptz.PresetNames(names), Outcome::Sent);
    EXPECT_EQ(names, "");
    EXPECT_EQ(Send("gopreset", 1), Outcome::NotSent);

    Presets("<t:Preset token='door'><Name>Door</Name></t:Preset>");
    head.answers["SetPreset"] = Answer("SetPreset", "<PresetToken>new&lt;</PresetToken>");
    head.Take();
    EXPECT_EQ(ptz.SavePreset("A <\r\nb", 7), Outcome::Sent);
    const std::string profile = "<o:ProfileToken>p</o:ProfileToken>";
    EXPECT_EQ(head.Take().back(), "/ptz SetPreset " + profile + "<o:PresetName>A &lt;b</o:PresetName>");
    Presets(
        "<t:Preset token='door'><Name>Door</Name></t:Preset><t:Preset "
        "token='new&lt;'><Name>A</Name></t:Preset>");
    EXPECT_EQ(ptz.PresetNames(names), Outcome::Sent);
    EXPECT_EQ(names, "Door######A#");
    head.Take();
    EXPECT_EQ(Send("gopreset", 7), Outcome::Sent);
    EXPECT_EQ(head.Take(), Texts{"/ptz GotoPreset " + profile + "<o:PresetToken>new&lt;</o:PresetToken>"});
    EXPECT_EQ(Send("gopreset", 2), Outcome::NotSent);
    EXPECT_EQ(ptz.SavePreset("", 1), Outcome::Sent);
    EXPECT_EQ(head.Take().back(), "/ptz SetPreset " + profile + "<o:PresetToken>door</o:PresetToken>");
    EXPECT_EQ(ptz.SavePreset("x", 0), Outcome::NotSent);

    head.answers["GetPresets"] = onvif::Envelope("", "<Fault/>");
    names = "before";
    EXPECT_EQ(ptz.PresetNames(names), Outcome::NotSent);
    EXPECT_EQ(names, "before");
}

TEST(OnvifPresets, HaveNumbers) {
    const auto names = [](std::vector<onvif::Preset> presets, std::map<int, std::string> saved) {
        return onvif::PresetNames(onvif::NumberPresets(presets, saved));
    };
    EXPECT_EQ(names({{"3", "c"}, {"01", "a"}, {"300", "x"}}, {}), "a##c#");
    EXPECT_EQ(names({{"3", "c"}, {"03", "d"}}, {}), "c#d#") << "by their places";
    EXPECT_EQ(names({{"0", "c"}, {"1", "d"}}, {}), "c#d#");
    EXPECT_EQ(names({{"a", "a"}, {"b", "b"}, {"c", "c"}}, {{2, "c"}, {9, "gone"}}), "a#c#b#");
}

// An answer may be anything; the limits are those of the other replies.
TEST_F(OnvifPtzTest, TakesNoMoreThanItsLimits) {
    std::string many;
    for (std::size_t i = 1; i <= 2 * kOnvifMostPresets; ++i)
        many += "<Preset token='" + std::to_string(i) + "'/>";
    EXPECT_EQ(onvif::ParsePresets(Answer("GetPresets", many))->size(), kOnvifMostPresets);
    EXPECT_FALSE(onvif::ParsePresets(Answer("GetPresets", many + std::string(kOnvifLargestReply, ' '))));
    EXPECT_FALSE(onvif::ParsePresets("<!DOCTYPE a [<!ENTITY b 'c'>]>" + Answer("GetPresets", "")));

    // Slow ones: whatever is begun, begins within the limit.
    OnvifSurroundings surroundings = QuietSurroundings();
    std::int64_t now = 0;
    surroundings.milliseconds = [&now] { return now += 1500; };
    OnvifPtz slow(head, surroundings);
    slow.Use(whom);
    head.Take();
    EXPECT_EQ(slow.Send(*FindPtzMove("left"), 5), Outcome::Sent);
    EXPECT_EQ(head.Take().size(), 3u);
}

}  // namespace
}  // namespace onvif_test
