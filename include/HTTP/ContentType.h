#pragma once

// What a reply says that it holds. Pure.

#include <string>
#include <string_view>

namespace norix::http {

enum class Content {
    Multipart,  // one picture after the other
    Picture,    // JPEG
    Sound,      // G.711
    Bytes,      // media, but of what form is to be seen
    Other,      // no media: a page, as a rule
};

struct ContentType {
    Content content = Content::Bytes;
    std::string boundary;  // as stated, without quotes
};

/// An empty text, which is a missing field, gives Bytes.
ContentType ParseContentType(std::string_view text);

}  // namespace norix::http
