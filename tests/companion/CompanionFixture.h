#pragma once

#include "AlarmDouble.h"
#include "StoreFixture.h"
#include "VconfDouble.h"

#include <AlarmSaving.h>
#include <AlarmTime.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

/// Another process, which does its work beside the test's and is ended with the object.
class OtherProcess {
public:
    /// The work tells by its argument that it is ready to be watched; the constructor waits for it.
    explicit OtherProcess(const std::function<void(const std::function<void()>&)>& work)
    {
        int ready[2];
        EXPECT_EQ(0, pipe(ready));
        _process = fork();
        if (_process == 0) {
            work([&ready] { EXPECT_EQ(1, write(ready[1], "r", 1)); });
            _exit(testing::Test::HasFailure() ? 1 : 0);
        }
        close(ready[1]);
        char letter = 0;
        EXPECT_EQ(1, read(ready[0], &letter, 1));
        close(ready[0]);
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;
    ~OtherProcess()
    {
        if (_process > 0) {
            kill(_process, SIGKILL);
            (void)status();
        }
    }

    void signal(int number) const { kill(_process, number); }

    /// Waits for its end: its exit status.
    int status()
    {
        int status = 0;
        waitpid(_process, &status, 0);
        _process = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    }

private:
    pid_t _process = -1;
};

/// The companion on fresh doubles: a store of its own, made as a process does at its start; the
/// platform's clock, at noon of a Monday in Berlin, stands still until the test sets it.
class CompanionFixture : public StoreFixture {
protected:
    static constexpr time_t kMinute = 60;
    static constexpr time_t kHour = 60 * kMinute;
    static constexpr time_t kDay = 24 * kHour;
    static constexpr time_t kNoon = 1773658800; ///< 2026-03-16 12:00 in Berlin, a Monday

    CompanionFixture()
    {
        setenv("TZ", "Europe/Berlin", 1);
        tzset();
        alarmDouble() = {};
        vconfDouble() = {};
        setNow(kNoon);
        companion::start();
        openOnce(); // the second time the library marks the file with its version
        forget();
    }

    ~CompanionFixture() override { clockDouble() = {}; }

    static void setNow(time_t now) { clockDouble().now = timeval{ now, 0 }; }

    /// Pairs the watch with a phone of its make.
    static void pairPhone() { vconfDouble().texts["db/wms/host_status/vendor"] = "velmora"; }

    /// An edit that makes an alarm ring at that time of day, on days as AlarmDbData::repeatWeekly,
    /// or once.
    static companion::Edit ringAt(int hour, int minute, int weekdays = 0)
    {
        return [=](AlarmDbData& alarm, time_t now) {
            alarm.enable = 1;
            alarm.hour = hour;
            alarm.min = minute;
            alarm.repeat_once = weekdays == 0 ? 1 : 0;
            alarm.repeatWeekly = weekdays;
            companion::setNextRing(alarm, now);
            return true;
        };
    }

    static companion::Edit rename(const std::string& name)
    {
        return [=](AlarmDbData& alarm, time_t) {
            alarm.name = name;
            return false;
        };
    }

    /// The stored record of a new alarm.
    static AlarmDbData added(const companion::Edit& edit)
    {
        AlarmDbData alarm;
        EXPECT_EQ(companion::Saved::Yes, companion::addAlarm(alarm, edit));
        return alarm;
    }

    static std::set<int> registered() { return alarmDouble().registered; }

    /// The announced keys, in order.
    static std::vector<std::string> announced()
    {
        std::vector<std::string> keys;
        for (const auto& [key, value] : preferenceDouble().sets)
            keys.push_back(key);
        return keys;
    }

    int rowCount() const { return std::stoi(file.value("SELECT count(*) FROM alarm")); }
};
