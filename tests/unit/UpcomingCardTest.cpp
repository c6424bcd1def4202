#include "UpcomingCard.h"

#include "AppControlDouble.h"
#include "BundleDouble.h"
#include "CallJournal.h"
#include "I18nDouble.h"
#include "NotificationDouble.h"
#include "tests/companion/CompanionFixture.h"

#include <climits>
#include <PhoneAlarms.h>
#include <sys/timerfd.h>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {
std::optional<time_t> wakeTime; // the instant for which the card's timer is set
} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {

// The clock stands still, so the timer must not run by the device's.
int __wrap_timerfd_settime(int, int, const itimerspec* value, itimerspec*)
{
    wakeTime = value->it_value.tv_sec;
    return 0;
}

// The device's zone, by its link; a process has it when the library has unset TZ after a text.
ssize_t __wrap_readlink(const char*, char* target, size_t size)
{
    const std::string zone = "/usr/share/zoneinfo/Europe/Berlin";
    return static_cast<ssize_t>(zone.copy(target, size));
}

int __wrap_unsetenv(const char* name) { return setenv(name, "Europe/Berlin", 1); }

} // extern "C"
// NOLINTEND(bugprone-reserved-identifier)

namespace {

const char* const kTag = "alarmUpcomingTag";
const time_t kTryAgain = 5;
const time_t kNever = 253402300800;

class UpcomingCardTest : public CompanionFixture {
protected:
    UpcomingCardTest()
    {
        ecore_app_no_system_modules(); // they look for a system bus
        ecore_init();
        appCommonDouble().id = "com.velmora.alarm-service";
        appControlDouble() = {};
        bundleDouble() = {};
        i18nDouble() = {};
        notificationDouble() = {};
        callJournal().clear();
        wakeTime.reset();
    }
    ~UpcomingCardTest() override
    {
        card.stop();
        ecore_shutdown();
    }

    static std::map<std::string, _notification>& tray() { return notificationDouble().tray; }
    static bool hasCard() { return tray().count(kTag) > 0; }
    /// The JSON of the card.
    static std::string cardText()
    {
        return hasCard() ? tray().at(kTag).texts.at(NOTIFICATION_TEXT_TYPE_EXTENSION) : "";
    }
    static bool isCardOf(const AlarmDbData& alarm)
    {
        const std::string id = "alarm_id=" + std::to_string(alarm.id) + "\"";
        return cardText().find(id) != std::string::npos
            && cardContext() == stored(alarm.id).contextMgrId;
    }
    static int cardContext() { return preferenceDouble().values["contextMgrId"]; }
    static long posts()
    {
        return static_cast<long>(callJournal().callsOf("notification_post").size());
    }

    static AlarmDbData stored(int id)
    {
        AlarmDbData alarm;
        EXPECT_EQ(companion::Found::Yes, companion::findAlarm(id, alarm));
        return alarm;
    }

    static companion::Saved removeRow(int id)
    {
        AlarmDbData alarm;
        return companion::removeAlarm(id, alarm);
    }

    static void snooze(AlarmDbData& alarm)
    {
        const auto edit = [](AlarmDbData& snoozed, time_t) {
            snoozed.count = 1;
            return true;
        };
        EXPECT_EQ(companion::Saved::Yes, companion::changeAlarm(alarm.id, edit, alarm));
    }

    void changeRow(int id, const std::string& change)
    {
        file.run("UPDATE alarm SET " + change + " WHERE id = " + std::to_string(id));
    }

    /// Expects that the request is refused and has changed nothing.
    void expectRefused(const std::string& alarmId, const std::string& reason)
    {
        const std::string rows = "SELECT group_concat(enable || mtime) FROM alarm";
        const std::string before = file.value(rows);
        const std::set<int> registrations = registered();
        EXPECT_EQ(reason, card.turnOff(alarmId));
        EXPECT_EQ(before, file.value(rows));
        EXPECT_EQ(registrations, registered());
    }

    UpcomingCard card;
};

} // namespace

