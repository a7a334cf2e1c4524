#include "codec/H264Decoder.h"

extern "C" {
#include <libavutil/cpu.h>
}

#include <algorithm>
#include <atomic>
#include <deque>
#include <new>

#include "codec/ColorConvert.h"
#include "codec/Libav.h"

namespace codec {

namespace {

constexpr int kMaxSpeed = 7;
constexpr int kMaxThreads = 4;

/// What each decode speed leaves out; the header's table in the library's terms.
struct SpeedSetting {
    AVDiscard loopFilter;
    AVDiscard pictures;
};
constexpr SpeedSetting kSpeeds[kMaxSpeed + 1] = {
    {AVDISCARD_DEFAULT, AVDISCARD_DEFAULT}, {AVDISCARD_NONREF, AVDISCARD_DEFAULT},
    {AVDISCARD_BIDIR, AVDISCARD_DEFAULT},   {AVDISCARD_NONINTRA, AVDISCARD_DEFAULT},
    {AVDISCARD_ALL, AVDISCARD_DEFAULT},     {AVDISCARD_ALL, AVDISCARD_NONREF},
    {AVDISCARD_ALL, AVDISCARD_BIDIR},       {AVDISCARD_ALL, AVDISCARD_NONINTRA},
};

/// A slice's header begins with the number of its first macroblock, 0 being the single bit 1 (ITU-T
/// H.264, 7.3.3 and 9.1).
bool BeginsPicture(const std::uint8_t* sliceHeader, std::size_t size) {
    return size != 0 && (*sliceHeader & 0x80) != 0;
}

/// What an access unit is made of, as far as it can be told from outside.
struct UnitContents {
    bool begins = false;     ///< its first slice is a picture's first
    bool continues = false;  ///< its first slice is a later one: the unit is a piece of a picture
    bool idr = false;        ///< begins an IDR picture
    bool parameters = false;
    std::uint64_t parametersHash = 0;  ///< of all its sequence parameter sets
};

UnitContents Inspect(const std::uint8_t* data, std::size_t size) {
    constexpr int kIdrSlice = 5;
    constexpr int kSequenceParameters = 7;
    constexpr int kTypeMask = 0x1f;
    constexpr std::uint64_t kFnvBasis = 0xcbf29ce484222325u;
    constexpr std::uint64_t kFnvPrime = 0x100000001b3u;
    UnitContents contents;
    contents.parametersHash = kFnvBasis;
    bool hashing = false;
    for (std::size_t at = 0; at < size; ++at) {
        if (at + 3 < size && data[at] == 0 && data[at + 1] == 0 && data[at + 2] == 1) {
            const int type = data[at + 3] & kTypeMask;
            hashing = type == kSequenceParameters;
            contents.parameters |= hashing;
            // Parameter sets precede the slices, which are long.
            if (type > 0 && type <= kIdrSlice) {
                contents.begins = BeginsPicture(data + at + 4, size - at - 4);
                contents.continues = !contents.begins;
                contents.idr = contents.begins && type == kIdrSlice;
                break;
            }
            at += 3;
        } else if (hashing && data[at] != 0) {
            contents.parametersHash = (contents.parametersHash ^ data[at]) * kFnvPrime;
        }
    }
    return contents;
}

}  // namespace

class H264Decoder::Impl {
  public:
    explicit Impl(int threads)
        : m_threads(threads > 0 ? threads : std::clamp(av_cpu_count(), 1, kMaxThreads)) {}

    Status Initialise(const std::uint8_t* data, std::size_t size);
    void Close();
    void Reset();
    void SetSpeed(int speed);

    /// Gives input to the decoder (null: ends the stream) and keeps the picture that comes of it.
    Status Advance(const AVPacket* packet);
    Status Decode(const std::uint8_t* data, std::size_t size);
    Status Drain();

    /// Hands out the kept picture.
    Status Deliver(const OutputPicture& out);
    Status DeliverPlanar(PlanarPicture* picture);

