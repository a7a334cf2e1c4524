// Pan, tilt, zoom and presets as they arrive at a server that takes down what it is sent.

#include "tests/support/WebServer.h"
#include "tests/windows/control/ControlFixture.h"

namespace norix::test {
namespace {

class Ptz : public ControlTest {
  protected:
    /// What the server got: the request's line, and its body.
    Texts Asked() {
        Texts asked;
        for (const std::string& request : m_server.Take())
            asked.push_back(request.substr(0, request.find("\r\n")) +
                            request.substr(request.find("\r\n\r\n") + 4));
        return asked;
    }
    void SetUp() override {
        Create();
        Put(L"ServerIP", L"127.0.0.1");
        Put(L"HttpPort", m_server.Port());
    }

    std::string m_reply = ::HttpReply("200 OK", "", "");

  private:
    WebServer m_server{"127.0.0.1", 0, [this](const std::string&) { return m_reply; }};
};

TEST_F(Ptz, SendsEachCommandWithItsSpeeds) {
    struct Case {
        const wchar_t* command;
        short parameter;
        const char* query;  // from the channel on
    };
    const Case cases[] = {
        {L"upleft", 5, "1&move=upleft&speedtilt=5&speedpan=5&speedzoom=0"},
        {L"upright", 5, "1&move=upright&speedtilt=5&speedpan=5&speedzoom=0"},
        {L"downleft", 5, "1&move=downleft&speedtilt=5&speedpan=5&speedzoom=0"},
        {L"downright", 32767, "1&move=downright&speedtilt=32767&speedpan=32767&speedzoom=0"},
        {L"UP", 7, "1&move=up&speedtilt=7&speedpan=0&speedzoom=0"},
        {L"down", -7, "1&move=down&speedtilt=-7&speedpan=0&speedzoom=0"},
        {L"Left", 7, "1&move=left&speedtilt=0&speedpan=7&speedzoom=0"},
        {L"right", 7, "1&move=right&speedtilt=0&speedpan=7&speedzoom=0"},
        {L"zin", 9, "1&move=zin&speedtilt=0&speedpan=0&speedzoom=9"},
        {L"zout", 9, "1&move=zout&speedtilt=0&speedpan=0&speedzoom=9"},
        {L"stop", 9, "1&move=stop&speedtilt=0&speedpan=0&speedzoom=0"},
        {L"pstop", 9, "1&move=pstop&speedtilt=0&speedpan=0&speedzoom=0"},
        {L"tstop", 9, "1&move=tstop&speedtilt=0&speedpan=0&speedzoom=0"},
        {L"zstop", 9, "1&move=zstop&speedtilt=0&speedpan=0&speedzoom=0"},
        {L"gopreset", 3, "1&move=gopreset&recall=3&speedtilt=0&speedpan=0&speedzoom=0"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Control().SendCameraCommand(c.command, c.parameter), 0);
        EXPECT_EQ(Asked(),
                  Texts{std::string("GET /kest-cgi/setPTZCtrl.cgi?channel=") + c.query + " HTTP/1.0"});
    }
    for (const wchar_t* const unknown : {L"home", L"", L" up", L"up\r\n", L"addpreset"})
        EXPECT_EQ(Control().SendCameraCommand(unknown, 1), -1);
    EXPECT_EQ(Asked(), Texts{});

    // The channel that is viewed; nobody looks at the reply.
    Put(L"CHIndex", 4L);
    m_reply = ::HttpReply("500 Oops", "", "Error");
    EXPECT_EQ(Control().SendCameraCommand(L"stop", 0), 0);
    EXPECT_EQ(Asked().front().substr(0, 52), "GET /kest-cgi/setPTZCtrl.cgi?channel=4&move=stop&spe");
    Put(L"ServerIP", L"");
    EXPECT_EQ(Control().SendCameraCommand(L"stop", 0), -1) << "nobody was sent anything";
}

TEST_F(Ptz, SavesAndNamesPresets) {
    struct Case {
        const wchar_t* name;
        short index;
        const char* sent;
    };
    for (const Case& c :
         {Case{L"gate", 7, "gate&PresetIndex=07"}, Case{L"a&b=%41+/?", 123, "a&b=%41+/?&PresetIndex=123"},
          Case{L"", -3, "&PresetIndex=-3"},
          Case{L"a b\r\nX: y\n\u00e4", 1, "a%20bX:%20y%C3%A4&PresetIndex=01"}}) {
        Control().SavePresetPosition(c.name, c.index);
        EXPECT_EQ(Asked(), Texts{std::string("GET /kest-cgi/setPreset.cgi?move=addpreset&name=") + c.sent +
                                 "&speedtilt=0&speedpan=0&speedzoom=0 HTTP/1.0"});
    }

    std::string body = "POST /kest-cgi/getParam.cgi? HTTP/1.0";
    for (int i = 1; i <= 25; ++i)
        body += (i > 1 ? "&camctrl_presetname" : "camctrl_presetname") + std::string(i < 10 ? "0" : "") +
                std::to_string(i);
    struct Reply {
        std::string reply;
        std::wstring names;
    };
    const std::string line = "camctrl_presetname";
    for (const Reply& r :
         {Reply{line + "02=door\n" + line + "01=a=b\n" + line + "03=Not Exist\n" + line + "04=lost",
                L"door#a=b#Not Exist#"},
          Reply{line + "01=\n\nno sign\nx=1\r\n", L"###1\r#"}, Reply{"Error\nx=1\n", L""}, Reply{"", L""}}) {
        m_reply = ::HttpReply("200 OK", "Content-Type: text/plain\r\n", r.reply);
        EXPECT_EQ(Control().GetPresetName(), r.names);
        EXPECT_EQ(Asked(), Texts{body});
    }
    m_reply = ::HttpReply("200 OK", "Content-Type: text/plain; charset=gb2312\r\n", line + "01=\xc3\xc5\n");
    EXPECT_EQ(Control().GetPresetName(), L"\u95e8#");
    Asked();
    Control().SavePresetPosition(L"\u95e8", 1);
    EXPECT_NE(Asked().front().find("&name=%C3%C5&"), std::string::npos) << "as the camera tells it";
    m_reply = ::HttpReply("404 Not Found", "", "<a href=x>\n");
    EXPECT_EQ(Control().GetPresetName(), L"");
}

}  // namespace
}  // namespace norix::test
