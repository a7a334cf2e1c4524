#include "net/KnownServers.h"

#include <gtest/gtest.h>

#include <vector>

namespace net {
namespace {

using Kind = protocol::Challenge::Kind;

const protocol::Origin kCamera = protocol::makeOrigin("http", "cam", 80);
const std::vector<std::string> kBasic{"Basic realm=\"r\""};
const std::vector<std::string> kAll{"Basic realm=\"r\"", "Digest realm=\"r\", nonce=\"n\"",
                                    "Digest realm=\"r\", nonce=\"n\", algorithm=SHA-256"};

struct MapStore : KnownServers::Store {
    std::map<std::string, std::string> texts;
    std::optional<std::string> load(const std::string& name) override {
        const auto found = texts.find(name);
        return found == texts.end() ? std::nullopt : std::optional(found->second);
    }
    void save(const std::string& name, const std::string& text) override { texts[name] = text; }
};

TEST(KnownServers, AServerThatTookDigestGetsNoBasicAnyMore) {
    MapStore store;
    {
        KnownServers servers;
        servers.setStore(&store);
        EXPECT_EQ(servers.choose(kCamera, kAll)->kind, Kind::DigestSha256);
        EXPECT_EQ(servers.choose(kCamera, kBasic)->kind, Kind::Basic);
        servers.accepted(kCamera, Kind::Basic);
        EXPECT_TRUE(servers.choose(kCamera, kBasic));
        servers.accepted(kCamera, Kind::DigestMd5);
        EXPECT_FALSE(servers.choose(kCamera, kBasic));
        EXPECT_EQ(servers.choose(kCamera, kAll)->kind, Kind::DigestSha256);
        EXPECT_TRUE(servers.choose(protocol::makeOrigin("http", "cam", 81), kBasic)) << "another server";
        EXPECT_TRUE(servers.choose(protocol::makeOrigin("https", "cam", 8443), kBasic)) << "another server";
        EXPECT_FALSE(servers.choose(protocol::makeOrigin("https", "cam", 443), kBasic)) << "redirects there";
    }
    const auto moved = protocol::makeOrigin("http", "cam", 81);
    const auto again = protocol::makeOrigin("https", "cam", 8443);
    const auto stream = protocol::makeOrigin("rtsp", "cam", 8554);
    {
        KnownServers servers;
        servers.setStore(&store);
        servers.namedBy(moved, kCamera);
        servers.namedBy(again, moved);
        EXPECT_FALSE(servers.choose(moved, kBasic)) << "the camera's, and whoever answers for it";
        EXPECT_FALSE(servers.choose(again, kBasic));
        servers.namedBy(stream, kCamera);
        EXPECT_TRUE(servers.choose(stream, kBasic)) << "another service";
        servers.accepted(stream, Kind::DigestMd5);
        servers.namedBy(protocol::makeOrigin("rtsp", "other", 554), moved);
        EXPECT_FALSE(servers.choose(protocol::makeOrigin("rtsp", "other", 554), kBasic));
    }
    KnownServers later;
    EXPECT_TRUE(later.choose(kCamera, kBasic));
    later.setStore(&store);
    EXPECT_FALSE(later.choose(kCamera, kBasic)) << "kept beyond the process";
    const auto named = protocol::makeOrigin("rtsp", "cam", 5555);
    EXPECT_TRUE(later.choose(named, kBasic));
    later.namedBy(named, kCamera);
    EXPECT_FALSE(later.choose(named, kBasic)) << "its streams' ports too";
    store.texts.clear();
    EXPECT_TRUE(later.choose(kCamera, kBasic)) << "what was taken out of the store counts no more";
}

TEST(KnownServers, BasicStaysOffPlainConnectionsToAHostThatIsAskedByHttps) {
    KnownServers servers;
    servers.askedSecurely("CAM", false);
    EXPECT_FALSE(servers.choose(kCamera, kBasic));
    EXPECT_FALSE(servers.choose(protocol::makeOrigin("rtsp", "cam", 554), kBasic));
    EXPECT_TRUE(servers.choose(protocol::makeOrigin("https", "cam", 443), kBasic));
    EXPECT_TRUE(servers.choose(protocol::makeOrigin("http", "other", 80), kBasic));
    EXPECT_EQ(servers.choose(kCamera, kAll)->kind, Kind::DigestSha256);
    servers.askedSecurely("cam", true);
    EXPECT_TRUE(servers.choose(kCamera, kBasic)) << "the user allows it";
}

TEST(KnownServers, TheFirstCertificateIsTheOne) {
    KnownServers servers;
    const auto https = protocol::makeOrigin("https", "cam", 443);
    EXPECT_FALSE(servers.hasPin(https));
    EXPECT_TRUE(servers.isPinned(https, "aa"));
    EXPECT_TRUE(servers.isPinned(https, "aa"));
    EXPECT_FALSE(servers.isPinned(https, "bb"));
    EXPECT_TRUE(servers.isPinned(protocol::makeOrigin("https", "cam", 8443), "bb"));
}

}  // namespace
}  // namespace net
