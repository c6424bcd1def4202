#pragma once

#include "AlarmContextualManager.h"
#include "AlarmDbData.h"
#include "AppCommonDouble.h"
#include "AppControlDouble.h"
#include "BundleDouble.h"
#include "CallJournal.h"
#include "ClockDouble.h"
#include "GettextDouble.h"
#include "I18nFixture.h"
#include "NotificationDouble.h"
#include "PreferenceDouble.h"

/// A test of the upcoming alarm's card, in the alarm service.
class CardTest : public I18nTest {
protected:
    static constexpr int kNow = 1715661000; // 2024-05-14 04:30 UTC
    static constexpr const char* kTag = "alarmUpcomingTag";

    CardTest()
    {
        appCommonDouble() = {};
        appCommonDouble().id = "com.velmora.alarm-service";
        appCommonDouble().resourcePath = "/app/res/";
        appCommonDouble().sharedResourcePath = "/app/shared/res/";
        appControlDouble() = {};
        bundleDouble() = {};
        callJournal().clear();
        clockDouble() = {};
        clockDouble().now = timeval{ kNow, 0 };
        gettextDouble() = {};
        notificationDouble() = {};
        preferenceDouble() = {};
        alarm.id = 7;
        alarm.alarm_mgr_id = 700;
        alarm.contextMgrId = 42;
        alarm.stime = kNow + 3600;
        alarm.timezone = "Europe/Berlin";
        alarm.hour = 7;
        alarm.min = 30;
        alarm.enable = 1;
    }

    ~CardTest() override
    {
        EXPECT_THAT(appControlDouble().alive, testing::IsEmpty());
        EXPECT_EQ(0, appControlDouble().wronglyDestroyed);
        EXPECT_THAT(notificationDouble().alive, testing::IsEmpty());
        EXPECT_EQ(0, notificationDouble().wronglyFreed);
    }

    static AlarmContextualManager& manager()
    {
        return Singleton<AlarmContextualManager>::getInstance();
    }

    /// The critical lines of the class itself, each as "function: message".
    static std::vector<std::string> cardLog()
    {
        DlogDouble own;
        for (const DlogDouble::Line& line : dlogDouble().lines) {
            if (line.text.rfind("AlarmContextualManager.cpp: ", 0) == 0)
                own.lines.push_back(line);
        }
        EXPECT_EQ(own.lines.size(), own.criticals().size());
        return own.messagesWithFunctions(DLOG_ERROR);
    }

    static _notification& postedCard() { return notificationDouble().tray.at(kTag); }

    std::string postedJson()
    {
        manager().postUpcomingAlarm(alarm);
        return postedCard().texts.at(NOTIFICATION_TEXT_TYPE_EXTENSION);
    }

    AlarmDbData alarm;
};
