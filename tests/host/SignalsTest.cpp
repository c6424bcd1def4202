#include "host/common/Signals.h"

#include "Forgery.h"
#include "host/common/Bus.h"
#include "HostSession.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// The pattern ends with the connection that began it, and dbus-send's ends at once.
bool vibrateForAMoment()
{
    return system("dbus-send --session --print-reply --dest=com.velmora.host /com/velmora/host "
                  "com.velmora.host.Vibration.Play int32:168 >/dev/null")
        == 0;
}

TEST(SignalsTest, OnlyThoseOfTheRightSenderAreHandled)
{
    HostSession session;
    std::vector<std::string> owners;
    int stops = 0;
    host::DaemonWatch daemon(
        host::bus(), [&](const std::string& owner) { owners.push_back(owner); });
    daemon.watch("com.velmora.host.Vibration", "Stopped", [&](sdbus::Message&) {
        ++stops;
        throw std::runtime_error("what a handler throws is only logged");
    });
    const std::string hostd = daemon.owner();
    EXPECT_EQ(':', hostd.front());

    for (const std::string& to : { host::bus().getUniqueName(), std::string() }) {
        const std::string bus = "/org/freedesktop/DBus";
        const std::string changed = "org.freedesktop.DBus.NameOwnerChanged";
        ASSERT_TRUE(forge(to, bus, changed));
        ASSERT_TRUE(forge(to, bus, changed, "string:com.velmora.host int32:1"));
        ASSERT_TRUE(
            forge(to, bus, changed, "string:com.velmora.host string:" + hostd + " string:''"));
        ASSERT_TRUE(forge(to, "/com/velmora/host", "com.velmora.host.Vibration.Stopped"));
        ASSERT_TRUE(
            forge(to, "/com/velmora/host", "com.velmora.host.Vibration.Stopped", "int32:168"));
    }
    ASSERT_TRUE(vibrateForAMoment());
    EXPECT_TRUE(session.waitFor([&] { return stops == 1; }));
    ASSERT_TRUE(vibrateForAMoment());
    EXPECT_TRUE(session.waitFor([&] { return stops == 2; }));
    EXPECT_THAT(owners, testing::IsEmpty());
    EXPECT_EQ(hostd, daemon.owner());

    session.killDaemon();
    EXPECT_TRUE(session.waitFor([&] { return owners.size() == 2; }));
    EXPECT_THAT(owners, testing::ElementsAre("", testing::StartsWith(":")));
    ASSERT_TRUE(vibrateForAMoment());
    EXPECT_TRUE(session.waitFor([&] { return stops == 3; }));
}

} // namespace
