// Recordings in files of the system: read back by its own AVI reader, and one after the other without end.

#include <windows.h>

#include <gtest/gtest.h>
#include <vfw.h>
#include <wrl/client.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "record/RecordFileWin32.h"
#include "tests/native/record/RiffCheck.h"
#include "tests/native/record/Rig.h"
#include "tests/support/ResourceUse.h"
#include "util/FileOpener.h"

namespace norix::tests {
namespace {

namespace fs = std::filesystem;
using Microsoft::WRL::ComPtr;

class Folder {
  public:
    Folder() {
        wchar_t temp[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, temp);
        m_path = fs::path(temp) / (L"record" + std::to_wstring(GetCurrentProcessId()));
        fs::remove_all(m_path);
        fs::create_directories(m_path);
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    const fs::path& Path() const { return m_path; }

  private:
    fs::path m_path;
};

/// A recording whose files are the system's.
class OnDisk : public Rig {
  public:
    OnDisk(VideoCodec video, AudioCodec audio) : Rig(video, audio) {}

    Created Create(const std::wstring&, const std::wstring& name, const std::wstring& extension) override {
        util::FileWish wish;
        wish.folder = m_folder.Path().wstring();
        wish.name = name;
        wish.extension = extension;
        util::OpenedFile opened = util::OpenForWriting(wish, util::Taken::kNumber);
        if (!opened) return {FileResult::Failed, nullptr};
        files.emplace_back(opened.path);
        return {FileResult::Ok,
                std::make_unique<RecordFileWin32>(std::move(opened.file), std::move(opened.path))};
    }

    std::vector<fs::path> files;

