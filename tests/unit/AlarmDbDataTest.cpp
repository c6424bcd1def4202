#include "AlarmDbData.h"

#include <gtest/gtest.h>
#include <type_traits>
#include <utility>

TEST(AlarmDbDataTest, DefaultsAreAOneShotAtSixMadeOnTheWatch)
{
    const AlarmDbData alarm;

    EXPECT_EQ(0, alarm.magic);
    EXPECT_EQ(-1, alarm.id);
    EXPECT_EQ(-1, alarm.alarm_mgr_id);
    EXPECT_EQ(0, alarm.enable);
    EXPECT_EQ(0, alarm.stime);
    EXPECT_EQ(0, alarm.atime);
    EXPECT_EQ(0, alarm.etime);
    EXPECT_EQ(0, alarm.modTime);
    EXPECT_EQ(0, alarm.sdate);
    EXPECT_EQ(0, alarm.edate);
    EXPECT_EQ(6, alarm.hour);
    EXPECT_EQ(0, alarm.min);
    EXPECT_EQ("", alarm.name);
    EXPECT_EQ("", alarm.timezone);
    EXPECT_EQ(1, alarm.repeat_once);
    EXPECT_EQ(0, alarm.repeatWeekly);
    EXPECT_EQ(1, alarm.snooze_enable);
    EXPECT_EQ(5, alarm.snooze_min);
    EXPECT_EQ(3, alarm.snooze_times);
    EXPECT_EQ(0, alarm.count);
    EXPECT_EQ(3, alarm.type);
    EXPECT_EQ("/opt/usr/data/settings/Ringtones/Digital_Beep.ogg", alarm.tone);
    EXPECT_EQ(0, alarm.volume);
    EXPECT_EQ(0, alarm.reserved);
    EXPECT_EQ(0, alarm.smart_alarm_enable);
    EXPECT_EQ(1, alarm.vibration_type);
    EXPECT_EQ(2, alarm.deviceType);
    EXPECT_EQ("", alarm.uuid);
    EXPECT_EQ(0u, alarm.mobileCreateTime);
    EXPECT_EQ(0u, alarm.mobileModifiedTime);
    EXPECT_EQ(0u, alarm.mobileAlertTime);
    EXPECT_FALSE(alarm.isDeleted);
    EXPECT_FALSE(alarm.isNeedToSync);
    EXPECT_EQ(-1, alarm.contextMgrId);
}

TEST(AlarmDbDataTest, FieldsHaveTheTypesOfTheStore)
{
    // In declared order: this does not compile when a field is missing or elsewhere.
    auto [magic, id, managerId, enable, stime, atime, etime, modTime, sdate, edate, hour, min, name,
        zone, repeatOnce, repeatWeekly, snoozeEnable, snoozeMin, snoozeTimes, count, type, tone,
        volume, reserved, smartEnable, vibrationType, deviceType, uuid, createTime, modifiedTime,
        alertTime, isDeleted, isNeedToSync, contextMgrId]
        = AlarmDbData();

    EXPECT_EQ(6, hour);
    EXPECT_EQ(0, min);
    EXPECT_EQ(1, repeatOnce);
    EXPECT_EQ(5, snoozeMin);
    EXPECT_EQ(3, snoozeTimes);
    EXPECT_EQ(3, type);
    EXPECT_EQ("/opt/usr/data/settings/Ringtones/Digital_Beep.ogg", tone);
    EXPECT_EQ(0, reserved);
    EXPECT_EQ(1, vibrationType);
    EXPECT_EQ(2, deviceType);
    EXPECT_EQ(-1, contextMgrId);
    static_assert(sizeof(magic) == 4 && std::is_signed_v<decltype(magic)>);
    static_assert(std::is_same_v<decltype(createTime), unsigned long long>);
    static_assert(std::is_same_v<decltype(modifiedTime), unsigned long long>);
    static_assert(std::is_same_v<decltype(alertTime), unsigned long long>);
    static_assert(std::is_same_v<decltype(isDeleted), bool>);
    static_assert(std::is_same_v<decltype(isNeedToSync), bool>);
    static_assert(sizeof(createTime) == 8);
}

TEST(AlarmDbDataTest, IsAPlainValue)
{
    static_assert(!std::is_polymorphic_v<AlarmDbData>);
    static_assert(std::is_nothrow_move_constructible_v<AlarmDbData>);
    AlarmDbData alarm;
    alarm.name = "a name that is too long to be kept inside the string object itself";
    alarm.hour = 23;

    const AlarmDbData copy = alarm;
    alarm.name[0] = 'A';
    const AlarmDbData moved = std::move(alarm);

    EXPECT_EQ('a', copy.name[0]);
    EXPECT_EQ('A', moved.name[0]);
    EXPECT_EQ(23, moved.hour);
}
