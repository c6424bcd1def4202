#include "Command.h"
#include "HostSession.h"
#include "TempDir.h"

#include <csignal>
#include <gtest/gtest.h>

// A session as it begins for a user, with the applications that the device starts when it boots.
TEST(BootTest, TheServiceRunsAndIsStartedAgainUnlessItWasToldToEnd)
{
    HostSession session;
    const TempDir folder;
    const char* const story = R"story(
        running() {
            busctl --user call org.freedesktop.DBus /org/freedesktop/DBus org.freedesktop.DBus \
                GetConnectionUnixProcessID s com.velmora.alarm-service 2>/dev/null | cut -d' ' -f2
        }
        until first=$(running) && [ -n "$first" ]; do sleep 0.02; done
        kill -KILL "$first"
        until second=$(running) && [ "${second:-$first}" != "$first" ]; do sleep 0.02; done
        began=$(date +%s%N)
        kill -KILL "$second"
        until third=$(running) && [ "${third:-$second}" != "$second" ]; do sleep 0.02; done
        [ $(($(date +%s%N) - began)) -gt 1900000000 ] && echo "the second time two seconds later"
        kill -TERM "$third"
        until [ -z "$(running)" ]; do sleep 0.02; done
        hostctl tray # answered when hostd knows of that end
        grep -c "com.velmora.alarm-service has ended and is started again" "$ALARM_HOST_LOG_FILE"
    )story";
    const CommandResult result = runCommand({ "env", "-u", "ALARM_HOST_BOOT", "ALARM_HOST_LOG=W",
        "TMPDIR=" + folder.path(), "timeout", "20", "host-session", "sh", "-c", story });

    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_EQ("the second time two seconds later\n2\n", result.out);
}
