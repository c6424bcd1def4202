#include "host/common/Signals.h"

#include "Forgery.h"
#include "host/common/Bus.h"
#include "HostSession.h"

#include <Ecore.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <unistd.h>
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

TEST(SignalsTest, AFloodOfMessagesDoesNotKeepTheLoopFromItsTimers)
{
    HostSession session;
    const int messages = 5000;
    int handled = 0;
    // Slower than the bus, so that there is always a next message.
    const sdbus::Slot slot = host::bus().addMatch(
        "type='signal',interface='com.velmora.test.Flood'", [&](sdbus::Message&) {
            ++handled;
            usleep(200);
        });
    const auto object = sdbus::createObject(host::bus(), "/flood");
    for (int i = 0; i < messages; ++i) {
        sdbus::Signal signal = object->createSignal("com.velmora.test.Flood", "Message");
        signal.setDestination(host::bus().getUniqueName());
        object->emitSignal(signal);
    }
    bool isFired = false;
    ecore_timer_add(
        0.01,
        [](void* data) -> Eina_Bool {
            *static_cast<bool*>(data) = true;
            return ECORE_CALLBACK_CANCEL;
        },
        &isFired);

    EXPECT_TRUE(session.waitFor([&] { return isFired; }));
    EXPECT_LT(handled, messages);
    EXPECT_TRUE(session.waitFor([&] { return handled == messages; }, 30));
}

} // namespace
