#pragma once

#include <string>

/**
 * One alarm, as a row of the store holds it, with a few fields that live only in
 * memory, in messages to the phone and in backups. A plain value: nothing keeps
 * its fields consistent but the code that fills them.
 *
 * The alert time is in seconds since the epoch, hour and min are local time. The
 * library gives the other times no unit unless a field says so.
 */
struct AlarmDbData {
    /** Carried unchanged through store, messages and backups. */
    int magic = 0;
    /** Row id; -1 until the record is stored. */
    int id = -1;
    /** The platform's id of the registered alarm; -1 = not registered. */
    int alarm_mgr_id = -1;
    /** 1 = switched on, 0 = off. */
    int enable = 0;
    /** The alert time. */
    int stime = 0;
    /** Carried unchanged. */
    int atime = 0;
    /** Third sort key of the ordered lists, after hour and min. */
    int etime = 0;
    /** Modification time, and the record's key in a backup. */
    int modTime = 0;
    /** Carried unchanged. */
    int sdate = 0;
    /** Carried unchanged. */
    int edate = 0;
    /** Alert hour, 0 to 23. */
    int hour = 6;
    /** Alert minute, 0 to 59. */
    int min = 0;
    /** The alarm's label. */
    std::string name;
    /** Zone text, carried unchanged. */
    std::string timezone;
    /** 1 = rings once, 0 = rings on the days of repeatWeekly. */
    int repeat_once = 1;
    /** Set of days: Sunday 1, Monday 2, Tuesday 4 ... Saturday 64; the platform's week flag. */
    int repeatWeekly = 0;
    /** 1 = may be snoozed. */
    int snooze_enable = 1;
    /** Minutes from one snooze to the next; not stored. */
    int snooze_min = 5;
    /** Number of snoozes allowed; not stored. */
    int snooze_times = 3;
    /** Snoozes taken for the current alert; 0 = not snoozing. */
    int count = 0;
    /** Kind of alert (sound, vibration or both), in the sound player's values. */
    int type = 3;
    /** Path of the sound file. */
    std::string tone = "/opt/usr/data/settings/Ringtones/Digital_Beep.ogg";
    /** Volume level of the alarm. */
    int volume = 0;
    /** Holds its place in the record; not stored, read or sent. */
    int reserved = 0;
    /** Flag carried by the store. */
    int smart_alarm_enable = 0;
    /** Vibration pattern; its column in the store is smart_alarm_interval. */
    int vibration_type = 1;
    /** Device that made the alarm: 1 = the phone, 2 = this watch. */
    int deviceType = 2;
    /** The phone's identifier of the alarm. */
    std::string uuid;
    /** Creation time on the phone, milliseconds since the epoch. */
    unsigned long long mobileCreateTime = 0;
    /** Last modification time, milliseconds since the epoch. */
    unsigned long long mobileModifiedTime = 0;
    /** Alert time, milliseconds since the epoch. */
    unsigned long long mobileAlertTime = 0;
    /** Deleted on the watch; the row stays until the phone knows. */
    bool isDeleted = false;
    /** Has changes that the phone does not know yet. */
    bool isNeedToSync = false;
    /** The upcoming-alarm card's id of the alarm; -1 = none. */
    int contextMgrId = -1;
};
