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

    FakeDisk disk;
    AviWriter writer;
};

AviDescription Both() {
    return {AviVideo{VideoCodec::H264, 320, 240, {}}, AviAudio{}};
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
