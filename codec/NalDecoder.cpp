#include "codec/NalDecoder.h"

extern "C" {
#include <libavutil/cpu.h>
}

#include <algorithm>
#include <deque>
#include <new>

#include "codec/ColorConvert.h"
#include "codec/Libav.h"
#include "codec/NalHeaders.h"

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

class NalDecoder::Impl {
  public:
    Impl(NalCodec codec, int threads)
        : m_codec(codec),
          m_threads(threads > 0 ? threads : std::clamp(av_cpu_count(), 1, kMaxThreads)),
          m_sets(codec) {}

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
    void LearnForm(const NalUnit& contents);
    Status StartAfreshWhereDue(const NalUnit& contents);
    bool DamageSeen() const { return m_damaged || m_watch.damaged.load(std::memory_order_relaxed); }
    void DrainIntoLeftOver();
    void KeepAsLast();
    bool LeavesOut(const NalUnit& contents) const;

    const NalCodec m_codec;
    const int m_threads;
    SliceWatch m_watch;  ///< outlives the context
    AvPtr<AVCodecContext> m_context;
    AvPtr<AVFrame> m_frame;
    AvPtr<AVFrame> m_last;  ///< H.265: the one before
    InputPacket m_input;
    ColorConverter m_converter;
    bool m_draining = false;
    Form m_form = Form::Unknown;
    int m_begunInARow = 0;                  ///< units that begin a picture, since one that goes on with it
    bool m_damaged = false;                 ///< since the decoder was opened
    std::deque<AvPtr<AVFrame>> m_leftOver;  ///< from before the decoder was opened anew, in order
    ParameterSets m_sets;                   ///< survive everything
    std::uint64_t m_openedWith = 0;         ///< m_sets.Decoding() when the decoder was opened
};

Status NalDecoder::Impl::Initialise(const std::uint8_t* data, std::size_t size) {
    Close();
    if (!data || size == 0) return Status::kBadArgument;
    const NalUnit contents = InspectUnit(m_codec, data, size);
    if (const Status status = m_sets.Take(contents); status != Status::kOk) return status;
    const NalSps* const sps = m_sets.SpsOf(contents);
    if (!sps) return Status::kNeedKeyFrame;
    if (static_cast<std::int64_t>(sps->width) * sps->height > m_mostPixels) return Status::kUnsupported;
    m_frame.reset(av_frame_alloc());
    m_last.reset(av_frame_alloc());
    const Status opened = m_frame && m_last ? Open() : Status::kOutOfMemory;
    if (opened != Status::kOk) {
        Close();
        return opened;
    }
    m_width = sps->width;
    m_height = sps->height;
    return Status::kOk;
}

/// A new decoder, which knows the stream's parameter sets from the beginning.
Status NalDecoder::Impl::Open() try {
    const AVCodec* decoder =
        avcodec_find_decoder(m_codec == NalCodec::kH265 ? AV_CODEC_ID_HEVC : AV_CODEC_ID_H264);
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
    m_watch.replacesMissing = m_codec == NalCodec::kH265;
    m_watch.last = m_last.get();
    WatchSlices(m_context.get(), &m_watch);
    m_damaged = false;
    m_openedWith = m_sets.Decoding();
    return Status::kOk;
} catch (const std::bad_alloc&) {
    return Status::kOutOfMemory;
}

void NalDecoder::Impl::Close() {
    m_context.reset();
    m_leftOver.clear();
    m_frame.reset();
    m_last.reset();
    m_input.Clear();
    m_width = m_height = 0;
    m_info = {};
    m_kept = m_draining = false;
    m_form = Form::Unknown;
    m_begunInARow = 0;
}