    bool IsOpen() const { return m_context != nullptr; }

    int m_width = 0;
    int m_height = 0;
    int m_speed = 0;
    int m_libraryError = 0;
    PictureInfo m_info;
    bool m_kept = false;  ///< m_frame holds a picture that was not delivered yet

  private:
    /// What one call gets. While it isn't known, both are borne.
    enum class Form { Unknown, WholePictures, Slices };

    Status Open();
    void ApplySpeed();
    void ApplyForm();
    void LearnForm(const UnitContents& contents);
    Status StartAfreshWhereDue(const UnitContents& contents);
    void DrainIntoLeftOver();

    const int m_threads;
    AvPtr<AVCodecContext> m_context;
    AvPtr<AVFrame> m_frame;
    InputPacket m_input;
    ColorConverter m_converter;
    bool m_draining = false;
    Form m_form = Form::Unknown;
    int m_begunInARow = 0;                   ///< units that begin a picture, since one that goes on with it
    std::atomic<bool> m_damageSeen = false;  ///< since the decoder was opened; set by its threads
    std::deque<AvPtr<AVFrame>> m_leftOver;   ///< from before the decoder was opened anew, in order
    std::uint64_t m_parametersHash = 0;
};

Status H264Decoder::Impl::Initialise(const std::uint8_t* data, std::size_t size) {
    Close();
    if (!data || size == 0) return Status::kBadArgument;
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_H264);
    if (!decoder) return Status::kUnsupported;
    m_context = NewVideoContext(decoder);
    if (!m_frame) m_frame.reset(av_frame_alloc());
    AvPtr<AVCodecParserContext> parser(av_parser_init(AV_CODEC_ID_H264));
    Status status = m_input.Fill(data, size);
    if (!m_context || !m_frame || !parser) status = Status::kOutOfMemory;
    if (status != Status::kOk) {
        Close();
        return status;
    }

    // The parser reads the parameter sets without decoding the picture. It fills in a size only once it has
    // seen a slice together with the parameter sets that it names.
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    std::uint8_t* parsed = nullptr;
    int parsedSize = 0;
    av_parser_parse2(parser.get(), m_context.get(), &parsed, &parsedSize, m_input.data(), m_input.size(),
                     AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
    const int width = parser->width;
    const int height = parser->height;
    if (width <= 0 || height <= 0) {
        Close();
        return Status::kNeedKeyFrame;
    }
    if (width > kMaxDimension || height > kMaxDimension) {
        Close();
        return Status::kUnsupported;
    }

    // A context of its own for decoding: the parser has left profile and reordering of this picture in the
    // first one.
    if (const Status opened = Open(); opened != Status::kOk) {
        Close();
        return opened;
    }
    m_parametersHash = Inspect(data, size).parametersHash;
    m_width = width;
    m_height = height;
    return Status::kOk;
}

Status H264Decoder::Impl::Open() {
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_H264);
    m_context = NewVideoContext(decoder);
    if (!m_context) return Status::kOutOfMemory;
    m_context->thread_count = m_threads;
    ApplyForm();
    WatchErrors(m_context.get(), &m_damageSeen);
    ApplySpeed();
    m_damageSeen = false;
    const int result = avcodec_open2(m_context.get(), decoder, nullptr);
    if (result < 0) m_libraryError = result;
    return StatusFromAv(result);
}

void H264Decoder::Impl::Close() {
    m_context.reset();
    m_leftOver.clear();
    m_frame.reset();
    m_input.Clear();
    m_width = m_height = 0;
    m_info = {};
    m_kept = m_draining = false;
    m_parametersHash = 0;
    m_form = Form::Unknown;
    m_begunInARow = 0;
}

