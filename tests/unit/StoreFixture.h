#pragma once

#include "AlarmDbModel.h"
#include "AppCommonDouble.h"
#include "ClockDouble.h"
#include "DlogDouble.h"
#include "PreferenceDouble.h"
#include "SqliteProbe.h"
#include "StoreFile.h"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>

/// A store in a folder of its own, on fresh doubles, in UTC.
class StoreFixture : public testing::Test {
protected:
    StoreFixture()
    {
        setenv("TZ", "UTC", 1);
        tzset();
        appCommonDouble() = {};
        appCommonDouble().dataPath = file.folder();
        clockDouble() = {};
        preferenceDouble() = {};
        forget();
    }

    static void openOnce() { const AlarmDbModel model; }

    /// Makes the file as it is once two objects have opened it, and forgets that.
    void makeFile()
    {
        openOnce();
        openOnce();
        forget();
    }

    /// Forgets what was logged and set until now.
    static void forget()
    {
        dlogDouble() = {};
        preferenceDouble().sets.clear();
    }

    /// Makes the next object one without a connection.
    void takeFileAway() { appCommonDouble().dataPath = "/proc/self/status/"; }

    static std::vector<std::string> criticals() { return dlogDouble().criticals(); }

    StoreFile file;
};

/// Different in each field from a default record, and each number different from the others.
inline AlarmDbData distinctAlarm()
{
    AlarmDbData alarm;
    alarm.magic = 1001;
    alarm.id = 1002;
    alarm.alarm_mgr_id = 1003;
    alarm.enable = 1004;
    alarm.stime = 1005;
    alarm.atime = 1006;
    alarm.etime = 1007;
    alarm.modTime = 1008;
    alarm.sdate = 1009;
    alarm.edate = 1010;
    alarm.hour = 1011;
    alarm.min = 1012;
    alarm.name = "a name";
    alarm.timezone = "a zone";
    alarm.repeat_once = 1015;
    alarm.repeatWeekly = 1016;
    alarm.snooze_enable = 1017;
    alarm.snooze_min = 1018;
    alarm.snooze_times = 1019;
    alarm.count = 1020;
    alarm.type = 1021;
    alarm.tone = "a tone";
    alarm.volume = 1023;
    alarm.reserved = 1024;
    alarm.smart_alarm_enable = 1025;
    alarm.vibration_type = 1026;
    alarm.deviceType = 1027;
    alarm.uuid = "a uuid";
    alarm.mobileCreateTime = 1600000001029;
    alarm.mobileModifiedTime = 1600000001030;
    alarm.mobileAlertTime = 1600000001031;
    alarm.isDeleted = true;
    alarm.isNeedToSync = true;
    alarm.contextMgrId = 1034;
    return alarm;
}

inline AlarmDbData phoneAlarm()
{
    AlarmDbData alarm;
    alarm.deviceType = 1;
    return alarm;
}

inline std::vector<int> idsOf(const std::vector<AlarmDbData>& list)
{
    std::vector<int> ids;
    ids.reserve(list.size());
    for (const AlarmDbData& alarm : list)
        ids.push_back(alarm.id);
    return ids;
}
