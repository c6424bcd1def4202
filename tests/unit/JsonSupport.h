#pragma once

#include "AlarmJsonObject.h"
#include "AlarmJsonParser.h"

#include <gtest/gtest.h>
#include <json-glib/json-glib.h>
#include <string>
#include <vector>

/// The object of a JSON text.
inline AlarmJsonObject objectOf(const std::string& text)
{
    AlarmJsonObject object;
    JsonNode* root = json_from_string(text.c_str(), nullptr);
    object.setJsonObject(json_node_get_object(root));
    json_node_unref(root);
    return object;
}

inline std::string textOf(AlarmJsonObject object)
{
    std::string text;
    object.getJsonMessage(text);
    return text;
}

inline std::vector<AlarmDbData> alarmsOf(AlarmJsonParser& parser)
{
    std::vector<AlarmDbData> alarms(2);
    parser.getAlarmList(alarms);
    return alarms;
}

inline void expectSame(const AlarmDbData& expected, const AlarmDbData& actual)
{
    EXPECT_EQ(expected.magic, actual.magic);
    EXPECT_EQ(expected.id, actual.id);
    EXPECT_EQ(expected.alarm_mgr_id, actual.alarm_mgr_id);
    EXPECT_EQ(expected.enable, actual.enable);
    EXPECT_EQ(expected.stime, actual.stime);
    EXPECT_EQ(expected.atime, actual.atime);
    EXPECT_EQ(expected.etime, actual.etime);
    EXPECT_EQ(expected.modTime, actual.modTime);
    EXPECT_EQ(expected.sdate, actual.sdate);
    EXPECT_EQ(expected.edate, actual.edate);
    EXPECT_EQ(expected.hour, actual.hour);
    EXPECT_EQ(expected.min, actual.min);
    EXPECT_EQ(expected.name, actual.name);
    EXPECT_EQ(expected.timezone, actual.timezone);
    EXPECT_EQ(expected.repeat_once, actual.repeat_once);
    EXPECT_EQ(expected.repeatWeekly, actual.repeatWeekly);
    EXPECT_EQ(expected.snooze_enable, actual.snooze_enable);
    EXPECT_EQ(expected.snooze_min, actual.snooze_min);
    EXPECT_EQ(expected.snooze_times, actual.snooze_times);
    EXPECT_EQ(expected.count, actual.count);
    EXPECT_EQ(expected.type, actual.type);
    EXPECT_EQ(expected.tone, actual.tone);
    EXPECT_EQ(expected.volume, actual.volume);
    EXPECT_EQ(expected.reserved, actual.reserved);
    EXPECT_EQ(expected.smart_alarm_enable, actual.smart_alarm_enable);
    EXPECT_EQ(expected.vibration_type, actual.vibration_type);
    EXPECT_EQ(expected.deviceType, actual.deviceType);
    EXPECT_EQ(expected.uuid, actual.uuid);
    EXPECT_EQ(expected.mobileCreateTime, actual.mobileCreateTime);
    EXPECT_EQ(expected.mobileModifiedTime, actual.mobileModifiedTime);
    EXPECT_EQ(expected.mobileAlertTime, actual.mobileAlertTime);
    EXPECT_EQ(expected.isDeleted, actual.isDeleted);
    EXPECT_EQ(expected.isNeedToSync, actual.isNeedToSync);
    EXPECT_EQ(expected.contextMgrId, actual.contextMgrId);
}

/// Counts what GLib and JSON-GLib warn of, and keeps it off the terminal.
class GlibWarnings {
public:
    GlibWarnings() { g_log_set_default_handler(_count, &_counted); }
    GlibWarnings(const GlibWarnings&) = delete;
    GlibWarnings& operator=(const GlibWarnings&) = delete;
    ~GlibWarnings() { g_log_set_default_handler(g_log_default_handler, nullptr); }

    int count() const { return _counted; }

private:
    static void _count(
        const gchar* /*domain*/, GLogLevelFlags /*level*/, const gchar* /*text*/, gpointer counted)
    {
        ++*static_cast<int*>(counted);
    }

    int _counted = 0;
};