void H264Decoder::Impl::Reset() {
    if (!IsOpen()) return;
    avcodec_flush_buffers(m_context.get());
    av_frame_unref(m_frame.get());
    m_leftOver.clear();
    m_kept = m_draining = false;
    // The number of pictures that the decoder holds back stays after a flush; it is learned again at the key
    // frame.
    m_damageSeen = true;
}

/// Damage leaves traces in the library's decoder that a key frame does not wipe out: coefficients that an
/// interrupted macroblock did not use come up in the next intra picture, and a number of pictures to hold
/// back, once raised, is never lowered. So decoding goes on with a new decoder at the first key frame after
/// damage; likewise when the stream changes its parameters.
Status H264Decoder::Impl::StartAfreshWhereDue(const UnitContents& contents) {
    if (!contents.idr) return Status::kOk;
    const bool changed = contents.parameters && contents.parametersHash != m_parametersHash;
    if (contents.parameters) m_parametersHash = contents.parametersHash;
    if (!changed && !m_damageSeen) return Status::kOk;
    DrainIntoLeftOver();
    const Status status = Open();
    if (status != Status::kOk) Close();
    return status;
}

/// Keeps the pictures that still wait for their turn: they are due while the new decoder, which holds back as
/// many, gives none.
void H264Decoder::Impl::DrainIntoLeftOver() {
    m_leftOver.clear();
    if (m_context->has_b_frames == 0) return;
    avcodec_send_packet(m_context.get(), nullptr);
    try {
        while (true) {
            AvPtr<AVFrame> frame(av_frame_alloc());
            if (!frame || avcodec_receive_frame(m_context.get(), frame.get()) < 0) break;
            m_leftOver.push_back(std::move(frame));
        }
    } catch (const std::bad_alloc&) {
        m_leftOver.clear();
    }
}

void H264Decoder::Impl::SetSpeed(int speed) {
    m_speed = std::clamp(speed, 0, kMaxSpeed);
    if (IsOpen()) ApplySpeed();
}

void H264Decoder::Impl::ApplySpeed() {
    const SpeedSetting& setting = kSpeeds[m_speed];
    m_context->skip_loop_filter = setting.loopFilter;
    m_context->skip_frame = setting.pictures;
    // With this flag the decoder filters slices on their own threads without waiting for their neighbours.
    if (m_speed > 0) {
        m_context->flags2 |= AV_CODEC_FLAG2_FAST;
    } else {
        m_context->flags2 &= ~AV_CODEC_FLAG2_FAST;
    }
}

/// Receivers hand on a stream's pictures slice by slice, other sources whole. In pieces, a picture is
/// complete with its last macroblock, and not shown where that is missing. Whole ones are shown whatever has
/// become of them.
void H264Decoder::Impl::ApplyForm() {
    if (m_form == Form::WholePictures) {
        m_context->flags2 &= ~AV_CODEC_FLAG2_CHUNKS;
    } else {
        m_context->flags2 |= AV_CODEC_FLAG2_CHUNKS;
    }
}

void H264Decoder::Impl::LearnForm(const UnitContents& contents) {
    // Pictures that lost all but their first slices must not pass for whole ones.
    constexpr int kConvincing = 4;
    if (contents.continues) {
        m_begunInARow = 0;
        if (m_form == Form::Slices) return;
        // Pictures that were taken for whole ones are damaged.
        if (m_form == Form::WholePictures) m_damageSeen = true;
        m_form = Form::Slices;
    } else if (contents.begins && m_form != Form::WholePictures) {
        if (++m_begunInARow < (m_form == Form::Unknown ? 2 : kConvincing)) return;
        m_form = Form::WholePictures;
    } else {
        return;
    }
    ApplyForm();
}

Status H264Decoder::Impl::Advance(const AVPacket* packet) {
    av_frame_unref(m_frame.get());
    m_kept = false;
    Status status = SendAndReceive(m_context.get(), packet, m_frame.get(), &m_libraryError);
    if (status == Status::kOk) {
        m_leftOver.clear();
    } else if (!m_leftOver.empty()) {
        m_frame = std::move(m_leftOver.front());
        m_leftOver.pop_front();
        status = Status::kOk;
    }
    m_kept = status == Status::kOk;
    return status;
}

