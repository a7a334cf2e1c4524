#include "record/AviWriter.h"

#include <gtest/gtest.h>

#include "FakeDisk.h"
#include "RiffCheck.h"
#include "Rig.h"

namespace norix::tests {
namespace {

class AviWriterTest : public testing::Test {
  protected:
    void Create(const AviDescription& description) {
        auto created = disk.Create(L"", L"a", L".avi");
        ASSERT_EQ(writer.Create(std::move(created.file), description), FileResult::Ok);
    }
    const Bytes& File() const { return disk.Contents(std::size_t{0}); }
    std::uint32_t Word(std::size_t at) const {
        return File()[at] | File()[at + 1] << 8 | File()[at + 2] << 16 | File()[at + 3] << 24;
    }
    std::string Text(std::size_t at) const {
        return std::string(File().begin() + at, File().begin() + at + 4);
    }

    FakeDisk disk;
    AviWriter writer;
};

AviDescription Both() {
    return {AviVideo{VideoCodec::H264, 320, 240, {}}, AviAudio{}};
}

TEST_F(AviWriterTest, HeaderOfPicturesAndSound) {
    Create(Both());
    ASSERT_EQ(writer.WriteVideo(KeyFrame(VideoCodec::H264, 0, 401), true), FileResult::Ok);
    ASSERT_EQ(writer.WriteAudio(Sound(160, 1), 160), FileResult::Ok);
    ASSERT_EQ(writer.Finish(), FileResult::Ok);

    const struct {
        std::size_t at;
        std::uint32_t value;
        const char* what;
    } kWords[] = {
        {4, static_cast<std::uint32_t>(File().size() - 8), "RIFF size"},
        {28, 56, "avih size"},
        {32, 33334, "microseconds per frame"},
        {44, 0x110, "flags"},
        {48, 1, "total frames"},
        {56, 2, "streams"},
        {64, 320, "width"},
        {68, 240, "height"},
        {128, 1, "scale"},
        {132, 30, "rate"},
        {140, 1, "length"},
        {148, 10000, "quality"},
        {160, 240u << 16 | 320, "right, bottom"},
        {172, 40, "bitmap header"},
        {184, 24u << 16 | 1, "planes, bits"},
        {192, 320 * 240 * 3, "image size"},
    };
    for (const auto& word : kWords)
        EXPECT_EQ(Word(word.at), word.value) << word.what;
    EXPECT_EQ(Text(108) + Text(112) + Text(188), "vidsH264H264");
    EXPECT_EQ(Text(232) + Text(322), "audsmovi");
    EXPECT_EQ(Word(256), 8000u) << "rate of the sound";
    EXPECT_EQ(Word(268), 26880u) << "suggested buffer";
    EXPECT_EQ(Word(276), 1u) << "sample size";
    EXPECT_EQ(Word(296), 1u << 16 | 7) << "channels, mu-law";

    const AviContents avi = ReadAvi(File());
    EXPECT_EQ(avi.fault, "");
    ASSERT_EQ(avi.chunks.size(), 2u);
    EXPECT_EQ(avi.chunks[0].data.size(), 401u) << "the padding is not counted";
    EXPECT_TRUE(avi.chunks[0].key);
    EXPECT_TRUE(avi.chunks[1].key);
}

TEST_F(AviWriterTest, SoundAlone) {
    Create({std::nullopt, AviAudio{}});
    ASSERT_EQ(writer.WriteAudio(Sound(159, 1), 159), FileResult::Ok);
    ASSERT_EQ(writer.Finish(), FileResult::Ok);
    EXPECT_EQ(Word(32), 1000u);
    EXPECT_EQ(Word(36), 8000u);
    EXPECT_EQ(Word(44), 0x810u);
    EXPECT_EQ(Word(60), 26880u);
    const AviContents avi = ReadAvi(File());
    EXPECT_EQ(avi.fault, "");
    ASSERT_EQ(avi.chunks.size(), 1u);
    EXPECT_EQ(avi.chunks[0].id, "00wb");
    EXPECT_EQ(avi.audioLength, 159u);
}

// A picture may come in parts: one chunk, whether or not its head has been written out already, and whatever
// the parity of its parts.
TEST_F(AviWriterTest, PartsOfAPictureAreOneChunk) {
    Create(Both());
    Bytes expected;
    for (const std::size_t size : {401, 200, 333, 600000, 101, 7}) {
        const Bytes part = Sound(size, static_cast<std::uint8_t>(size));
        const bool first = expected.empty();
        ASSERT_EQ(first ? writer.WriteVideo(part, true) : writer.ContinueVideo(part), FileResult::Ok);
        expected.insert(expected.end(), part.begin(), part.end());
        ASSERT_EQ(writer.SafePoint(), FileResult::Ok);
    }
    ASSERT_EQ(writer.WriteVideo(Sound(5, 5), false), FileResult::Ok);
    ASSERT_EQ(writer.Finish(), FileResult::Ok);
    const AviContents avi = ReadAvi(File());
    EXPECT_EQ(avi.fault, "");
    ASSERT_EQ(avi.chunks.size(), 2u);
    EXPECT_EQ(avi.chunks[0].data, expected);
}

TEST_F(AviWriterTest, AacHasItsOwnTagAndConfiguration) {
    Create({AviVideo{}, AviAudio{AudioCodec::Aac, 16000, 1, {0x14, 0x08, 0x56}}});
    ASSERT_EQ(writer.WriteAudio(Sound(99, 1), 1), FileResult::Ok);
    ASSERT_EQ(writer.Finish(), FileResult::Ok);
    const AviContents avi = ReadAvi(File());
    EXPECT_EQ(avi.fault, "");
    EXPECT_EQ(avi.audioTag, 0xFFu);
    EXPECT_EQ(avi.audioLength, 1u);
}

// A file of the largest size: its bytes are thrown away.
TEST(AviWriterSizeTest, EndsBeforeItsSizesOverflow) {
    class Nowhere final : public RecordFile {
      public:
        explicit Nowhere(std::uint64_t& end) : m_end(end) {}
        FileResult Write(std::uint64_t position, RecordBytes bytes) override {
            m_end = std::max(m_end, position + bytes.size());
            return FileResult::Ok;
        }
        FileResult Flush() override { return FileResult::Ok; }
        FileResult Close() override { return FileResult::Ok; }
        void Discard() override {}

      private:
        std::uint64_t& m_end;
    };
    std::uint64_t end = 0;
    AviWriter writer;
    ASSERT_EQ(writer.Create(std::make_unique<Nowhere>(end), Both()), FileResult::Ok);
    const Bytes frame(700001);
    while (writer.HasRoom(frame.size()))
        ASSERT_EQ(writer.WriteVideo(frame, true), FileResult::Ok);
    while (writer.HasRoom(0))
        ASSERT_EQ(writer.WriteVideo({}, false), FileResult::Ok);
    ASSERT_EQ(writer.Finish(), FileResult::Ok);
    EXPECT_LE(end, AviWriter::kMaxFileSize);
    EXPECT_GE(end, AviWriter::kMaxFileSize - 100);
}

}  // namespace
}  // namespace norix::tests
