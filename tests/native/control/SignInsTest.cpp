// Who signs in where.

#include "control/connection/SignIns.h"

#include <gtest/gtest.h>

namespace norix {
namespace {

using Source = SignIns::Source;

const protocol::Origin kWeb = protocol::makeOrigin("http", "cam", 80);
const protocol::Origin kStream = protocol::makeOrigin("rtsp", "cam", 554);
const protocol::Origin kOther = protocol::makeOrigin("http", "other", 80);

TEST(SignIns, WhatTheUserTypedIsForItsPlaceAndWhatTheHostSetGoesAlong) {
    SignIns who;
    who.SetHosts({"host", "1"});
    EXPECT_EQ(who.For(kOther).user, "host");
    who.Bind(kWeb, {"eva", "2"}, Source::kTyped);
    EXPECT_EQ(who.For(kWeb).user, "eva");
    EXPECT_EQ(who.For(protocol::makeOrigin("https", "cam", 443)).user, "host");
    who.MarkHostsAsTyped(true);  // the properties show what was typed: no more of it than that
    EXPECT_FALSE(who.HostSignsIn());
    EXPECT_EQ(who.For(kOther).user, "");
    EXPECT_EQ(who.For(kWeb).user, "eva");
    who.Bind(kStream, {"saved", "3"}, Source::kFound);
    who.ForgetFound();
    EXPECT_EQ(who.For(kStream).user, "");
    EXPECT_EQ(who.For(kWeb).user, "eva");
    who.OnHostChange();
    EXPECT_EQ(who.For(kWeb).user, "host");
}

TEST(SignIns, TheDialogIsForAllOfTheHostThatRefused) {
    SignIns who;
    using Places = std::vector<protocol::Origin>;
    EXPECT_EQ(who.Wanting(kWeb), Places{kWeb});
    who.RefusedBy(kOther);
    who.RefusedBy(kWeb);
    who.Told(kStream, {"eva", "2"});
    EXPECT_EQ(who.Wanting(kWeb), (Places{kWeb, kStream})) << "the stream's host, and nobody else";
    EXPECT_FALSE(who.Tellings().front().users);
    who.Bind(kWeb, {"page", "3"}, Source::kInAddress);
    EXPECT_EQ(who.TakeOver(kWeb, kStream).user, "page");
    who.Told(kStream, {"page", "3"});
    EXPECT_FALSE(who.Tellings().front().users) << "what stood in an address is the host's, wherever it goes";
    who.BeginAttempt();
    EXPECT_TRUE(who.Tellings().empty());
    EXPECT_EQ(who.Wanting(kOther), Places{kOther});
}

}  // namespace
}  // namespace norix
