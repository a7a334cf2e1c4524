// A whole reply, head and stream. However its bytes are cut into pieces, the frames must be the same and keep
// to the limit. The first byte chooses the kind of stream and the pieces.

#include <cstdlib>

#include "Streams.h"
#include "include/HTTP/BodyDecoder.h"
#include "include/HTTP/HttpDialogue.h"
#include "include/HTTP/Splitter.h"

namespace {

using namespace norix::http;

constexpr std::size_t kLimit = 600;

struct Outcome {
    http_test::Frames frames;
    int end = 0;
    bool operator==(const Outcome& other) const { return frames.all == other.frames.all && end == other.end; }
};

Outcome Receive(Bytes bytes, bool video, std::size_t piece) {
    Outcome outcome;
    HeadReader reader;
    std::optional<BodyDecoder> body;
    std::unique_ptr<Splitter> splitter;
    while (!bytes.empty()) {
        Bytes now = bytes.first(std::min(piece, bytes.size()));
        bytes = bytes.subspan(now.size());
        if (!splitter) {
            const auto state = reader.Feed(now);
            if (state == HeadReader::State::More) continue;
            if (state == HeadReader::State::Bad) return outcome;
            HttpDialogue dialogue({.host = "h", .path = "/", .user = "u", .password = "p", .headers = {}},
                                  video ? HttpDialogue::Media::Pictures : HttpDialogue::Media::Sound, "c",
                                  "n");
            if (dialogue.Take(reader.Head()) != HttpDialogue::Next::Stream) {
                if (dialogue.Request().find("\r\n\r\n") + 4 != dialogue.Request().size()) std::abort();
                return outcome;
            }
            body.emplace(reader.Head().chunked, reader.Head().contentLength);
            if (video) {
                splitter =
                    std::make_unique<PictureSplitter>(kLimit, ParseContentType(reader.Head().contentType));
            } else {
                splitter = std::make_unique<SoundSplitter>(kLimit);
            }
        }
        Bytes data;
        auto state = BodyDecoder::State::Data;
        while ((state = body->Next(now, data)) == BodyDecoder::State::Data) {
            const auto went = splitter->Feed(data, outcome.frames);
            if (went != Splitter::State::GoOn) {
                outcome.end = 1 + static_cast<int>(went);
                return outcome;
            }
        }
        if (state != BodyDecoder::State::More) {
            outcome.end = 10 + static_cast<int>(state);
            return outcome;
        }
    }
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const bool video = (data[0] & 1) != 0;
    const Bytes bytes(data + 1, size - 1);
    const Outcome whole = Receive(bytes, video, size);
    for (const std::string& frame : whole.frames.all) {
        if (frame.empty() || frame.size() > kLimit) std::abort();
    }
    if (!(whole == Receive(bytes, video, 1 + (data[0] >> 1) % 9))) std::abort();
    return 0;
}