TEST_F(UpcomingCardTest, AlarmDueWithinTheHourHasItsCard)
{
    const AlarmDbData alarm = added(ringAt(12, 30));

    card.follow();

    ASSERT_TRUE(isCardOf(alarm));
    EXPECT_GT(cardContext(), 0);
    EXPECT_THAT(cardText(), HasSubstr(R"("duration":"1800")"));
    EXPECT_EQ(kNoon + 30 * kMinute + 1, wakeTime);
}

TEST_F(UpcomingCardTest, HourIsCountedToTheSecond)
{
    const AlarmDbData alarm = added(ringAt(13, 1));

    card.follow();
    EXPECT_FALSE(hasCard());
    EXPECT_EQ(kNoon + kMinute, wakeTime);

    setNow(kNoon + kMinute - 1);
    card.follow();
    EXPECT_FALSE(hasCard());

    setNow(kNoon + kMinute);
    card.follow();
    EXPECT_TRUE(isCardOf(alarm));
}

TEST_F(UpcomingCardTest, EarliestIsShownNearMidnightToo)
{
    setNow(kNoon + 11 * kHour + 40 * kMinute); // 23:40
    const AlarmDbData soon = added(ringAt(0, 10, 127));
    (void)added(ringAt(0, 20));
    (void)added(ringAt(23, 39, 127));

    card.follow();

    EXPECT_TRUE(isCardOf(soon));
    EXPECT_THAT(cardText(), HasSubstr(R"("duration":"1800")"));
}

TEST_F(UpcomingCardTest, SnoozedAlarmIsShownForTheEndOfItsSnooze)
{
    vconfDouble().texts["db/menu_widget/regionformat"] = "de_DE.UTF-8";
    i18nDouble().patterns["hhmm"] = "hh:mm";
    i18nDouble().texts["hh:mm"] = "1:02";
    AlarmDbData alarm = added(ringAt(12, 57, 127));
    setNow(kNoon + 58 * kMinute);
    snooze(alarm);

    card.follow();

    ASSERT_TRUE(isCardOf(alarm));
    EXPECT_THAT(cardText(), HasSubstr(R"("duration":"240")"));
    ASSERT_THAT(i18nDouble().formattedAt, Not(IsEmpty()));
    EXPECT_THAT(i18nDouble().formattedAt, testing::Each(1000.0 * (kNoon + 62 * kMinute)));
    EXPECT_EQ(kNoon + 62 * kMinute + 1, wakeTime);
}

TEST_F(UpcomingCardTest, CardGoesWhenTheAlarmRings)
{
    (void)added(ringAt(12, 30, 127));
    card.follow();
    ASSERT_TRUE(hasCard());

    setNow(kNoon + 30 * kMinute);
    card.follow();

    EXPECT_FALSE(hasCard());
    EXPECT_EQ(-1, cardContext());
    EXPECT_EQ(kNoon + kDay - 30 * kMinute, wakeTime);
}

TEST_F(UpcomingCardTest, NextAlarmsCardTakesThePlace)
{
    const AlarmDbData first = added(ringAt(12, 30));
    const AlarmDbData second = added(ringAt(12, 40));
    card.follow();
    ASSERT_TRUE(isCardOf(first));

    setNow(kNoon + 30 * kMinute);
    card.follow();

    EXPECT_TRUE(isCardOf(second));
    EXPECT_EQ(1U, tray().size());
}

TEST_F(UpcomingCardTest, CardGoesWithItsAlarm)
{
    for (const bool isRemoved : { false, true }) {
        AlarmDbData alarm = added(ringAt(12, 30));
        card.follow();
        ASSERT_TRUE(isCardOf(alarm));

        const auto switchOff = [](AlarmDbData& off, time_t) {
            off.enable = 0;
            return true;
        };
        (void)(isRemoved ? companion::removeAlarm(alarm.id, alarm)
                         : companion::changeAlarm(alarm.id, switchOff, alarm));
        card.follow();

        EXPECT_FALSE(hasCard());
        EXPECT_EQ(-1, cardContext());
        EXPECT_EQ(kNever, wakeTime);
    }
}

