#include "record/RecordController.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "media/FrameInfoParser.h"

namespace norix {
namespace {

constexpr std::uint32_t kRetryMs = 1000;
constexpr std::uint32_t kWishAgainMs = 2000;
constexpr std::uint32_t kDefaultSampleRate = 8000;
// A stream that changes all the time makes no more files than this.
constexpr std::uint32_t kShortestFileMs = 1000;
// Longer than any group of pictures whose order is changed; a single step back is no such group.
constexpr int kReorderedFor = 50;

// Per frame: chunk header and padding, index entry.
constexpr std::uint64_t kFrameOverhead = 8 + 1 + kAviIndexEntrySize;
// From here on the next key frame begins another file, with room for the longest way to it...
constexpr std::uint64_t kRotateAt = AviWriter::kMaxFileSize - (256u << 20);
// ...and from here on the next frame does, whatever it is.
constexpr std::uint64_t kRotateNow = AviWriter::kMaxFileSize - (64u << 20);

constexpr std::size_t kSoundHeader = 32;
constexpr std::array<std::uint8_t, 6> kSoundHeaderBegin = {0, 0, 1, 0xC0, 4, 0x1A};
constexpr std::size_t kSoundStart = 4;  // bytes by which such a header is known

bool HasSoundHeader(RecordBytes frame) {
    return frame.size() > kSoundHeader &&
           std::equal(kSoundHeaderBegin.begin(), kSoundHeaderBegin.begin() + kSoundStart, frame.begin());
}

// ISO/IEC 14496-3, 1.6.2.1: object type, rate, channels. The stored configuration is padded with zeros to
// the double.
std::vector<std::uint8_t> PlainConfig(std::vector<std::uint8_t> config) {
    const auto half = config.begin() + static_cast<std::ptrdiff_t>((config.size() + 1) / 2);
    if (std::all_of(half, config.end(), [](std::uint8_t byte) { return byte == 0; }))
        config.erase(half, config.end());
    return config;
}

std::uint32_t ChannelsOf(const std::vector<std::uint8_t>& config) {
    constexpr unsigned kExplicitRate = 15;
    if (config.size() < 2) return 1;
    const unsigned rate = (config[0] & 7u) << 1 | config[1] >> 7;
    unsigned channels = config[1] >> 3 & 15u;
    if (rate == kExplicitRate) channels = config.size() >= 5 ? config[4] >> 3 & 15u : 1;
    return std::clamp(channels, 1u, 8u);
}

}  // namespace

RecordController::RecordController(const CCtrlParam& param, RecordEnvironment& environment,
                                   RecordQueue& queue, RecordWriter& writer)
    : m_param(param), m_environment(environment), m_queue(queue), m_writer(writer) {}

// ---- Window thread

void RecordController::Start(RecordFormat format) {
    std::lock_guard<std::mutex> lock(m_lock);
    if (m_open && m_format != format) m_rotate = true;
    m_format = format;
    m_nextTry.reset();
    m_wishedAt.reset();
    m_requested.store(true);
}

void RecordController::Stop(RecordFormat format) {
    m_requested.store(false);
    // Not after the file's end, which asks the next question.
    m_writer.StopWaiting();
    std::lock_guard<std::mutex> lock(m_lock);
    m_format = format;
    Close(true);
}

void RecordController::SetLimits(const RecordLimits& limits) {
    std::lock_guard<std::mutex> lock(m_lock);
    m_limits = limits;
}

void RecordController::Resume() {
    std::lock_guard<std::mutex> lock(m_lock);
    Close(true);
    m_suspended = false;
    m_clock.Reset();
    m_rate.Reset();
    m_parameters.Reset();
    m_width = m_height = 0;
    m_lastPts.reset();
    m_reordered = 0;
    m_nextTry.reset();
    m_wishedAt.reset();
}

bool RecordController::Suspend() {
    m_writer.StopWaiting();
    std::lock_guard<std::mutex> lock(m_lock);
    m_suspended = true;
    NoteFailure();
    const bool open = m_open;
    Close(false);
    return open;
}

// ---- Receiving threads

void RecordController::RecMedia(RecordMedia type, const std::uint8_t* data, std::size_t size,
                                std::uint32_t pts) {
    std::lock_guard<std::mutex> lock(m_lock);
    // Not before: pictures and sound may come from two threads, and time must not go back between them.
    m_now = m_environment.NowMs();
    if (!m_requested.load()) Close(true);
    if (m_suspended || !data || size == 0) return;
    NoteFailure();
    const RecordBytes frame(data, size);
    if (type == RecordMedia::Audio) {
        TakeAudio(frame, pts);
    } else {
        TakeVideo(frame, pts);
    }
}

// The writer could not go on with the file. Another one is tried after a while: the frames until then have no
// place to go to.
void RecordController::NoteFailure() {
    if (!m_open || m_writer.FailedFile() != m_file) return;
    m_open = false;
    m_nextTry = m_now + kRetryMs;
}

bool RecordController::IsTimeToTry() {
    if (m_nextTry && static_cast<std::int32_t>(m_now - *m_nextTry) < 0) return false;
    m_nextTry.reset();
    return true;
}

bool RecordController::IsForVideo() const {
    return m_param.mediaType.Get() != MediaType::Audio;
}

bool RecordController::CanStart(const VideoFacts& facts) const {
    return facts.keyFrame && (facts.complete || m_parameters.Complete());
}

void RecordController::WishKeyFrame() {
    if (m_param.videoCodec.Get() == VideoCodec::Mjpeg) return;
    if (m_wishedAt && m_now - *m_wishedAt < kWishAgainMs) return;
    m_wishedAt = m_now;
    m_environment.WishKeyFrame();
}

AviDescription RecordController::Describe() const {
    AviDescription file;
    if (IsForVideo()) {
        AviVideo video;
        video.codec = m_param.videoCodec.Get();
        video.width =
            m_width != 0 ? m_width : static_cast<std::uint32_t>(std::max(m_param.PictureWidth(), 0));
        video.height =
            m_height != 0 ? m_height : static_cast<std::uint32_t>(std::max(m_param.PictureHeight(), 0));
        file.video = video;
    }
    const AudioCodec codec = m_param.audioCodec.Get();
    if (m_param.mediaType.Get() != MediaType::Video && (codec != AudioCodec::None || !file.video)) {
        AviAudio audio;
        audio.codec = codec == AudioCodec::Aac ? AudioCodec::Aac : AudioCodec::Pcmu;
        const std::uint32_t rate = m_param.audioSampleRate.Get();
        audio.sampleRate = rate != 0 ? rate : kDefaultSampleRate;
        if (codec == AudioCodec::Aac) {
            audio.config = PlainConfig(m_param.aacConfig.Get());
            audio.channels = ChannelsOf(audio.config);
        }
        file.audio = std::move(audio);
    }
    return file;
}

bool RecordController::Push(RecordEntry entry, RecordBytes head, RecordBytes body) {
    entry.file = m_file;
    return m_queue.Push(std::move(entry), head, body);
}

void RecordController::Open(std::int64_t time) {
    auto request = std::make_shared<FileRequest>();
    request->format = m_format;
    request->description = Describe();
    request->rate = m_rate.Rate();
    m_description = request->description;
    m_fileRate = request->rate;
    m_open = true;
    m_begun = false;
    m_fileFormat = m_format;
    ++m_file;
    m_rotate = false;
    m_changed = false;
    m_waitForKey = false;
    m_bytes = 0;
    m_overhead = 0;
    m_openedAt = m_now;
    RecordEntry entry;
    entry.kind = RecordEntry::Kind::Open;
    entry.time = time;
    entry.request = std::move(request);
    Push(std::move(entry), {}, {});
}

void RecordController::Close(bool report) {
    if (!m_open) return;
    m_open = false;
    RecordEntry entry;
    entry.kind = RecordEntry::Kind::Close;
    entry.report = report;
    Push(std::move(entry), {}, {});
}

void RecordController::TakeVideo(RecordBytes whole, std::uint32_t pts) {
    const VideoCodec codec = m_param.videoCodec.Get();
    const std::size_t header = ParseFrameInfo(VideoCodec::None, whole.data(), whole.size()).headerLength;
    const RecordBytes payload = whole.subspan(header);
    if (payload.empty()) return;

    // What is learned of the stream before a recording is what it can begin with.
    const VideoFacts facts = InspectVideo(codec, payload);
    if (facts.hasParameters) m_parameters.Remember(codec, payload);
    if (facts.width != 0 && facts.height != 0) {
        m_width = facts.width;
        m_height = facts.height;
    }
    std::int64_t time = m_clock.Place(RecordClock::kVideo, pts, m_now);
    if (m_lastPts && !facts.continues && static_cast<std::int32_t>(pts - *m_lastPts) < 0) {
        m_reordered = kReorderedFor;
    } else if (m_reordered > 0) {
        --m_reordered;
    }
    m_lastPts = pts;
    if (m_reordered > 0) time = m_clock.LastArrival();
    if (!facts.continues) m_rate.Add(time);
    if (!m_requested.load() || !IsForVideo()) return;
    if (m_param.streamForm.Get() == StreamForm::Unknown) return;

    const bool canStart = CanStart(facts);
    if (!m_open) {
        if (!IsTimeToTry()) return;
        if (!canStart) {
            WishKeyFrame();
            return;
        }
        Open(time);
    } else {
        // A picture of another size, or sound that came later, needs another header.
        if (canStart && !m_rotate) m_changed = Describe() != m_description;
        if (m_changed && m_now - m_openedAt >= kShortestFileMs) m_rotate = true;
        if (m_writer.OutgrownFile() == m_file) {
            constexpr double kOtherRate = 0.02;
            const auto rate = m_rate.Rate();
            const double file = m_fileRate.value_or(FrameRate()).PerSecond();
            if (rate && rate->PerSecond() > file * (1 + kOtherRate)) m_rotate = true;
        }
        const bool now = m_bytes + m_overhead > kRotateNow;
        if ((m_rotate && canStart) || now) {
            Close(false);
            Open(time);
        } else if (m_rotate) {
            WishKeyFrame();
        }
    }
    if (m_waitForKey && !canStart) {
        WishKeyFrame();
        return;
    }

    RecordEntry entry;
    entry.kind = RecordEntry::Kind::Video;
    entry.keyFrame = facts.keyFrame;
    entry.continues = facts.continues;
    entry.time = time;
    m_head.clear();
    if (!m_begun && !facts.complete) m_parameters.AppendTo(m_head);
    const bool raw = m_fileFormat != RecordFormat::Avi;
    if (!Push(std::move(entry), m_head, raw ? whole : payload)) {
        m_waitForKey = true;
        if (!std::exchange(m_roomReported, true)) m_environment.Report(RecordStatus::FileWriteFailed);
        return;
    }
    m_begun = true;
    m_waitForKey = false;
    m_roomReported = false;
    NoteProgress(whole.size());
}

void RecordController::TakeAudio(RecordBytes whole, std::uint32_t pts) {
    const bool header = HasSoundHeader(whole);
    const RecordBytes payload = header ? whole.subspan(kSoundHeader) : whole;
    std::int64_t time = m_clock.Place(RecordClock::kAudio, pts, m_now);
    if (!m_requested.load() || m_param.mediaType.Get() == MediaType::Video) return;
    if (!m_open) {
        // With pictures, they begin the file.
        if (IsForVideo() || !IsTimeToTry()) return;
        Open(time);
    } else if (m_rotate && !IsForVideo()) {
        Close(false);
        Open(time);
    }
    if (!m_description.audio) {
        m_rotate = m_rotate || Describe().audio;
        return;
    }
    // The first picture found no room: the file still begins with one.
    if (IsForVideo() && !m_begun) return;
    RecordEntry entry;
    entry.kind = RecordEntry::Kind::Audio;
    entry.time = time;
    const bool raw = m_fileFormat != RecordFormat::Avi;
    const bool addHeader = raw && !header && m_param.videoCodec.Get() == VideoCodec::Mpeg4;
    m_head.clear();
    if (addHeader) {
        m_head.assign(kSoundHeaderBegin.begin(), kSoundHeaderBegin.end());
        m_head.resize(kSoundHeader);
    }
    // Sound that finds no room is replaced by silence later.
    if (Push(std::move(entry), m_head, raw ? whole : payload)) NoteProgress(whole.size());
}

void RecordController::NoteProgress(std::size_t bytes) {
    m_bytes += bytes;
    m_overhead += kFrameOverhead;
    const bool tooLarge = m_limits.bytes != 0 && m_bytes > m_limits.bytes;
    const bool tooLong = m_limits.seconds != 0 && m_now - m_openedAt > std::uint64_t{m_limits.seconds} * 1000;
    if (!tooLarge && !tooLong && m_bytes + m_overhead < kRotateAt) return;
    if (!std::exchange(m_rotate, true)) WishKeyFrame();
}

}  // namespace norix
