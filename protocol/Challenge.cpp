#include "protocol/Challenge.h"

#include <cstdio>

#include "protocol/Digest.h"
#include "protocol/Text.h"

namespace protocol {
namespace {

constexpr std::size_t kMaxChallenges = 16;
constexpr std::size_t kMaxValue = 2048;

std::string unquote(std::string_view value) {
    value = trim(value);
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') return std::string(value);
    std::string result;
    for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        if (value[i] == '\\' && i + 2 < value.size()) ++i;
        result += value[i];
    }
    return result;
}

std::string quote(std::string_view value) {
    std::string result = "\"";
    for (const char c : value) {
        if (c == '"' || c == '\\') result += '\\';
        if (c != '\r' && c != '\n') result += c;
    }
    return result + '"';
}

// A challenge while it is read: which scheme, and whether all it wants is known here.
struct Draft {
    Challenge challenge;
    bool begun = false;
    bool usable = true;
    bool qopStated = false;
};

void applyAlgorithm(std::string_view value, Draft& draft) {
    Challenge& c = draft.challenge;
    c.algorithm = value;
    std::string name = toUpper(value);
    if (name.ends_with("-SESS")) {
        c.sessionKey = true;
        name.resize(name.size() - 5);
    }
    if (name == "SHA-256") {
        c.kind = Challenge::Kind::DigestSha256;
    } else if (name != "MD5") {
        draft.usable = false;
    }
}

void applyParameter(std::string_view text, Draft& draft) {
    const std::string name = toLower(trim(take(text, '=')));
    const std::string value = unquote(text);
    Challenge& c = draft.challenge;
    if (value.size() > kMaxValue) {
        draft.usable = false;
    } else if (name == "realm") {
        c.realm = value;
    } else if (c.kind == Challenge::Kind::Basic) {
        return;
    } else if (name == "nonce") {
        c.nonce = value;
    } else if (name == "opaque") {
        c.opaque = value;
    } else if (name == "algorithm") {
        applyAlgorithm(value, draft);
    } else if (name == "stale") {
        c.stale = equalsIgnoringCase(value, "true");
    } else if (name == "qop") {
        draft.qopStated = true;
        std::string_view list = value;
        while (!list.empty()) {
            if (equalsIgnoringCase(trim(take(list, ',')), "auth")) c.qopAuth = true;
        }
    }
}

}  // namespace

std::vector<Challenge> parseChallenges(std::string_view header) {
    std::vector<Challenge> challenges;
    Draft draft;
    const auto finish = [&] {
        const bool digest = draft.challenge.kind != Challenge::Kind::Basic;
        if (draft.qopStated && !draft.challenge.qopAuth) draft.usable = false;  // only auth-int
        if (digest && draft.challenge.nonce.empty()) draft.usable = false;
        if (draft.begun && draft.usable) challenges.push_back(std::move(draft.challenge));
        draft = {};
    };
    while (!header.empty() && challenges.size() < kMaxChallenges) {
        std::string_view piece = trim(takeOutsideQuotes(header, ','));
        // "Digest realm=..." begins a challenge, "nonce=..." goes on with it.
        const std::size_t space = std::min(piece.find(' '), piece.size());
        const std::string_view word = piece.substr(0, space);
        if (!word.empty() && word.find('=') == std::string_view::npos) {
            finish();
            draft.begun = true;
            if (equalsIgnoringCase(word, "Digest")) {
                draft.challenge.kind = Challenge::Kind::DigestMd5;
            } else if (!equalsIgnoringCase(word, "Basic")) {
                draft.usable = false;
            }
            piece = trim(piece.substr(space));
        }
        if (draft.begun && !piece.empty()) applyParameter(piece, draft);
    }
    finish();
    return challenges;
}

std::string authorize(const Challenge& c, const Credentials& who, const DigestUse& use) {
    const std::string& user = who.user;
    if (c.kind == Challenge::Kind::Basic) return "Basic " + encodeBase64(user + ":" + who.password);

    const auto hash = c.kind == Challenge::Kind::DigestSha256 ? sha256Hex : md5Hex;
    std::string a1 = who.passwordIsMd5 ? who.password : hash(user + ":" + c.realm + ":" + who.password);
    if (c.sessionKey) a1 = hash(a1 + ":" + c.nonce + ":" + use.clientNonce);
    const std::string a2 = hash(use.method + ":" + use.uri);
    char count[9];
    std::snprintf(count, sizeof count, "%08x", use.count);
    const std::string middle = c.qopAuth ? std::string(count) + ":" + use.clientNonce + ":auth:" : "";
    const std::string response = hash(a1 + ":" + c.nonce + ":" + middle + a2);

    std::string value = "Digest username=" + quote(user) + ", realm=" + quote(c.realm) +
                        ", nonce=" + quote(c.nonce) + ", uri=" + quote(use.uri) +
                        ", response=" + quote(response);
    if (!c.algorithm.empty()) value += ", algorithm=" + c.algorithm;
    if (!c.opaque.empty()) value += ", opaque=" + quote(c.opaque);
    if (c.qopAuth) value += ", qop=auth, nc=" + std::string(count);
    if (c.qopAuth || c.sessionKey) value += ", cnonce=" + quote(use.clientNonce);
    return value;
}

}  // namespace protocol