TEST_F(UpcomingCardTest, CardOfAnEarlierServiceGoesWhenNothingIsDue)
{
    tray()[kTag].tag = kTag;
    preferenceDouble().values["contextMgrId"] = 3;

    card.follow();

    EXPECT_FALSE(hasCard());
    EXPECT_EQ(-1, cardContext());
}

TEST_F(UpcomingCardTest, CardIsPostedAgainOnlyWhenItChanges)
{
    AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();
    card.follow();
    (void)companion::changeAlarm(alarm.id, rename("Tea"), alarm);
    card.follow();
    EXPECT_EQ(1, posts());

    (void)companion::changeAlarm(alarm.id, ringAt(12, 31), alarm);
    card.follow();
    EXPECT_EQ(2, posts());
    (void)companion::changeAlarm(alarm.id, ringAt(12, 31, 127), alarm);
    card.follow();
    EXPECT_EQ(3, posts());
    EXPECT_TRUE(isCardOf(alarm));
}

TEST_F(UpcomingCardTest, RenewalPostsTheCardAgain)
{
    (void)added(ringAt(12, 30));
    card.follow();

    card.renew();
    card.follow();

    EXPECT_EQ(2, posts());
    EXPECT_TRUE(hasCard());
}

TEST_F(UpcomingCardTest, RenewalWithoutACardPostsNone)
{
    (void)added(ringAt(14, 30));

    card.renew();

    EXPECT_EQ(0, posts());
}

TEST_F(UpcomingCardTest, EachAlarmGetsAContextOfItsOwnAndKeepsIt)
{
    const AlarmDbData first = added(ringAt(12, 10));
    const AlarmDbData second = added(ringAt(12, 20));
    const AlarmDbData third = added(ringAt(12, 30));
    changeRow(third.id, "contextMgrId = 2");

    card.follow();
    EXPECT_EQ(1, stored(first.id).contextMgrId);
    EXPECT_EQ(-1, stored(second.id).contextMgrId) << "it is not the card's yet";
    setNow(kNoon + 10 * kMinute);
    card.follow();
    EXPECT_EQ(3, stored(second.id).contextMgrId);
    setNow(kNoon + 20 * kMinute);
    card.follow();
    EXPECT_EQ(2, cardContext());
    EXPECT_EQ(1, stored(first.id).contextMgrId);
}

TEST_F(UpcomingCardTest, ContextOfTheCardOfARemovedAlarmIsNotGivenAgain)
{
    const AlarmDbData removed = added(ringAt(12, 10));
    card.follow();
    ASSERT_EQ(1, cardContext());

    (void)removeRow(removed.id);
    const AlarmDbData alarm = added(ringAt(12, 20));
    card.follow();

    EXPECT_EQ(2, stored(alarm.id).contextMgrId);
    EXPECT_TRUE(isCardOf(alarm));
}

TEST_F(UpcomingCardTest, ContextThatTwoAlarmsHaveOrThatIsNoneIsReplaced)
{
    for (const char* context : { "-1", "0", "-7", "2147483647" }) {
        const AlarmDbData alarm = added(ringAt(12, 10));
        const AlarmDbData other = added(ringAt(15, 0));
        changeRow(alarm.id, std::string("contextMgrId = ") + context);
        changeRow(other.id, "contextMgrId = 2147483647");

        card.follow();

        EXPECT_EQ(1, stored(alarm.id).contextMgrId) << context;
        EXPECT_EQ(INT_MAX, stored(other.id).contextMgrId);
        (void)removeRow(alarm.id);
        (void)removeRow(other.id);
        card.follow();
    }
}