void NalDecoder::Impl::Reset() {
    if (!IsOpen()) return;
    avcodec_flush_buffers(m_context.get());
    KeepAsLast();
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
Status NalDecoder::Impl::StartAfreshWhereDue(const NalUnit& contents) {
    if (!contents.key) return Status::kOk;
    if (m_sets.Decoding() == m_openedWith && !DamageSeen()) return Status::kOk;
    DrainIntoLeftOver();
    const Status status = Open();
    if (status != Status::kOk) Close();
    return status;
}

/// Keeps the pictures that still wait for their turn: they are due while the new decoder, which holds back as
/// many, gives none.
void NalDecoder::Impl::DrainIntoLeftOver() {
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

void NalDecoder::Impl::SetMostPixels(std::int64_t pixels) {
    m_mostPixels = pixels;
    if (IsOpen()) LimitPixels(m_context.get(), pixels);
}

void NalDecoder::Impl::SetSpeed(int speed) {
    m_speed = std::clamp(speed, 0, kMaxSpeed);
    if (IsOpen()) ApplySpeed();
}

void NalDecoder::Impl::ApplySpeed() {
    const SpeedSetting& setting = kSpeeds[m_speed];
    m_context->skip_loop_filter = setting.loopFilter;
    const bool ownChoice = m_codec == NalCodec::kH265 && m_speed < kMaxSpeed;
    m_context->skip_frame = ownChoice ? AVDISCARD_DEFAULT : setting.pictures;
    // With this flag the decoder filters slices on their own threads without waiting for their neighbours.
    if (m_speed > 0) {
        m_context->flags2 |= AV_CODEC_FLAG2_FAST;
    } else {
        m_context->flags2 &= ~AV_CODEC_FLAG2_FAST;
    }
}

/// H.265 says of each picture who may refer to it. Its B pictures are often referred to by all that follow,
/// so that the library, which would leave those out, is not asked.
bool NalDecoder::Impl::LeavesOut(const NalUnit& contents) const {
    constexpr int kWithoutUnreferenced = 5, kWithoutLayers = 6;
    if (m_codec != NalCodec::kH265 || !contents.slice.data || m_speed == kMaxSpeed) return false;
    return (m_speed >= kWithoutUnreferenced && contents.unreferenced) ||
           (m_speed >= kWithoutLayers && contents.temporalLayer > 0);
}

/// Receivers hand on a stream's pictures slice by slice, other sources whole. In pieces, a picture is
/// complete with its last macroblock, and not shown where that is missing. Whole ones are shown whatever has
/// become of them.
void NalDecoder::Impl::ApplyForm() {
    if (m_form == Form::WholePictures || m_codec == NalCodec::kH265) {
        m_context->flags2 &= ~AV_CODEC_FLAG2_CHUNKS;
    } else {
        m_context->flags2 |= AV_CODEC_FLAG2_CHUNKS;
    }
}

void NalDecoder::Impl::LearnForm(const NalUnit& contents) {
    if (m_codec == NalCodec::kH265) return;
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

/// What pictures refer to that are missing is the last one that was there.
void NalDecoder::Impl::KeepAsLast() {
    if (m_codec == NalCodec::kH265 && m_frame->data[0]) {
        av_frame_unref(m_last.get());
        av_frame_move_ref(m_last.get(), m_frame.get());
    } else {
        av_frame_unref(m_frame.get());
    }
}

Status NalDecoder::Impl::Advance(const AVPacket* packet) {
    KeepAsLast();
    m_kept = false;
    m_watch.BeginPacket();
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

Status NalDecoder::Impl::Decode(const std::uint8_t* data, std::size_t size, const UnitInfo& info) {
    if (!IsOpen()) return Status::kNotInitialised;
    if (!data || size == 0) return m_kept ? Status::kOk : Status::kNoPicture;
    if (m_draining) Reset();
    if (const Status status = m_input.Fill(data, size); status != Status::kOk) return status;
    const NalUnit contents = InspectUnit(m_codec, data, size);
    // Sizes beyond all bounds never reach the library, which would ask for the memory.
    if (const Status status = m_sets.Take(contents); status != Status::kOk) return status;
    m_damaged = m_damaged || info.damagedBefore;
    LearnForm(contents);
    if (LeavesOut(contents)) return Status::kNoPicture;
    if (const Status status = StartAfreshWhereDue(contents); status != Status::kOk) return status;
    m_context->reordered_opaque = info.tag;
    return Advance(m_input.Get());
}

Status NalDecoder::Impl::Drain() {
    if (!IsOpen()) return Status::kNotInitialised;
    if (m_kept) return Status::kOk;
    m_draining = true;
    return Advance(nullptr);
}

Status NalDecoder::Impl::Deliver(const OutputPicture& out) {
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
    KeepAsLast();
    m_kept = false;
    return Status::kOk;
}

Status NalDecoder::Impl::DeliverPlanar(PlanarPicture* picture) {
    m_kept = false;
    if (!ViewOf(*m_frame, picture)) return Status::kUnsupported;
    m_width = m_frame->width;
    m_height = m_frame->height;
    m_info = InfoOf(*m_frame);
    return Status::kOk;
}

NalDecoder::NalDecoder(NalCodec codec, int threads) : m_impl(std::make_unique<Impl>(codec, threads)) {}
NalDecoder::~NalDecoder() = default;

Status NalDecoder::Announced(NalCodec codec, const std::uint8_t* data, std::size_t size, int* width,
                             int* height) {
    if (!data || !width || !height) return Status::kBadArgument;
    const NalUnit contents = InspectUnit(codec, data, size);
    Status found = Status::kNoPicture;
    for (std::size_t i = 0; i < contents.setCount; ++i) {
        NalSps sps;
        const Status status = ParseSps(codec, contents.sets[i].data, contents.sets[i].size, &sps);
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

Status NalDecoder::Initialise(const std::uint8_t* data, std::size_t size) {
    return m_impl->Initialise(data, size);
}
bool NalDecoder::IsInitialised() const {
    return m_impl->IsOpen();
}
int NalDecoder::Width() const {
    return m_impl->m_width;
}
int NalDecoder::Height() const {
    return m_impl->m_height;
}
const PictureInfo& NalDecoder::Info() const {
    return m_impl->m_info;
}

Status NalDecoder::Decode(const std::uint8_t* data, std::size_t size, const OutputPicture& out,
                          const UnitInfo& unit) {
    if (!out.data) return Status::kBadArgument;
    const Status status = m_impl->Decode(data, size, unit);
    return status == Status::kOk ? m_impl->Deliver(out) : status;
}

Status NalDecoder::DecodePlanar(const std::uint8_t* data, std::size_t size, PlanarPicture* picture,
                                const UnitInfo& unit) {
    if (!picture) return Status::kBadArgument;
    const Status status = m_impl->Decode(data, size, unit);
    return status == Status::kOk ? m_impl->DeliverPlanar(picture) : status;
}

Status NalDecoder::Drain(const OutputPicture& out) {
    if (!out.data) return Status::kBadArgument;
    const Status status = m_impl->Drain();
    return status == Status::kOk ? m_impl->Deliver(out) : status;
}

Status NalDecoder::DrainPlanar(PlanarPicture* picture) {
    if (!picture) return Status::kBadArgument;
    const Status status = m_impl->Drain();
    return status == Status::kOk ? m_impl->DeliverPlanar(picture) : status;
}

void NalDecoder::Reset() {
    m_impl->Reset();
}
void NalDecoder::Close() {
    m_impl->Close();
}
void NalDecoder::SetMostPixels(std::int64_t pixels) {
    m_impl->SetMostPixels(pixels);
}
void NalDecoder::SetSpeed(int speed) {
    m_impl->SetSpeed(speed);
}
int NalDecoder::LibraryError() const {
    return m_impl->m_libraryError;
}

}  // namespace codec
