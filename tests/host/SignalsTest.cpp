#include "host/common/Signals.h"

#include "Forgery.h"
#include "host/common/Bus.h"
#include "HostSession.h"

#include <Ecore.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
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

// Each message that comes sends another one.
class Flood {
public:
    explicit Flood(int messages)
        : _left(messages)
        , _slot(host::bus().addMatch("type='signal',interface='com.velmora.test.Flood'",
              [this](sdbus::Message&) { _send(); }))
    {
        const int atOnce = 1000;
        for (int i = 0; i < atOnce; ++i)
            _send();
    }

    int left() const { return _left; }

private:
    void _send()
    {
        if (_left == 0)
            return;
        --_left;
        sdbus::Signal signal = _object->createSignal("com.velmora.test.Flood", "Again");
        signal.setDestination(host::bus().getUniqueName());
        _object->emitSignal(signal);
    }

    int _left;
    const std::unique_ptr<sdbus::IObject> _object = sdbus::createObject(host::bus(), "/flood");
    sdbus::Slot _slot;
};

TEST(SignalsTest, AFloodOfMessagesDoesNotKeepTheLoopFromItsTimers)
{
    HostSession session;
    Flood flood(50000);
    int leftThen = -1;
    const auto fired = [&] { leftThen = flood.left(); };
    std::function<void()> call = fired;
    ecore_timer_add(
        0.01,
        [](void* data) -> Eina_Bool {
            (*static_cast<std::function<void()>*>(data))();
            return ECORE_CALLBACK_CANCEL;
        },
        &call);

    EXPECT_TRUE(session.waitFor([&] { return leftThen >= 0; }, 30));
    EXPECT_GT(leftThen, 0);
    EXPECT_TRUE(session.waitFor([&] { return flood.left() == 0; }, 30)) << "some were not served";
}

} // namespace