TEST_F(UpcomingCardTest, ContextIsNoNewsToAnybody)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    const std::set<int> registrations = registered();
    forget();

    card.follow();

    const AlarmDbData now = stored(alarm.id);
    EXPECT_GT(now.contextMgrId, 0);
    EXPECT_EQ(alarm.modTime, now.modTime);
    EXPECT_EQ(alarm.alarm_mgr_id, now.alarm_mgr_id);
    EXPECT_EQ(registrations, registered());
    EXPECT_THAT(announced(), testing::ElementsAre("contextMgrId"));
}

TEST_F(UpcomingCardTest, AlarmWhoseContextCannotBeStoredIsShownLater)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    {
        OtherProcess holder([](const std::function<void()>& isReady) {
            companion::AlarmSaving saving;
            isReady();
            pause();
        });
        card.follow();
    }
    EXPECT_FALSE(hasCard());
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);
    EXPECT_EQ(-1, stored(alarm.id).contextMgrId);

    card.follow();

    EXPECT_TRUE(isCardOf(alarm));
    EXPECT_EQ(kNoon + 30 * kMinute + 1, wakeTime);
}

TEST_F(UpcomingCardTest, CardThatIsNotPostedIsTriedAgain)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    for (const char* call : { "notification_post", "notification_load_by_tag",
             "notification_get_id", "notification_create" }) {
        notificationDouble().results[call] = NOTIFICATION_ERROR_FROM_DBUS;
        notificationDouble().tray.clear();
        card.renew();
        EXPECT_EQ(kNoon + kTryAgain, wakeTime) << call;
        // A tray that does not say what it has may hang, and would have everybody wait again.
        EXPECT_EQ(std::string(call) == "notification_get_id", hasCard()) << call;

        notificationDouble().results.clear();
        card.follow();

        EXPECT_TRUE(isCardOf(alarm)) << call;
        EXPECT_EQ(kNoon + 30 * kMinute + 1, wakeTime) << call;
    }
}

TEST_F(UpcomingCardTest, CardThatIsNotRenewedIsTriedAgain)
{
    (void)added(ringAt(12, 30));
    card.follow();
    const int before = tray().at(kTag).id;
    notificationDouble().results["notification_post"] = NOTIFICATION_ERROR_FROM_DBUS;
    card.renew();
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);

    notificationDouble().results.clear();
    card.follow();

    EXPECT_NE(before, tray().at(kTag).id);
    EXPECT_EQ(kNoon + 30 * kMinute + 1, wakeTime);
}

TEST_F(UpcomingCardTest, CardThatIsNotNotedIsPostedAgain)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    notificationDouble().isAnswerLost = true;
    card.follow();
    EXPECT_TRUE(hasCard());
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);
    notificationDouble().isAnswerLost = false;
    card.follow();
    EXPECT_TRUE(isCardOf(alarm));

    preferenceDouble().error = PREFERENCE_ERROR_IO_ERROR;
    card.renew();
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);
    preferenceDouble().error = PREFERENCE_ERROR_NONE;
    card.follow();
    EXPECT_EQ(kNoon + 30 * kMinute + 1, wakeTime);
    EXPECT_TRUE(isCardOf(alarm));
}

TEST_F(UpcomingCardTest, CardThatWasHalfDeletedIsPostedForTheSameAlarmAgain)
{
    AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();
    changeRow(alarm.id, "enable = 0");
    notificationDouble().results["notification_delete"] = NOTIFICATION_ERROR_FROM_DBUS;
    card.follow();
    EXPECT_EQ(-1, cardContext());
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);

    notificationDouble().results.clear();
    changeRow(alarm.id, "enable = 1");
    card.follow();

    EXPECT_TRUE(isCardOf(alarm));
}

TEST_F(UpcomingCardTest, TryingAgainDoesNotOutlastTheAlarm)
{
    (void)added(ringAt(12, 30));
    setNow(kNoon + 30 * kMinute - 2);
    notificationDouble().results["notification_post"] = NOTIFICATION_ERROR_FROM_DBUS;

    card.follow();

    EXPECT_EQ(kNoon + 30 * kMinute + 1, wakeTime);
}

