// Feeds replies as a camera could send them to everything that reads them.

#include <algorithm>
#include <cstdlib>

#include "camera/CgiParams.h"
#include "camera/Charset.h"
#include "camera/CodecList.h"
#include "camera/HttpPolicy.h"

namespace {

using namespace norix;

void Require(bool holds) {
    if (!holds) std::abort();
}

// What was sent comes back as it was, whatever it holds, if the camera decodes it and keeps to lines.
void CheckParams(std::string_view text) {
    std::int32_t number = 0;
    std::string value;
    const CgiParam table[] = {{"n", number}, {"t", value}};
    ParseCGIParams(text, table, std::size(table));
    Require(value.size() <= text.size() && value.find('\n') == value.npos);
    std::string query;
    AppendQuery(query, table);
    Require(std::count(query.begin(), query.end(), '&') == 1 &&
            std::count(query.begin(), query.end(), '=') == 2);

    std::wstring wide;
    const CgiParamW wideTable[] = {{"n", number}, {"t", wide}};
    ParseCGIParamsW(std::wstring(text.begin(), text.end()), wideTable, std::size(wideTable));
    Require(wide.size() == value.size());
}

void CheckCodecs(std::string_view text) {
    const auto list = ParseCodecList(SingleValue(text));
    if (!list) return;
    Require(list->channels.size() <= CodecList::kMaxChannels);
    for (const auto& streams : list->channels)
        Require(!streams.empty() && streams.size() <= CodecList::kMaxStreams);
    const auto size = static_cast<std::int32_t>(text.size());
    const StreamSelection chosen = SelectStream(*list, {size - 20, 20 - size, VideoCodec::None});
    Require(chosen.channel >= 1 && static_cast<std::size_t>(chosen.channel) <= list->channels.size());
    const auto& streams = list->channels[static_cast<std::size_t>(chosen.channel) - 1];
    Require(chosen.stream >= 1 && static_cast<std::size_t>(chosen.stream) <= streams.size());
}

void CheckHeaders(std::string_view text) {
    Require(FindCharset(text).value_or("").size() <= 64);
    HttpRequest request;
    request.user = "u";
    HttpReply reply;
    reply.headers = text;
    reply.status = 401;
    if (const auto answer = AnswerChallenge(request, reply, "c"))
        Require(answer->line.find_first_of("\r\n") == answer->line.size() - 2);
    reply.status = 302;
    if (const auto next = FollowRedirection(request, reply)) {
        const std::string path = EncodePath(next->path);
        Require(path.starts_with('/') && path.find_first_of(" \r\n") == path.npos);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckParams(text);
    CheckCodecs(text);
    CheckHeaders(text);
    return 0;
}
