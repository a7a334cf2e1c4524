#include "codec/H264Decoder.h"

extern "C" {
#include <libavutil/cpu.h>
}

#include <algorithm>
#include <deque>
#include <new>

#include "codec/ColorConvert.h"
#include "codec/H264Headers.h"
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

}  // namespace

class H264Decoder::Impl {
  public:
    explicit Impl(int threads)
        : m_threads(threads > 0 ? threads : std::clamp(av_cpu_count(), 1, kMaxThreads)) {}

    Status Initialise(const std::uint8_t* data, std::size_t size);
    void Close();
    void Reset();
    void SetSpeed(int speed);
    void SetMostPixels(std::int64_t pixels);

    /// Gives input to the decoder (null: ends the stream) and keeps the picture that comes of it.
    Status Advance(const AVPacket* packet);
    Status Decode(const std::uint8_t* data, std::size_t size, const UnitInfo& info);
    Status Drain();

    /// Hands out the kept picture.
    Status Deliver(const OutputPicture& out);
    Status DeliverPlanar(PlanarPicture* picture);

    bool IsOpen() const { return m_context != nullptr; }

    int m_width = 0;
    int m_height = 0;
    int m_speed = 0;
    std::int64_t m_mostPixels = static_cast<std::int64_t>(kMaxDimension) * kMaxDimension;
    int m_libraryError = 0;
    PictureInfo m_info;
    bool m_kept = false;  ///< m_frame holds a picture that was not delivered yet

  private:
    /// What one call gets. While it isn't known, both are borne.
    enum class Form { Unknown, WholePictures, Slices };

    Status Open();
    void ApplySpeed();
    void ApplyForm();
    void LearnForm(const H264Unit& contents);
    Status StartAfreshWhereDue(const H264Unit& contents);
    bool DamageSeen() const { return m_damaged || m_watch.damaged.load(std::memory_order_relaxed); }
    void DrainIntoLeftOver();

    const int m_threads;
    SliceWatch m_watch;  ///< outlives the context
    AvPtr<AVCodecContext> m_context;
    AvPtr<AVFrame> m_frame;
    InputPacket m_input;
    ColorConverter m_converter;
    bool m_draining = false;
    Form m_form = Form::Unknown;
    int m_begunInARow = 0;                  ///< units that begin a picture, since one that goes on with it
    bool m_damaged = false;                 ///< since the decoder was opened
    std::deque<AvPtr<AVFrame>> m_leftOver;  ///< from before the decoder was opened anew, in order
    H264ParameterSets m_sets;               ///< survive everything
    std::uint64_t m_openedWith = 0;         ///< m_sets.Decoding() when the decoder was opened
};

Status H264Decoder::Impl::Initialise(const std::uint8_t* data, std::size_t size) {
    Close();
    if (!data || size == 0) return Status::kBadArgument;
    const H264Unit contents = InspectH264(data, size);
    if (const Status status = m_sets.Take(contents); status != Status::kOk) return status;
    const H264Sps* const sps = m_sets.SpsOf(contents);
    if (!sps) return Status::kNeedKeyFrame;
    if (static_cast<std::int64_t>(sps->width) * sps->height > m_mostPixels) return Status::kUnsupported;
    m_frame.reset(av_frame_alloc());
    const Status opened = m_frame ? Open() : Status::kOutOfMemory;
    if (opened != Status::kOk) {
        Close();
        return opened;
    }
    m_width = sps->width;
    m_height = sps->height;
    return Status::kOk;
}

/// A new decoder, which knows the stream's parameter sets from the beginning.
Status H264Decoder::Impl::Open() try {
    const AVCodec* decoder = avcodec_find_decoder(AV_CODEC_ID_H264);
    if (!decoder) return Status::kUnsupported;
    m_context = NewVideoContext(decoder);
    if (!m_context || !SetExtradata(m_context.get(), m_sets.AnnexB())) return Status::kOutOfMemory;
    m_context->thread_count = m_threads;
    LimitPixels(m_context.get(), m_mostPixels);
    ApplyForm();
    ApplySpeed();
    const int result = avcodec_open2(m_context.get(), decoder, nullptr);
    if (result < 0) {
        m_libraryError = result;
        return StatusFromAv(result);
    }
    WatchSlices(m_context.get(), &m_watch);
    m_damaged = false;
    m_openedWith = m_sets.Decoding();
    return Status::kOk;
} catch (const std::bad_alloc&) {
    return Status::kOutOfMemory;
}

