// Records the frames of a list into real files, for readers that others have written: record_feed LIST FOLDER
// [milliseconds per second of the list]
//
// The list is text: "video|audio PTS-MS FILE OFFSET SIZE" per line, after a head line "CODEC AUDIO RATE
// CONFIG SECONDS BYTES" (h264|h265|mpeg4|mjpeg|none, pcmu|aac|none, Hz, hexadecimal digits or -, limits or
// 0). With a third argument the frames come in that pace, and each report is printed: for those who end the
// program meanwhile.
//
//     record_feed --check FILE...
//
// Says what is wrong with recordings, however large.

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <thread>

#include "RiffCheck.h"
#include "Rig.h"

namespace {

using norix::tests::Bytes;
using namespace norix;

class PosixFile final : public RecordFile {
  public:
    explicit PosixFile(int file) : m_file(file) {}
    ~PosixFile() override { Close(); }
    // What is zero and behind the end stays a hole, so that large files cost little.
    FileResult Write(std::uint64_t position, RecordBytes bytes) override {
        constexpr std::size_t kBlock = 65536;
        for (bool done = true; !bytes.empty();) {
            const RecordBytes part = bytes.first(std::min(kBlock, bytes.size()));
            const bool zero = part[0] == 0 && std::memcmp(part.data(), part.data() + 1, part.size() - 1) == 0;
            if (zero && position >= m_end) {
                done = ftruncate(m_file, static_cast<off_t>(position + part.size())) == 0;
            } else {
                done = pwrite(m_file, part.data(), part.size(), static_cast<off_t>(position)) ==
                       static_cast<ssize_t>(part.size());
            }
            if (!done) return FileResult::Failed;
            position += part.size();
            m_end = std::max(m_end, position);
            bytes = bytes.subspan(part.size());
        }
        return FileResult::Ok;
    }
    FileResult Flush() override { return Of(fdatasync(m_file) == 0); }
    void Discard() override {}
    FileResult Close() override {
        return m_file < 0 ? FileResult::Ok : Of(close(std::exchange(m_file, -1)) == 0);
    }

  private:
    static FileResult Of(bool done) { return done ? FileResult::Ok : FileResult::Failed; }
    int m_file;
    std::uint64_t m_end = 0;
};

class Disk final : public norix::tests::Rig {
  public:
    Disk(VideoCodec video, AudioCodec audio, std::string folder)
        : Rig(video, audio, 16 << 20), m_folder(std::move(folder)) {}
    Created Create(const std::wstring&, const std::wstring&, const std::wstring& extension) override {
        char name[32];
        std::snprintf(name, sizeof(name), "/%04d", m_files++);
        const std::string path = m_folder + name + std::string(extension.begin(), extension.end());
        const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0644);
        if (file < 0) return {FileResult::Failed, nullptr};
        return {FileResult::Ok, std::make_unique<PosixFile>(file)};
    }

  private:
    const std::string m_folder;
    int m_files = 0;
};

Bytes ReadPart(const std::string& path, std::size_t offset, std::size_t size) {
    static std::map<std::string, Bytes> files;
    Bytes& file = files[path];
    if (file.empty()) {
        std::ifstream in(path, std::ios::binary);
        file.assign(std::istreambuf_iterator<char>(in), {});
    }
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(offset);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(size));
}

int Check(const char* path) {
    const int file = open(path, O_RDONLY);
    const auto size = static_cast<std::size_t>(lseek(file, 0, SEEK_END));
    void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    close(file);
    if (bytes == MAP_FAILED) return 1;
    const auto avi = norix::tests::ReadAvi({static_cast<const std::uint8_t*>(bytes), size}, true, false);
    munmap(bytes, size);
    std::printf("%zu %s\n", avi.chunks.size(), avi.fault.c_str());
    return avi.fault.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    if (std::string_view(argv[1]) == "--check") {
        int faults = 0;
        for (int i = 2; i < argc; ++i)
            faults += Check(argv[i]);
        return faults;
    }
    std::ifstream list(argv[1]);
    std::string video, audio, config;
    std::uint32_t rate = 0;
    RecordLimits limits;
    list >> video >> audio >> rate >> config >> limits.seconds >> limits.bytes;
    const std::map<std::string, VideoCodec> videos = {{"h264", VideoCodec::H264},
                                                      {"h265", VideoCodec::H265},
                                                      {"mpeg4", VideoCodec::Mpeg4},
                                                      {"mjpeg", VideoCodec::Mjpeg},
                                                      {"none", VideoCodec::None}};
    const std::map<std::string, AudioCodec> audios = {
        {"pcmu", AudioCodec::Pcmu}, {"aac", AudioCodec::Aac}, {"none", AudioCodec::None}};
    Disk rig(videos.at(video), audios.at(audio), argv[2]);
    rig.param.audioSampleRate.Set(rate);
    if (config != "-") {
        Bytes bytes;
        for (std::size_t i = 0; i + 1 < config.size(); i += 2)
            bytes.push_back(static_cast<std::uint8_t>(std::stoi(config.substr(i, 2), nullptr, 16)));
        rig.param.aacConfig.Set(bytes);
    }
    rig.controller.SetLimits(limits);
    rig.controller.Start(RecordFormat::Avi);
    const double pace = argc > 3 ? std::stod(argv[3]) : 0;
    const auto begin = std::chrono::steady_clock::now();
    std::string kind, path;
    std::uint32_t pts = 0;
    std::size_t offset = 0, size = 0;
    while (list >> kind >> pts >> path >> offset >> size) {
        if (pace > 0) {
            std::this_thread::sleep_until(begin + std::chrono::microseconds(static_cast<long>(pts * pace)));
            std::printf("%u\n", pts);
            std::fflush(stdout);
        }
        rig.now = 1000 + pts;
        const Bytes frame = ReadPart(path, offset, size);
        if (kind == "video") rig.Video(frame, pts);
        if (kind == "audio") rig.Audio(frame, pts);
    }
    rig.Stop();
    return rig.Count(RecordStatus::Stopped) == 1 ? 0 : 1;
}
