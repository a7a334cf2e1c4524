#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "camera/CameraRecords.h"
#include "camera/CgiParams.h"
#include "camera/CodecList.h"
#include "camera/CommandTables.h"
#include "camera/HttpTransport.h"
#include "media/MediaTypes.h"
#include "protocol/Url.h"

namespace norix {

/// How the camera's web server is reached, and how its texts are read: the control's properties of these
/// names. Ports are taken as 16 bits; others can't be reached.
struct CameraAccess {
    std::string serverIP;
    std::int32_t httpPort = protocol::kHttpPort;
    bool https = false;
    std::int32_t httpsPort = protocol::kHttpsPort;
    std::string username;  // UTF-8
    std::string password;
    bool ignoreCaption = false;
    std::int32_t captionInfo = 255;
};

/// The control's conversation with its camera's web server: commands, parameters, and what the camera said of
/// itself. docs/camera-interface.md describes both sides.
///
/// Owned by the control. Used by the window thread only: every request blocks until the reply is there, or
/// 5000 ms are over (an unreachable camera: 1000 ms). Nobody is called back meanwhile. Requests answer
/// kResultOk, or kResultFail when the camera did not answer in time or said "Error"; what was known before is
/// kept then. Nothing throws but std::bad_alloc.
class CameraCommands {
  public:
    /// The transport outlives this object.
    explicit CameraCommands(HttpTransport& transport) : m_transport(&transport) {}
    /// A copy of `known`, with all that it has learnt of the camera, over another transport.
    CameraCommands(HttpTransport& transport, const CameraCommands& known) : CameraCommands(known) {
        m_transport = &transport;
        m_motionKnownBefore = m_motionChanges;
    }
    CameraCommands& operator=(const CameraCommands&) = delete;

    /// Takes over all that a conversation which was made of this one has been told, but not its `access`, nor
    /// motion windows that are older than what has been read or saved here meanwhile.
    void TakeFacts(const CameraCommands& other);

    /// Set before each request from the control's properties. RequestPorts changes the ports and may switch
    /// HTTPS on: read them back after it.
    CameraAccess access;

    /// Forgets everything that cameras said so far: for another camera. `access` stays.
    void Forget();

    // ---- Any request

    /// One request, as the automation method of this name makes it. `sendType` is "GET" or "POST"; `url` a
    /// path with its query, which is a POST's body. The reply's text, "Error" when the server can't be
    /// reached; empty for an empty host, another send type, or when the caller wants no reply.
    std::wstring HttpCommand(std::string_view sendType, std::string_view host, std::string_view url,
                             bool returnReply);
    /// The same as bytes, up to a zero or 80000 of them.
    std::string HttpCommandBytes(std::string_view sendType, std::string_view host, std::string_view url,
                                 bool returnReply);

    /// A reply as text: in the camera's charset while the caption shows (bit 0 of captionInfo, not
    /// ignoreCaption), else in the system's code page.
    std::wstring ToWide(std::string_view reply) const;

    /// Asks for, or sets, the parameters of a table; what the camera answers goes to its destinations.
    Result GetParams(std::span<const CgiParam> table);
    Result SetParams(std::span<const CgiParam> table);

    // ---- What the camera is

    Result RequestSystemInformation();
    /// Also takes the camera's HTTP and HTTPS ports over into `access`; ports beyond 16 bits are not taken.
    Result RequestPorts();
    /// Asks for the codec list and fits `selection` to it.
    Result RequestCodecList(StreamSelection& selection);
    Result RequestVideoSettings(const StreamSelection& selection);
    Result RequestMotionSettings(const StreamSelection& selection);
    /// Writes them to the camera; they are the known ones only once it has taken them.
    Result SaveMotionSettings(const StreamSelection& selection, MotionSettings settings);

    struct Outcome {
        Result result = kResultOk;
        bool reached = false;       // the server answered at least once, whatever it said
        bool unauthorized = false;  // its last answer was 401
        std::string failure;        // why it was not reached, for a person
    };
    /// All of the above but the last, in this order; the first failure, or refusal of the user, ends it. Fits
    /// `selection`.
    Outcome RequestCameraInformation(StreamSelection& selection);

    /// The camera's model; asked for once.
    std::wstring ServerModelType();
    /// Asks for a key frame; the reply doesn't matter.
    Result RequestIFrame(std::int32_t channel, std::int32_t stream);

    // ---- Moving it

    /// Sends a command of PtzMoves.h; what the camera answers doesn't matter. False when nothing was sent:
    /// there is no such command, or nobody to send it to.
    bool SendPtz(std::string_view command, std::int16_t parameter, std::int32_t channel);
    /// Makes the present position a preset; what the camera answers doesn't matter.
    void SavePreset(std::wstring_view name, std::int16_t index);
    /// The presets' names, each followed by "#"; empty when the camera does not tell them.
    std::wstring PresetNames();

    /// Whether the camera was asked for its information and has no such commands: another maker's.
    bool LacksCommands() const { return m_lacksCommands; }

    /// How the keys of a channel's settings are written, as far as the camera has told.
    KeyRules Rules(const StreamSelection& selection) const;
    const SystemInformation& System() const { return m_system; }
    std::int32_t RtspPort() const { return m_rtspPort; }
    /// Null when the camera named none.
    const CodecList* Codecs() const { return m_codecs ? &*m_codecs : nullptr; }
    const VideoSettings& Video() const { return m_video; }
    /// Whose motion windows those of this stream are: changes with the camera and the channel.
    std::string MotionSource(const StreamSelection& selection) const;
    /// As the camera has told them for this stream; no size of reference when it has not.
    MotionSettings Motion(const StreamSelection& selection) const;
    /// A name that the camera has told, for people.
    std::wstring NameToWide(std::string_view name) const;
    const std::string& Charset() const { return m_charset; }

  private:
    struct Reply {
        std::string text;
        bool failed = false;  // no reply in time
    };
    Reply Request(std::string_view sendType, std::string_view host, std::string_view url, bool wanted);
    Reply Ask(std::string_view sendType, const std::string& url);
    Result Exchange(std::string_view path, std::span<const CgiParam> table);
    void TakePorts(const CameraPorts& reported);
    void JudgeReply(const std::string& text);
    unsigned NameCodePage() const;
    void KeepMotion(const StreamSelection& selection, MotionSettings settings);

    CameraCommands(const CameraCommands&) = default;

    HttpTransport* m_transport;
    std::string m_charset;
    SystemInformation m_system;
    std::int32_t m_rtspPort = protocol::kRtspPort;
    std::optional<CodecList> m_codecs;
    VideoSettings m_video;
    MotionSettings m_motion;
    std::string m_motionSource;  // whose they are
    unsigned m_motionChanges = 0;
    unsigned m_motionKnownBefore = 0;  // in the conversation that this one was made of
    std::string m_model;
    unsigned m_status = 0;  // of the last reply; 0: there was none
    bool m_lacksCommands = false;
    bool m_reached = false;
    bool m_spoke = false;    // one of the replies was that of a command...
    bool m_foreign = false;  // or of a server that has none
    bool m_unauthorized = false;
    std::string m_failure;  // of the last request
};

}  // namespace norix