TEST_F(UpcomingCardTest, CardThatCannotBeFoundForDeletionIsTriedAgain)
{
    AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();
    (void)companion::removeAlarm(alarm.id, alarm);
    notificationDouble().results["notification_load_by_tag"] = NOTIFICATION_ERROR_FROM_DBUS;
    card.follow();
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);
    EXPECT_TRUE(hasCard());

    notificationDouble().results.clear();
    card.follow();

    EXPECT_FALSE(hasCard());
    EXPECT_EQ(kNever, wakeTime);
}

TEST_F(UpcomingCardTest, CardStaysWhileTheStoreIsUnreadable)
{
    (void)added(ringAt(12, 30));
    card.follow();
    ASSERT_TRUE(hasCard());

    takeFileAway();
    card.follow();

    EXPECT_TRUE(hasCard());
    EXPECT_EQ(kNoon + kTryAgain, wakeTime);

    setNow(kNoon + 30 * kMinute);
    card.follow();
    EXPECT_FALSE(hasCard()) << "it has rung";
}

TEST_F(UpcomingCardTest, AlarmOfANightInWhichTheClocksChangeIsShownForItsInstant)
{
    const time_t threeOClock = 1774746000; // 2026-03-29, when 01:59:59 is over; 02:30 is skipped
    setNow(threeOClock - 20 * kMinute);
    vconfDouble().texts["db/menu_widget/regionformat"] = "de_DE.UTF-8";
    i18nDouble().patterns["hhmm"] = "hh:mm";
    i18nDouble().texts["hh:mm"] = "3:00";
    const AlarmDbData alarm = added(ringAt(2, 30, 127));

    card.follow();

    ASSERT_TRUE(isCardOf(alarm));
    EXPECT_EQ(threeOClock + 1, wakeTime);
    EXPECT_THAT(i18nDouble().formattedAt, Not(IsEmpty()));
    EXPECT_THAT(i18nDouble().formattedAt, testing::Each(1000.0 * threeOClock));
}

TEST_F(UpcomingCardTest, SnoozeThatPassesMidnightIsShown)
{
    const int monday = 2;
    AlarmDbData alarm = added(ringAt(23, 58, monday));
    setNow(kNoon + 11 * kHour + 59 * kMinute);
    snooze(alarm);

    card.follow();

    ASSERT_TRUE(isCardOf(alarm));
    EXPECT_EQ(kNoon + 12 * kHour + 3 * kMinute + 1, wakeTime);
}

TEST_F(UpcomingCardTest, PhonesAlarmHasACardWhenItRingsHere)
{
    AlarmDbData alarm;
    alarm.deviceType = companion::kPhoneDevice;
    alarm.uuid = "17";
    ASSERT_EQ(companion::Saved::Yes, companion::addAlarm(alarm, ringAt(12, 30)));
    card.follow();
    EXPECT_FALSE(hasCard()) << "the phone is not of the watch's make";

    pairPhone();
    ASSERT_EQ(companion::Saved::Yes, companion::changeAlarm(alarm.id, ringAt(12, 30), alarm));
    card.follow();
    ASSERT_TRUE(isCardOf(alarm));
    changeRow(alarm.id, "isNeedToSync = 0");

    EXPECT_EQ("", card.turnOff(std::to_string(alarm.id)));

    EXPECT_EQ(0, stored(alarm.id).enable);
    EXPECT_TRUE(stored(alarm.id).isNeedToSync) << "the phone is to hear";
    EXPECT_FALSE(hasCard());
}

TEST_F(UpcomingCardTest, TurningOffSwitchesTheAlarmOffAndCancelsIt)
{
    const AlarmDbData alarm = added(ringAt(12, 30, 127));
    card.follow();
    ASSERT_THAT(registered(), Not(IsEmpty()));
    forget();

    EXPECT_EQ("", card.turnOff(std::to_string(alarm.id)));

    EXPECT_EQ(0, stored(alarm.id).enable);
    EXPECT_THAT(registered(), IsEmpty());
    EXPECT_THAT(announced(), testing::Contains(".alarmDbChanged"));
    EXPECT_FALSE(hasCard());
}

