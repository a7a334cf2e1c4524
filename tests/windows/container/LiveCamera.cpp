#include "tests/windows/container/LiveCamera.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "samples/host/Automation.h"
#include "tests/windows/container/ContainerTest.h"

namespace {

// 320 x 240.
constexpr char kMedia[] =
    "m=video 0 RTP/AVP 96\r\na=rtpmap:96 H264/90000\r\n"
    "a=fmtp:96 packetization-mode=1;sprop-parameter-sets=Z0LADdkBQfsBEAAAAwAQAAADAyDxQqSA,aMuDyyA=\r\n";
constexpr std::uint8_t kSlice[] = {0x65, 0x88, 0x84};  // of an IDR picture, its first macroblock, I
constexpr unsigned kDigitBits = 7;                     // no byte is zero: no start code comes about

void Append(std::string& bytes, std::uint32_t value, int count) {
    while (count-- > 0)
        bytes += static_cast<char>(value >> 8 * count);
}

}  // namespace

LiveCamera::LiveCamera()
    : server_(
          "127.0.0.1", 0, [](const std::string& request) { return RtspReply(request, kMedia); },
          [this] { return NextPicture(); }) {}

std::string LiveCamera::NextPicture() {
    std::string rtp;
    Append(rtp, 0x80E0, 2);  // version 2, the last packet of the picture, type 96
    Append(rtp, number_, 2);
    Append(rtp, GetTickCount() * 90, 4);
    Append(rtp, 1, 4);
    rtp.append(std::begin(kSlice), std::end(kSlice));
    for (int digit = 3; digit >= 0; --digit)
        rtp += static_cast<char>(0x80 | (number_ >> digit * kDigitBits & 0x7F));
    rtp.append(100, '\x55');
    ++number_;
    std::string packet = "$";
    Append(packet, 0, 1);
    Append(packet, static_cast<std::uint32_t>(rtp.size()), 2);
    return packet + rtp;
}

long LiveCamera::NumberOf(std::span<const std::uint8_t> frame) {
    const auto slice = std::search(frame.begin(), frame.end(), std::begin(kSlice), std::end(kSlice));
    if (frame.end() - slice < 7) return -1;
    long number = 0;
    for (int i = 3; i < 7; ++i)
        number = number << kDigitBits | (slice[i] & 0x7F);
    return number;
}

void LiveCamera::Connect(IDispatch* control) const {
    SetProperty(control, L"ServerIP", L"127.0.0.1");
    SetProperty(control, L"HttpPort", 9L);
    SetProperty(control, L"VideoProtocol", 2L);
    SetProperty(control, L"MediaType", 1L);
    SetProperty(control, L"DecodeAV", false);
    const std::wstring address = L"rtsp://127.0.0.1:" + std::to_wstring(server_.Port()) + L"/live";
    SetProperty(control, L"StreamUri", address.c_str());
    EXPECT_EQ(static_cast<long>(CallMethod(control, L"Connect")), 0);
    EXPECT_TRUE(PumpUntil([&] { return static_cast<short>(GetProperty(control, L"ConnectStatus")) == 1; }));
}

TemporaryFolder::TemporaryFolder(const wchar_t* name) {
    wchar_t temp[MAX_PATH] = {};
    GetTempPathW(MAX_PATH, temp);
    path_ = std::filesystem::path(temp) / (std::to_wstring(GetCurrentProcessId()) + name);
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<std::filesystem::path> TemporaryFolder::Files() const {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
        if (entry.path().extension() == L".avi") files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}