  private:
    Folder m_folder;
};

class SystemReaderTest : public testing::TestWithParam<Streams> {
  protected:
    SystemReaderTest() { AVIFileInit(); }
    ~SystemReaderTest() override { AVIFileExit(); }
};

Bytes ReadFormat(IAVIStream* stream) {
    LONG size = 0;
    EXPECT_EQ(AVIStreamReadFormat(stream, 0, nullptr, &size), AVIERR_OK);
    Bytes format(static_cast<std::size_t>(size));
    EXPECT_EQ(AVIStreamReadFormat(stream, 0, format.data(), &size), AVIERR_OK);
    return format;
}

/// Of that many samples as many as the reader gives at once.
Bytes ReadSamples(IAVIStream* stream, std::size_t from, std::size_t count, std::size_t bytesAtMost) {
    Bytes bytes(bytesAtMost);
    LONG size = 0;
    EXPECT_EQ(AVIStreamRead(stream, static_cast<LONG>(from), static_cast<LONG>(count), bytes.data(),
                            static_cast<LONG>(bytes.size()), &size, nullptr),
              AVIERR_OK)
        << from;
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
}

TEST_P(SystemReaderTest, FindsEveryFrame) {
    const auto [video, audio, form] = GetParam();
    OnDisk rig(video, audio);
    rig.controller.Start(RecordFormat::Avi);
    rig.Send(GetParam());
    rig.Stop();
    ASSERT_EQ(rig.files.size(), 1u);

    constexpr std::size_t kLargest = 1000;
    ComPtr<IAVIFile> file;
    ASSERT_EQ(AVIFileOpenW(&file, rig.files[0].c_str(), OF_READ, nullptr), AVIERR_OK);
    ComPtr<IAVIStream> stream;
    if (video != VideoCodec::None) {
        ASSERT_EQ(AVIFileGetStream(file.Get(), &stream, streamtypeVIDEO, 0), AVIERR_OK);
        AVISTREAMINFOW info = {};
        EXPECT_EQ(AVIStreamInfoW(stream.Get(), &info, sizeof(info)), AVIERR_OK);
        EXPECT_EQ(info.dwLength, rig.pictures.size());
        EXPECT_EQ(info.dwRate, 25 * info.dwScale);
        const Bytes format = ReadFormat(stream.Get());
        const auto* const bitmap = reinterpret_cast<const BITMAPINFOHEADER*>(format.data());
        EXPECT_EQ(bitmap->biWidth, 320);
        EXPECT_EQ(bitmap->biHeight, 240);
        for (std::size_t i = 0; i < rig.pictures.size(); ++i) {
            const auto sample = static_cast<LONG>(i);
            EXPECT_EQ(ReadSamples(stream.Get(), i, 1, kLargest), rig.pictures[i]) << i;
            const bool key = video == VideoCodec::Mjpeg || i % 10 == 0;
            EXPECT_EQ(AVIStreamFindSample(stream.Get(), sample, FIND_KEY | FIND_PREV) == sample, key) << i;
        }
    }
    if (audio != AudioCodec::None) {
        ASSERT_EQ(AVIFileGetStream(file.Get(), &stream, streamtypeAUDIO, 0), AVIERR_OK);
        const Bytes format = ReadFormat(stream.Get());
        const auto* const wave = reinterpret_cast<const WAVEFORMATEX*>(format.data());
        Bytes whole;
        for (const Bytes& sound : rig.sounds)
            whole.insert(whole.end(), sound.begin(), sound.end());
        if (audio == AudioCodec::Aac) {
            EXPECT_EQ(wave->wFormatTag, 0xFF);
            EXPECT_EQ(wave->cbSize, 2);
            // Wine's reader counts every sound in blocks of one size, and takes no frame as it is.
            const std::size_t blocks = whole.size() / wave->nBlockAlign;
            const Bytes read = ReadSamples(stream.Get(), 0, blocks, whole.size());
            EXPECT_EQ(read.size(), blocks * wave->nBlockAlign);
            EXPECT_TRUE(std::equal(read.begin(), read.end(), whole.begin()));
        } else {
            EXPECT_EQ(wave->wFormatTag, WAVE_FORMAT_MULAW);
            EXPECT_EQ(AVIStreamLength(stream.Get()), static_cast<LONG>(whole.size()));
            Bytes read;
            while (read.size() < whole.size()) {
                const std::size_t left = whole.size() - read.size();
                const Bytes part = ReadSamples(stream.Get(), read.size(), left, left);
                ASSERT_FALSE(part.empty());
                read.insert(read.end(), part.begin(), part.end());
            }
            EXPECT_EQ(read, whole);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, SystemReaderTest, testing::ValuesIn(kStreams));

// Two hundred files: whatever was sent is in one of them, once, and nothing of this process grows.
TEST(RotationTest, LosesNothingAndLeavesNothingBehind) {
    constexpr int kFiles = 200;
    constexpr int kWarmUp = 20;
    constexpr long kTolerated = kFiles / 10;
    constexpr long kToleratedHeapBytes = 8 * 1024;
    for (const bool bySize : {true, false}) {
        OnDisk rig(VideoCodec::H264, AudioCodec::Pcmu);
        const std::size_t size = bySize ? 128 * 1024 : 200;
        const auto frame = [&](std::uint32_t number) {
            return number % 5 == 0 ? KeyFrame(VideoCodec::H264, number, size)
                                   : OtherFrame(VideoCodec::H264, number, size);
        };
        rig.controller.SetLimits(bySize ? RecordLimits{1 << 20, 0} : RecordLimits{0, 1});
        rig.controller.Start(RecordFormat::Avi);
        std::uint32_t read = 0;
        std::uint64_t sound = 0;
        const auto readNext = [&] {
            std::ifstream in(rig.files.front(), std::ios::binary);
            const AviContents avi = ReadAvi(Bytes(std::istreambuf_iterator<char>(in), {}));
            in.close();
            ASSERT_EQ(avi.fault, "");
            ASSERT_TRUE(avi.Video().at(0).key);
            for (const auto& chunk : avi.Video()) {
                ASSERT_EQ(chunk.data, frame(read)) << read;
                ++read;
            }
            for (const auto& chunk : avi.Audio())
                sound += chunk.data.size();
            fs::remove(rig.files.front());
            rig.files.erase(rig.files.begin());
        };
        ResourceUse before = {};
        std::uint32_t sent = 0;
        for (int file = 0; file < kFiles + kWarmUp; ++file) {
            while (rig.files.size() < 2) {
                rig.Video(frame(sent++), rig.now);
                rig.Audio(Sound(320, 1), rig.now);
                rig.now += 40;
            }
            ASSERT_NO_FATAL_FAILURE(readNext());
            rig.reports.clear();
            if (file == kWarmUp) before = ResourceUse::Now();
        }
        const ResourceUse after = ResourceUse::Now();
        std::cout << "before: " << before << "\nafter:  " << after << std::endl;
        EXPECT_LE(after.handleSlots, before.handleSlots + kTolerated);
        EXPECT_LE(after.heapBlocks, before.heapBlocks + kTolerated);
        EXPECT_LE(after.heapBytes, before.heapBytes + kToleratedHeapBytes);
        rig.Stop();
        ASSERT_NO_FATAL_FAILURE(readNext());
        EXPECT_EQ(read, sent);
        EXPECT_EQ(sound, sent * 320ull);
    }
}

}  // namespace
}  // namespace norix::tests