Status H264Decoder::Impl::Decode(const std::uint8_t* data, std::size_t size) {
    if (!IsOpen()) return Status::kNotInitialised;
    if (!data || size == 0) return m_kept ? Status::kOk : Status::kNoPicture;
    if (m_draining) Reset();
    if (const Status status = m_input.Fill(data, size); status != Status::kOk) return status;
    const UnitContents contents = Inspect(data, size);
    LearnForm(contents);
    if (const Status status = StartAfreshWhereDue(contents); status != Status::kOk) return status;
    return Advance(m_input.get());
}

Status H264Decoder::Impl::Drain() {
    if (!IsOpen()) return Status::kNotInitialised;
    if (m_kept) return Status::kOk;
    m_draining = true;
    return Advance(nullptr);
}

Status H264Decoder::Impl::Deliver(const OutputPicture& out) {
    if (m_frame->width != m_width || m_frame->height != m_height) {
        m_width = m_frame->width;
        m_height = m_frame->height;
        return Status::kSizeChanged;
    }
    PlanarPicture view;
    if (!ViewOf(*m_frame, &view)) {
        m_kept = false;
        return Status::kUnsupported;
    }
    if (const Status status = m_converter.Convert(view, out); status != Status::kOk) return status;
    m_info = InfoOf(*m_frame);
    av_frame_unref(m_frame.get());
    m_kept = false;
    return Status::kOk;
}

Status H264Decoder::Impl::DeliverPlanar(PlanarPicture* picture) {
    m_kept = false;
    if (!ViewOf(*m_frame, picture)) return Status::kUnsupported;
    m_width = m_frame->width;
    m_height = m_frame->height;
    m_info = InfoOf(*m_frame);
    return Status::kOk;
}

H264Decoder::H264Decoder(int threads) : m_impl(std::make_unique<Impl>(threads)) {}
H264Decoder::~H264Decoder() = default;

Status H264Decoder::Initialise(const std::uint8_t* data, std::size_t size) {
    return m_impl->Initialise(data, size);
}
bool H264Decoder::IsInitialised() const {
    return m_impl->IsOpen();
}
int H264Decoder::Width() const {
    return m_impl->m_width;
}
int H264Decoder::Height() const {
    return m_impl->m_height;
}
const PictureInfo& H264Decoder::Info() const {
    return m_impl->m_info;
}

Status H264Decoder::Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out) {
    if (!out.data) return Status::kBadArgument;
    const Status status = m_impl->Decode(data, size);
    return status == Status::kOk ? m_impl->Deliver(out) : status;
}

Status H264Decoder::DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture) {
    if (!picture) return Status::kBadArgument;
    const Status status = m_impl->Decode(data, size);
    return status == Status::kOk ? m_impl->DeliverPlanar(picture) : status;
}

Status H264Decoder::Drain(const OutputPicture& out) {
    if (!out.data) return Status::kBadArgument;
    const Status status = m_impl->Drain();
    return status == Status::kOk ? m_impl->Deliver(out) : status;
}

Status H264Decoder::DrainPlanar(PlanarPicture* picture) {
    if (!picture) return Status::kBadArgument;
    const Status status = m_impl->Drain();
    return status == Status::kOk ? m_impl->DeliverPlanar(picture) : status;
}

void H264Decoder::Reset() {
    m_impl->Reset();
}
void H264Decoder::Close() {
    m_impl->Close();
}
void H264Decoder::SetSpeed(int speed) {
    m_impl->SetSpeed(speed);
}
int H264Decoder::Speed() const {
    return m_impl->m_speed;
}
int H264Decoder::LibraryError() const {
    return m_impl->m_libraryError;
}

}  // namespace codec