TEST_F(UpcomingCardTest, CardOfAServiceThatWasKilledTurnsItsAlarmOff)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();
    UpcomingCard next;
    notificationDouble().results["notification_load_by_tag"] = NOTIFICATION_ERROR_FROM_DBUS;
    next.follow();

    EXPECT_EQ("", next.turnOff(std::to_string(alarm.id)));

    EXPECT_EQ(0, stored(alarm.id).enable);
    next.stop();
}

TEST_F(UpcomingCardTest, SnoozedAlarmIsTurnedOff)
{
    AlarmDbData alarm = added(ringAt(12, 5, 127));
    setNow(kNoon + 6 * kMinute);
    snooze(alarm);
    card.follow();

    EXPECT_EQ("", card.turnOff(std::to_string(alarm.id)));

    EXPECT_EQ(0, stored(alarm.id).enable);
    EXPECT_EQ(0, stored(alarm.id).count);
    EXPECT_THAT(registered(), IsEmpty());
}

TEST_F(UpcomingCardTest, WhatIsNoAlarmIsNotTurnedOff)
{
    (void)added(ringAt(12, 30));
    card.follow();
    for (const char* text :
        { "", "0", "-1", "+1", " 1", "1 ", "1x", "0x1", "one", "99999999999", "1.0" })
        expectRefused(text, "the alarm to turn off has no row id");
    expectRefused("77", "alarm 77 is not turned off: there is no such alarm");
}

TEST_F(UpcomingCardTest, OnlyTheAlarmOfTheCardIsTurnedOff)
{
    (void)added(ringAt(12, 30));
    const AlarmDbData later = added(ringAt(12, 40));
    card.follow();

    expectRefused(std::to_string(later.id), "alarm 2 has no card");
}

TEST_F(UpcomingCardTest, AlarmThatHasRungMeanwhileIsNotTurnedOff)
{
    for (const int weekdays : { 0, 127 }) {
        setNow(kNoon);
        const AlarmDbData alarm = added(ringAt(12, 30, weekdays));
        card.follow();

        setNow(kNoon + 30 * kMinute);

        const std::string id = std::to_string(alarm.id);
        expectRefused(id, "alarm " + id + " is off, or has rung meanwhile");
        (void)removeRow(alarm.id);
        card.follow();
    }
}

TEST_F(UpcomingCardTest, AlarmThatIsOffOrGoneMeanwhileIsNotTurnedOff)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();
    changeRow(alarm.id, "enable = 0");
    expectRefused("1", "alarm 1 is off, or has rung meanwhile");

    (void)removeRow(alarm.id);
    expectRefused("1", "alarm 1 is not turned off: there is no such alarm");
}

TEST_F(UpcomingCardTest, AlarmStaysOnWhenThatCannotBeStored)
{
    const AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();
    OtherProcess holder([](const std::function<void()>& isReady) {
        companion::AlarmSaving saving;
        isReady();
        pause();
    });

    expectRefused("1",
        "alarm 1 is not turned off: the change could not be stored: another process keeps the "
        "alarms to itself");
}

TEST_F(UpcomingCardTest, WithdrawnCardComesBackWithItsNextChange)
{
    AlarmDbData alarm = added(ringAt(12, 30));
    card.follow();

    EXPECT_TRUE(card.withdraw());
    EXPECT_FALSE(hasCard());
    EXPECT_EQ(-1, cardContext());
    card.follow();
    EXPECT_FALSE(hasCard());
    expectRefused(std::to_string(alarm.id), "alarm 1 has no card");

    (void)companion::changeAlarm(alarm.id, ringAt(12, 31), alarm);
    card.follow();
    EXPECT_TRUE(isCardOf(alarm));
    EXPECT_TRUE(card.withdraw());
    card.renew();
    EXPECT_TRUE(isCardOf(alarm));

    notificationDouble().results["notification_delete"] = NOTIFICATION_ERROR_FROM_DBUS;
    EXPECT_FALSE(card.withdraw());
}
