#pragma once

#include "Command.h"
#include "HostSession.h"

#include <AlarmDbData.h>
#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

const int kEveryDay = 127; ///< of weekdays

/// What the alert logs when an alarm begins to ring.
struct Ring {
    pid_t alert = 0; ///< the process
    int id = 0; ///< of the row
    std::string time; ///< "07:30:05"
    long late = 0; ///< microseconds after the alarm's instant
};

/// Every ring in a log, in order.
std::vector<Ring> ringsIn(const std::string& log);

/**
 * Alarms as users and applications have them: set by the command line or by a record, rung by the
 * alert application, seen from outside.
 */
class RingStory : public testing::Test {
protected:
    /// Runs alarm add with the options and returns the new alarm's row id, -1 when it failed.
    int addAlarm(const std::vector<std::string>& options);

    /// Stores and registers an alarm that rings at the instant, after so many snoozes, on one day
    /// or each of the days.
    AlarmDbData setAlarm(time_t instant, int weekdays = 0, int snoozes = 0);

    AlarmDbData storedAlarm(int id);
    /// What the alarm service knows about the stored alarm.
    std::optional<HostSession::Alarm> registration(int id);

    /// Waits until the alarm begins to ring.
    std::optional<Ring> waitForRing(int id);
    int countRings(int id);
    bool waitForLog(const std::string& text);
    /// The row id in the preference that tells what rings.
    int ringing();
    bool waitUntilRinging(int id); ///< -1: nothing
    void dismiss();

    /// Waits until another process than the one of this pid serves the session.
    bool waitForNewDaemon(pid_t before);

    HostSession session;
};

/// An instant of a whole second that is not sooner than so many milliseconds from now.
time_t secondAfter(int milliseconds);

/// Returns at the instant, which may lie a little before or after the second.
void sleepUntil(time_t second, int milliseconds);