void H264Decoder::Impl::Close() {
    m_context.reset();
    m_leftOver.clear();
    m_frame.reset();
    m_input.Clear();
    m_width = m_height = 0;
    m_info = {};
    m_kept = m_draining = false;
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
    m_damaged = true;
}

/// Damage leaves traces in the library's decoder that a key frame does not wipe out: coefficients that an
/// interrupted macroblock did not use come up in the next intra picture, and a number of pictures to hold
/// back, once raised, is never lowered. So decoding goes on with a new decoder at the first key frame after
/// damage; likewise when the stream changes its parameters.
Status H264Decoder::Impl::StartAfreshWhereDue(const H264Unit& contents) {
    if (!contents.idr) return Status::kOk;
    if (m_sets.Decoding() == m_openedWith && !DamageSeen()) return Status::kOk;
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

void H264Decoder::Impl::SetMostPixels(std::int64_t pixels) {
    m_mostPixels = pixels;
    if (IsOpen()) LimitPixels(m_context.get(), pixels);
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

void H264Decoder::Impl::LearnForm(const H264Unit& contents) {
    // Pictures that lost all but their first slices must not pass for whole ones.
    constexpr int kConvincing = 4;
    if (contents.continues) {
        m_begunInARow = 0;
        if (m_form == Form::Slices) return;
        // Pictures that were taken for whole ones are damaged.
        if (m_form == Form::WholePictures) m_damaged = true;
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
    if (Failed(status) || (status == Status::kOk && InfoOf(*m_frame).damaged)) m_damaged = true;
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

Status H264Decoder::Impl::Decode(const std::uint8_t* data, std::size_t size, const UnitInfo& info) {
    if (!IsOpen()) return Status::kNotInitialised;
    if (!data || size == 0) return m_kept ? Status::kOk : Status::kNoPicture;
    if (m_draining) Reset();
    if (const Status status = m_input.Fill(data, size); status != Status::kOk) return status;
    const H264Unit contents = InspectH264(data, size);
    // Sizes beyond all bounds never reach the library, which would ask for the memory.
    if (const Status status = m_sets.Take(contents); status != Status::kOk) return status;
    m_damaged = m_damaged || info.damagedBefore;
    LearnForm(contents);
    if (const Status status = StartAfreshWhereDue(contents); status != Status::kOk) return status;
    m_context->reordered_opaque = info.tag;
    return Advance(m_input.Get());
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

Status H264Decoder::Announced(const std::uint8_t* data, std::size_t size, int* width, int* height) {
    if (!data || !width || !height) return Status::kBadArgument;
    const H264Unit contents = InspectH264(data, size);
    Status found = Status::kNoPicture;
    for (std::size_t i = 0; i < contents.setCount; ++i) {
        H264Sps sps;
        const Status status = ParseH264Sps(contents.sets[i].data, contents.sets[i].size, &sps);
        if (status == Status::kUnsupported) {
            *width = sps.width;
            *height = sps.height;
            return status;
        }
        if (status != Status::kOk) continue;
        const bool first = found != Status::kOk;
        if (!first && sps.width * sps.height <= *width * *height) continue;
        *width = sps.width;
        *height = sps.height;
        found = Status::kOk;
    }
    return found;
}

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

Status H264Decoder::Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out,
                           const UnitInfo& unit) {
    if (!out.data) return Status::kBadArgument;
    const Status status = m_impl->Decode(data, size, unit);
    return status == Status::kOk ? m_impl->Deliver(out) : status;
}

Status H264Decoder::DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture,
                                 const UnitInfo& unit) {
    if (!picture) return Status::kBadArgument;
    const Status status = m_impl->Decode(data, size, unit);
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
void H264Decoder::SetMostPixels(std::int64_t pixels) {
    m_impl->SetMostPixels(pixels);
}
void H264Decoder::SetSpeed(int speed) {
    m_impl->SetSpeed(speed);
}
int H264Decoder::LibraryError() const {
    return m_impl->m_libraryError;
}

}  // namespace codec
