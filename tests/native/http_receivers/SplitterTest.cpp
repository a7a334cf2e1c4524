// Streams of every form, cut into pieces at every place, give the frames that were sent.

#include <gtest/gtest.h>

#include "Streams.h"
#include "include/HTTP/BodyDecoder.h"
#include "tests/support/LogCapture.h"

namespace http_test {
namespace {

using namespace norix::http;
using State = Splitter::State;
using Texts = std::vector<std::string>;

constexpr std::size_t kLimit = 800;

State Split(const std::string& type, const Texts& pieces, Frames& frames, std::size_t limit = kLimit) {
    PictureSplitter splitter(limit, ParseContentType(type));
    State state = State::GoOn;
    for (const std::string& piece : pieces) {
        if (state == State::GoOn) state = splitter.Feed(BytesOf(piece), frames);
    }
    return state;
}

// Short, for messages.
std::string Sizes(const Texts& frames) {
    std::string text;
    for (const std::string& frame : frames)
        text += std::to_string(frame.size()) + " ";
    return text;
}

// In one piece, byte by byte, and in two pieces cut at every place.
void ExpectFrames(const std::string& type, const std::string& stream, const Texts& expected,
                  State ending = State::GoOn) {
    Texts single;
    for (const char c : stream)
        single.emplace_back(1, c);
    Frames whole, bytewise;
    EXPECT_EQ(Split(type, {stream}, whole), ending);
    EXPECT_EQ(Sizes(whole.all), Sizes(expected));
    EXPECT_TRUE(whole.all == expected);
    EXPECT_EQ(Split(type, single, bytewise), ending);
    EXPECT_TRUE(bytewise.all == expected) << Sizes(bytewise.all);
    for (std::size_t at = 1; at < stream.size(); ++at) {
        Frames frames;
        Split(type, {stream.substr(0, at), stream.substr(at)}, frames);
        ASSERT_TRUE(frames.all == expected) << "cut at " << at << ": " << Sizes(frames.all);
    }
}

std::string Counted(const std::string& picture, std::size_t length) {
    return "Content-Type: image/jpeg\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n" + picture;
}
std::string Counted(const std::string& picture) {
    return Counted(picture, picture.size());
}

const Texts kPictures = {Jpeg(40), Jpeg(260), Jpeg(0)};

TEST(Multipart, EveryWayToWriteABoundaryIsUnderstood) {
    struct Way {
        const char* type;
        const char* line;
        const char* lineEnd;
    };
    for (const Way& way : {Way{"multipart/x-mixed-replace; boundary=foo", "--foo", "\r\n"},
                           Way{"multipart/x-mixed-replace;boundary=\"foo\"", "--foo", "\n"},
                           Way{"multipart/x-mixed-replace; boundary=--foo", "--foo", "\r\n"},
                           Way{"multipart/x-mixed-replace; boundary=--foo", "----foo", "\r\n"},
                           Way{"multipart/x-mixed-replace; boundary=foo", "foo", "\r\n"},
                           Way{"multipart/x-mixed-replace; boundary=foo", "--other", "\r\n"},
                           Way{"multipart/x-mixed-replace", "--foo", "\r\n"},
                           Way{"application/octet-stream", "--foo", "\r\n"}}) {
        SCOPED_TRACE(std::string(way.type) + " " + way.line);
        std::string counted = "\r\n", plain, tight;
        for (const std::string& picture : kPictures) {
            const std::string begin = std::string(way.line) + way.lineEnd;
            counted += begin + Counted(picture) + way.lineEnd;
            plain += begin + "Content-Type: image/jpeg" + way.lineEnd + way.lineEnd + picture + way.lineEnd;
            tight += begin + way.lineEnd + picture;  // no header, no line end behind the picture
        }
        ExpectFrames(way.type, counted, kPictures);
        ExpectFrames(way.type, plain + way.line + "\r\n", kPictures);
        ExpectFrames(way.type, tight + way.line + "\r\n", kPictures);
        ExpectFrames(way.type, plain + way.line + "--", kPictures, State::End);
    }
}

TEST(Multipart, ABoundaryInsideAPictureDoesNotEndIt) {
    const std::string likely = Jpeg(30, "--foo\r\n");  // not behind a line end
    const std::string counted = Jpeg(30, "\r\n--foo\r\n");
    const std::string longer = Jpeg(5, "\r\n--foobar\r\n\r\n--fo");
    const std::string type = "multipart/x-mixed-replace; boundary=foo";
    ExpectFrames(type, "--foo\r\n" + Counted(counted) + "\r\n--foo\r\n" + Counted(likely) + "\r\n",
                 {counted, likely});
    ExpectFrames(type, "--foo\r\n\r\n" + longer + "\r\n--foo\r\n\r\n" + likely + "\r\n--foo\r\n",
                 {longer, likely});
}

TEST(Multipart, AWrongLengthCostsNoPicture) {
    const std::string type = "multipart/x-mixed-replace; boundary=foo";
    const std::string a = Jpeg(100), b = Jpeg(60), c = Jpeg(80), bare = Jpeg(20).substr(0, 40);
    const std::string end = "\r\n--foo\r\n";
    for (const std::size_t wrong : {a.size() - 50, a.size() + 1, a.size() + 60}) {
        ExpectFrames(type, "--foo\r\n" + Counted(a, wrong) + end + Counted(b) + end + Counted(c) + end,
                     {a, b, c});
    }
    // Nor does a missing one wait for the next boundary. What is behind a picture isn't part of it.
    ExpectFrames(type, "--foo\r\n" + Counted(a + "pad") + end + "\r\n" + b, {a, b});
    // Neither does one that is no number, or a picture without its last marker.
    ExpectFrames(type,
                 "--foo\r\nContent-Length: -7\r\n\r\n" + a + end + Counted(bare) + end + Counted(b) + end,
                 {a, bare, b});
}

TEST(Multipart, LongPicturesAndOtherPartsAreLeftOut) {
    const std::string type = "multipart/x-mixed-replace; boundary=foo";
    const std::string small = Jpeg(10), large = Jpeg(kLimit), end = "\r\n--foo\r\n";
    const std::string note = "Content-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello";
    const util::LogCapture log;
    Frames frames;
    std::string stream = "--foo\r\n";
    for (const std::string& part : {Counted(large), "\r\n" + large, note, Counted(small), "\r\n" + large,
                                    "\r\n" + Jpeg(40 * kLimit), "\r\n" + small}) {
        stream += part + end;
    }
    EXPECT_EQ(Split(type, {stream}, frames), State::GoOn);
    EXPECT_EQ(frames.all, (Texts{small, small}));
    EXPECT_TRUE(log.Contains("A picture is longer than 800 bytes, dropped"));
    EXPECT_EQ(log.Lines().size(), 4u);

    const std::string exact = Jpeg(kLimit - Jpeg(0).size());
    ExpectFrames(type, "--foo\r\n\r\n" + exact + end + Counted(exact) + end, {exact, exact});
}

TEST(Raw, PicturesAreFoundByTheirMarkers) {
    const std::string a = Jpeg(50), b = Jpeg(0), c = Jpeg(300);
    ExpectFrames("image/jpeg", a, {a});
    ExpectFrames("image/jpeg", a + b + c, {a, b, c});
    ExpectFrames("multipart/x-mixed-replace; boundary=foo", a + b, {a, b});
    ExpectFrames("", "junk" + a + Text({13, 10, 0, 0}) + b + "more", {a, b});
    // One that is cut off costs itself alone.
    ExpectFrames("image/jpeg", a + c.substr(0, 200) + b + a, {a, b, a});
    Frames frames;
    EXPECT_EQ(Split("image/jpeg", {Jpeg(20 * kLimit) + a}, frames), State::GoOn);
    EXPECT_EQ(frames.all, Texts{a});
}

// The memory grows where the limit lets it, with all that it holds.
TEST(Raw, PicturesMayBeMuchLargerThanUsual) {
    const std::string small = Jpeg(50), large = Jpeg(2'500'000);
    const std::string stream = small + large + small + large;
    Texts pieces;
    for (std::size_t at = 0; at < stream.size(); at += 60'000)
        pieces.push_back(stream.substr(at, 60'000));
    Frames frames;
    EXPECT_EQ(Split("image/jpeg", pieces, frames, 16u << 20), State::GoOn);
    EXPECT_EQ(Sizes(frames.all), Sizes({small, large, small, large}));
}

TEST(Raw, TheCamerasHeaderEndsTheFrameOrItsMarkersDo) {
    const std::string a = Jpeg(50), b = Jpeg(0), c = Jpeg(300);
    const std::string sized = Header(a.size()) + a;
    const std::string unsized = Header(b.size(), 60, false) + b;
    const std::string bare = a.substr(0, 40);  // told by its length alone
    ExpectFrames("video/x-jpeg", sized + unsized + sized + a, {sized, unsized, sized, a});
    ExpectFrames("", Header(bare.size()) + bare + unsized, {Header(bare.size()) + bare, unsized});
    // Out of step: wrong lengths, a frame that is cut off, a header of something else.
    ExpectFrames("", Header(a.size() - 9) + a + sized,
                 {(Header(a.size() - 9) + a).substr(0, 27 + a.size()), sized});
    ExpectFrames("", Header(c.size(), 40, false) + c.substr(0, 150) + sized + unsized, {sized, unsized});
    ExpectFrames("", Header(9) + "no picture" + sized + Header(5000) + unsized + sized,
                 {sized, unsized, sized});
    const std::string large = Jpeg(kLimit);
    ExpectFrames("", Header(large.size()) + large + unsized, {unsized});
    // In parts of a multipart stream it is a part of the frame.
    ExpectFrames("multipart/mixed; boundary=foo",
                 "--foo\r\n" + Counted(sized) + "\r\n--foo\r\n\r\n" + unsized + "\r\n--foo\r\n",
                 {sized, unsized});
}

TEST(Raw, EndlessGarbageIsNoStream) {
    const std::string megabyte(1024 * 1024 + 1, 'x');
    for (const char* type :
         {"image/jpeg", "", "multipart/x-mixed-replace; boundary=foo", "multipart/x-mixed-replace"}) {
        Frames frames;
        EXPECT_EQ(Split(type, {megabyte, megabyte}, frames), State::Broken) << type;
        EXPECT_TRUE(frames.all.empty());
    }
}

Texts SplitSound(const Texts& pieces, std::size_t limit) {
    SoundSplitter splitter(limit);
    Frames frames;
    for (const std::string& piece : pieces)
        splitter.Feed(BytesOf(piece), frames);
    splitter.Finish(frames);
    return frames.all;
}

TEST(Sound, BlocksComeWithTheirHeaderOrAreCutFromBareSound) {
    const std::string a = SoundBlock(1024), b = SoundBlock(160), open = SoundBlock(300, false);
    const std::string stream = a + b + "lost" + a + open + b;
    const std::string bare(1300, '\x7F');
    for (std::size_t at = 1; at < stream.size(); ++at) {
        ASSERT_EQ(SplitSound({stream.substr(0, at), stream.substr(at)}, 8196), (Texts{a, b, a, open, b}))
            << at;
    }
    EXPECT_EQ(SplitSound({bare.substr(0, 3), bare.substr(3)}, 8196),
              (Texts{bare.substr(0, 512), bare.substr(0, 512), bare.substr(0, 276)}));
    EXPECT_EQ(SplitSound({bare}, 1000), SplitSound({bare}, 8196));
    EXPECT_EQ(SplitSound({bare.substr(0, 200)}, 100), Texts(2, bare.substr(0, 100)));
    // What the buffer doesn't hold is left out.
    EXPECT_EQ(SplitSound({a + b + SoundBlock(9000, false) + b}, 500), (Texts{b, b}));
}

TEST(Body, ChunksMayBeCutAnywhere) {
    const std::string body = "4;x=y\r\nabcd\r\n0A\r\n0123456789\r\n1\nz\n0\r\nTrailer: t\r\n\r\nnever";
    for (std::size_t at = 1; at < body.size(); ++at) {
        BodyDecoder decoder(true, std::nullopt);
        std::string text;
        auto state = BodyDecoder::State::More;
        for (const std::string& piece : {body.substr(0, at), body.substr(at)}) {
            Bytes bytes = BytesOf(piece), data;
            while ((state = decoder.Next(bytes, data)) == BodyDecoder::State::Data)
                text.append(data.begin(), data.end());
        }
        EXPECT_EQ(state, BodyDecoder::State::End);
        ASSERT_EQ(text, "abcd0123456789z") << at;
    }
}

TEST(Body, BadChunksAndLengths) {
    const auto end = [](const std::string& body, bool chunked, std::optional<std::uint64_t> length) {
        BodyDecoder decoder(chunked, length);
        Bytes bytes = BytesOf(body), data;
        auto state = BodyDecoder::State::Data;
        while (state == BodyDecoder::State::Data)
            state = decoder.Next(bytes, data);
        return state;
    };
    for (const std::string& bad :
         {std::string("\r\n"), std::string("xyz\r\n"), std::string("-1\r\n"), std::string("123456789\r\n"),
          std::string("1\r\nab\r\n"), std::string(5000, '1')}) {
        EXPECT_EQ(end(bad, true, 3), BodyDecoder::State::Bad) << bad.substr(0, 20);
    }
    EXPECT_EQ(end("abc", false, 3), BodyDecoder::State::End);
    EXPECT_EQ(end("abc", false, 4), BodyDecoder::State::More);
    EXPECT_EQ(end("abc", false, std::nullopt), BodyDecoder::State::More);
}

}  // namespace
}  // namespace http_test
