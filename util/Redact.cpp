#include "util/Redact.h"

#include <algorithm>
#include <vector>

namespace util {
namespace {

constexpr std::string_view kMask = "***";
constexpr std::string_view kLineEnds("\r\n\0", 3);

// A secret of a text: [begin, end), maybe empty.
struct Span {
    size_t begin;
    size_t end;
};

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsWordChar(char c) {
    return IsDigit(c) || (Lower(c) >= 'a' && Lower(c) <= 'z') || c == '_';
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

bool EndsUrl(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '"' || c == '<' || c == '>';
}

size_t FindFirst(std::string_view text, std::string_view chars, size_t from) {
    return std::min(text.find_first_of(chars, from), text.size());
}

size_t SkipBlanks(std::string_view text, size_t from) {
    while (from < text.size() && IsBlank(text[from]))
        ++from;
    return from;
}

// ---- user:password@ of URLs

// Where the URL after this one begins (its scheme's first character), or the end of the text.
size_t NextUrl(std::string_view text, size_t from) {
    size_t next = text.find("://", from);
    if (next == text.npos) return text.size();
    while (next > from && IsWordChar(text[next - 1]))
        --next;
    return next;
}

// Whether an authority reads "name:something" where the something is no port, so that an unescaped password
// must have cut it short.
bool HasBrokenPort(std::string_view authority) {
    const size_t colon = authority.find(':');
    if (colon == authority.npos) return false;
    const std::string_view port = authority.substr(colon + 1);
    return port.empty() || !std::all_of(port.begin(), port.end(), IsDigit);
}

// The password in `rest`, which is what follows "://" up to the next URL; empty when there is none.
std::string_view UrlPassword(std::string_view rest) {
    if (rest.starts_with('[')) return {};  // an IPv6 address: no user information
    const std::string_view line = rest.substr(0, FindFirst(rest, kLineEnds, 0));
    const auto end = std::find_if(line.begin(), line.end(), EndsUrl);
    const std::string_view url = line.substr(0, static_cast<size_t>(end - line.begin()));
    const std::string_view beforeQuery = url.substr(0, FindFirst(url, "?#", 0));
    const std::string_view authority = url.substr(0, FindFirst(url, "/?#", 0));

    size_t at = beforeQuery.rfind('@');
    if (at == rest.npos && HasBrokenPort(authority)) {
        at = url.rfind('@');
        if (at == rest.npos) at = line.rfind('@');
    }
    if (at == rest.npos) return {};
    const size_t colon = rest.find(':');
    return colon < at ? rest.substr(colon + 1, at - colon - 1) : std::string_view();
}

void AddUrlPasswords(std::string_view text, std::vector<Span>& spans) {
    constexpr std::string_view kSchemeEnd = "://";
    for (size_t at = text.find(kSchemeEnd); at != text.npos; at = text.find(kSchemeEnd, at)) {
        at += kSchemeEnd.size();
        const std::string_view password = UrlPassword(text.substr(at, NextUrl(text, at) - at));
        if (password.empty()) continue;
        const auto begin = static_cast<size_t>(password.data() - text.data());
        spans.push_back({begin, begin + password.size()});
    }
}

// ---- values behind keys

enum class KeyKind { kPassword, kAuthorization };

struct Key {
    std::string_view text;
    KeyKind kind;
    bool wholeWord;  // neither "bypass" nor "passive"
};

constexpr Key kKeys[] = {
    {"password", KeyKind::kPassword, false},
    {"passwd", KeyKind::kPassword, false},
    {"pwd", KeyKind::kPassword, false},
    {"pass", KeyKind::kPassword, true},
    {"authorization", KeyKind::kAuthorization, false},
};

bool IsWholeWord(std::string_view text, size_t at, size_t length) {
    const size_t end = at + length;
    return (at == 0 || !IsWordChar(text[at - 1])) &&
           (end == text.size() || IsDigit(text[end]) || !IsWordChar(text[end]));
}

const Key* KeyAt(std::string_view text, size_t at) {
    for (const Key& key : kKeys) {
        const std::string_view candidate = text.substr(at, key.text.size());
        const bool same = std::equal(candidate.begin(), candidate.end(), key.text.begin(), key.text.end(),
                                     [](char a, char b) { return Lower(a) == b; });
        if (same && (!key.wholeWord || IsWholeWord(text, at, key.text.size()))) return &key;
    }
    return nullptr;
}

// The end of a text in quotes that began before `from`; a backslash protects the character after it.
size_t ClosingQuote(std::string_view text, size_t from, char quote) {
    while (from < text.size() && text[from] != quote)
        from += text[from] == '\\' ? 2 : 1;
    return std::min(from, text.size());
}

// The end of a header's value: the line's end, but lines that begin with a blank go on with it.
size_t HeaderEnd(std::string_view text, size_t from) {
    for (;;) {
        const size_t end = FindFirst(text, kLineEnds, from);
        size_t next = end;
        if (next < text.size() && text[next] == '\r') ++next;
        if (next < text.size() && text[next] == '\n') ++next;
        if (next == end || next >= text.size() || !IsBlank(text[next])) return end;
        from = next;
    }
}

size_t ParameterEnd(std::string_view text, size_t from) {
    const auto begin = text.begin() + static_cast<std::ptrdiff_t>(from);
    const auto end = std::find_if(begin, text.end(), [](char c) {
        return static_cast<unsigned char>(c) <= ' ' || c == '&' || c == '"';
    });
    return static_cast<size_t>(end - text.begin());
}

// Behind "Basic " and the like; a value of one word has no scheme.
size_t SkipScheme(std::string_view text, size_t begin, size_t end) {
    size_t at = begin;
    while (at < end && IsWordChar(text[at]))
        ++at;
    const size_t credentials = SkipBlanks(text, at);
    return credentials > at && credentials < end ? credentials : begin;
}

Span ValueAt(std::string_view text, size_t begin, char separator, KeyKind kind) {
    if (separator == '>') return {begin, FindFirst(text, "<", begin)};
    begin = SkipBlanks(text, begin);
    size_t end;
    if (begin < text.size() && (text[begin] == '"' || text[begin] == '\'')) {
        end = ClosingQuote(text, begin + 1, text[begin]);
        ++begin;
    } else if (kind == KeyKind::kAuthorization || separator == ':') {
        end = HeaderEnd(text, begin);
    } else {
        end = ParameterEnd(text, begin);
    }
    if (kind == KeyKind::kAuthorization) begin = SkipScheme(text, begin, end);
    return {begin, end};
}

// The value of the key that ends before `at`; empty, where the search stopped, when no value follows.
Span ValueOfKey(std::string_view text, size_t at, KeyKind kind) {
    while (at < text.size() && IsWordChar(text[at]))
        ++at;
    if (at < text.size() && (text[at] == '"' || text[at] == '\'')) ++at;
    at = SkipBlanks(text, at);
    if (at == text.size()) return {at, at};
    const char separator = text[at];
    if (separator != '=' && separator != ':' && separator != '>') return {at, at};
    return ValueAt(text, at + 1, separator, kind);
}

void AddKeyedSecrets(std::string_view text, std::vector<Span>& spans) {
    for (size_t at = 0; at < text.size(); ++at) {
        const Key* const key = KeyAt(text, at);
        if (!key) continue;
        spans.push_back(ValueOfKey(text, at + key->text.size(), key->kind));
        at = spans.back().end - 1;
    }
}

}  // namespace

std::string RedactSecrets(std::string_view text) {
    std::vector<Span> spans;
    AddUrlPasswords(text, spans);
    AddKeyedSecrets(text, spans);
    std::sort(spans.begin(), spans.end(), [](Span a, Span b) { return a.begin < b.begin; });

    std::string redacted;
    size_t done = 0;
    for (const Span& span : spans) {
        if (span.end <= done || span.begin == span.end) continue;
        if (span.begin >= done) redacted.append(text.substr(done, span.begin - done)).append(kMask);
        done = span.end;
    }
    return redacted.append(text.substr(done));
}

}  // namespace util
