#include "AlarmContextualManager.h"

#include "CardFixture.h"

#include <limits>
#include <type_traits>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

static_assert(std::is_base_of_v<Singleton<AlarmContextualManager>, AlarmContextualManager>);
static_assert(std::has_virtual_destructor_v<AlarmContextualManager>);
static_assert(!std::is_default_constructible_v<AlarmContextualManager>);
static_assert(!std::is_copy_constructible_v<AlarmContextualManager>);
static_assert(!std::is_copy_assignable_v<AlarmContextualManager>);
static_assert(sizeof(AlarmContextualManager) == sizeof(void*));

namespace {
const char* const kOperation = "http://tizen.org/appcontrol/operation/default";
const char* const kPostedKey = "contextMgrId";

class AlarmContextualManagerTest : public CardTest {
protected:
    static void postBefore()
    {
        notificationDouble().tray[kTag].tag = kTag;
        notificationDouble().tray[kTag].time = 1;
        preferenceDouble().values[kPostedKey] = 41;
    }

    static void expectForwarded(const char* context)
    {
        ASSERT_EQ(1u, appControlDouble().sent.size());
        const AppControlDouble::LaunchRequest& sent = appControlDouble().sent.front();
        EXPECT_EQ(kOperation, sent.request.operation);
        EXPECT_EQ("com.velmora.alarm-service", sent.request.applicationId);
        EXPECT_THAT(sent.request.extras, ElementsAre(Pair("context", context)));
        EXPECT_EQ(nullptr, sent.callback);
        EXPECT_EQ(nullptr, sent.data);
        expectNothingDone();
    }

    static void expectNothingDone()
    {
        EXPECT_THAT(callJournal().calls(), IsEmpty());
        EXPECT_THAT(preferenceDouble().sets, IsEmpty());
        EXPECT_THAT(dlogDouble().lines, IsEmpty());
    }
};
} // namespace

TEST_F(AlarmContextualManagerTest, ProcessHasOneInstance)
{
    EXPECT_EQ(&manager(), &Singleton<AlarmContextualManager>::getInstance());
    EXPECT_EQ(&manager(), &AlarmContextualManager::getInstance());
}

TEST_F(AlarmContextualManagerTest, CardIsAnOrdinaryNotificationWithTheDescriptionAsItsOnlyText)
{
    manager().postUpcomingAlarm(alarm);

    EXPECT_EQ(NOTIFICATION_TYPE_NOTI, postedCard().type);
    EXPECT_EQ(kNow, postedCard().time);
    EXPECT_EQ(16, postedCard().places);
    EXPECT_EQ(6, postedCard().layout);
    EXPECT_THAT(postedCard().texts,
        ElementsAre(Pair(21, testing::StartsWith("{\"main_version\":\"5\",\"uid\""))));
    EXPECT_FALSE(postedCard().hasTextKey);
    EXPECT_EQ(NOTIFICATION_VARIABLE_TYPE_NONE, postedCard().arguments);
    EXPECT_EQ(kTag, postedCard().tag);
    EXPECT_THAT(cardLog(), IsEmpty());
    EXPECT_THAT(appControlDouble().sent, IsEmpty());
}

TEST_F(AlarmContextualManagerTest, CardIsFilledPostedNotedAndFreedInThisOrder)
{
    preferenceDouble().whenSet = [] { callJournal().note("preference_set_int"); };

    manager().postUpcomingAlarm(alarm);

    EXPECT_THAT(callJournal().calls(),
        ElementsAre("notification_create", "notification_set_time",
            "notification_set_display_applist", "notification_set_layout", "notification_set_text",
            "notification_set_tag", "notification_post", "preference_set_int",
            "notification_free"));
}

TEST_F(AlarmContextualManagerTest, PostedCardIsKnownByTheContextIdOfItsAlarm)
{
    for (const int id : { 42, 0, -1, std::numeric_limits<int>::max() }) {
        alarm.contextMgrId = id;
        preferenceDouble() = {};

        manager().postUpcomingAlarm(alarm);

        EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(kPostedKey, id)));
    }
}

TEST_F(AlarmContextualManagerTest, CardStaysPostedWhenItsContextIdCannotBeStored)
{
    preferenceDouble().error = PREFERENCE_ERROR_IO_ERROR;

    manager().postUpcomingAlarm(alarm);

    EXPECT_EQ(1u, notificationDouble().tray.size());
    EXPECT_THAT(cardLog(), IsEmpty());
}

TEST_F(AlarmContextualManagerTest, NewCardReplacesTheOldOne)
{
    postBefore();

    manager().postUpcomingAlarm(alarm);

    EXPECT_EQ(1u, notificationDouble().tray.size());
    EXPECT_EQ(kNow, postedCard().time);
    EXPECT_EQ(42, preferenceDouble().values[kPostedKey]);
}

struct FailureCase {
    const char* call;
    const char* message;
};
class PostFailureTest : public AlarmContextualManagerTest,
                        public testing::WithParamInterface<FailureCase> {};

TEST_P(PostFailureTest, IsLoggedAndLeavesTrayAndPreferenceAsTheyWere)
{
    postBefore();
    notificationDouble().results[GetParam().call] = NOTIFICATION_ERROR_FROM_DBUS;

    manager().postUpcomingAlarm(alarm);

    EXPECT_THAT(cardLog(), ElementsAre(std::string("postUpcomingAlarm: ") + GetParam().message));
    EXPECT_EQ(1, postedCard().time);
    EXPECT_EQ(41, preferenceDouble().values[kPostedKey]);
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}

TEST_P(PostFailureTest, EndsThePostAtOnce)
{
    notificationDouble().results[GetParam().call] = NOTIFICATION_ERROR_OUT_OF_MEMORY;

    manager().postUpcomingAlarm(alarm);

    std::vector<std::string> calls = callJournal().calls();
    if (GetParam().call != std::string("notification_create")) {
        EXPECT_EQ("notification_free", calls.back());
        calls.pop_back();
    }
    EXPECT_EQ(GetParam().call, calls.back());
    EXPECT_THAT(notificationDouble().tray, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, PostFailureTest,
    testing::Values(FailureCase{ "notification_create", "notification_create is fail" },
        FailureCase{ "notification_set_time", "notification_set_time is fail" },
        FailureCase{
            "notification_set_display_applist", "notification_set_display_applist is fail" },
        FailureCase{ "notification_set_layout", "notification_set_layout is fail" },
        FailureCase{ "notification_set_text", "notification_set_text is fail" },
        FailureCase{ "notification_set_tag", "notification_set_tag is fail" },
        FailureCase{ "notification_post", "notification_post is fail" }),
    [](const auto& row) { return std::string(row.param.call); });

TEST_F(AlarmContextualManagerTest, DescriptionIsNotMadeForACardWithoutATime)
{
    notificationDouble().results["notification_set_time"] = NOTIFICATION_ERROR_INVALID_PARAMETER;

    manager().postUpcomingAlarm(alarm);

    EXPECT_EQ(0, appControlDouble().created);
    EXPECT_EQ(1, clockDouble().timesAsked);
}

TEST_F(AlarmContextualManagerTest, AnotherApplicationHasTheServicePost)
{
    for (const char* id : { "com.velmora.alarm", "com.velmora.alarm-alert",
             "com.velmora.alarm-service2", "com.velmora.alarm-servic", "" }) {
        appCommonDouble().id = id;
        appControlDouble().sent.clear();

        manager().postUpcomingAlarm(alarm);

        expectForwarded("postContext");
    }
}

TEST_F(AlarmContextualManagerTest, AnotherApplicationHasTheServiceDelete)
{
    postBefore();
    appCommonDouble().id = "com.velmora.alarm";

    manager().deleteUpcomingNoti();

    expectForwarded("deleteContext");
    EXPECT_EQ(1u, notificationDouble().tray.size());
}

TEST_F(AlarmContextualManagerTest, RequestThatCannotBeMadeOrSentIsDropped)
{
    appCommonDouble().id = "com.velmora.alarm";
    appControlDouble().createResult = APP_CONTROL_ERROR_OUT_OF_MEMORY;
    manager().postUpcomingAlarm(alarm);
    manager().deleteUpcomingNoti();
    EXPECT_EQ(0, appControlDouble().created);

    appControlDouble() = {};
    appControlDouble().sendResult = APP_CONTROL_ERROR_APP_NOT_FOUND;
    manager().postUpcomingAlarm(alarm);
    manager().deleteUpcomingNoti();
    EXPECT_EQ(2, appControlDouble().created);

    expectNothingDone();
}

TEST_F(AlarmContextualManagerTest, ProcessWithoutAnApplicationIdPostsAndDeletesItself)
{
    appCommonDouble().id.reset();

    manager().postUpcomingAlarm(alarm);
    EXPECT_EQ(1u, notificationDouble().tray.size());
    EXPECT_EQ(42, preferenceDouble().values[kPostedKey]);

    manager().deleteUpcomingNoti();
    EXPECT_THAT(notificationDouble().tray, IsEmpty());
    EXPECT_EQ(-1, preferenceDouble().values[kPostedKey]);
    EXPECT_THAT(appControlDouble().sent, IsEmpty());
}

TEST_F(AlarmContextualManagerTest, DeletionForgetsTheContextIdAndTakesTheCardAway)
{
    postBefore();
    preferenceDouble().whenSet = [] { callJournal().note("preference_set_int"); };

    manager().deleteUpcomingNoti();

    EXPECT_THAT(notificationDouble().tray, IsEmpty());
    EXPECT_THAT(preferenceDouble().sets, ElementsAre(Pair(kPostedKey, -1)));
    EXPECT_THAT(callJournal().calls(),
        ElementsAre("notification_load_by_tag", "preference_set_int", "notification_delete",
            "notification_free"));
    EXPECT_THAT(cardLog(), ElementsAre("deleteUpcomingNoti: AlarmDeleteUpcomingContext"));
}

TEST_F(AlarmContextualManagerTest, DeletionWithoutACardChangesNothing)
{
    preferenceDouble().values[kPostedKey] = 41;
    notificationDouble().tray["another"].tag = "another";

    manager().deleteUpcomingNoti();

    EXPECT_THAT(callJournal().calls(), ElementsAre("notification_load_by_tag"));
    EXPECT_EQ(1u, notificationDouble().tray.size());
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmContextualManagerTest, FailedDeletionIsLoggedAfterTheContextIdIsForgotten)
{
    postBefore();
    notificationDouble().results["notification_delete"] = NOTIFICATION_ERROR_FROM_DBUS;

    manager().deleteUpcomingNoti();

    EXPECT_EQ(1u, notificationDouble().tray.size());
    EXPECT_EQ(-1, preferenceDouble().values[kPostedKey]);
    EXPECT_THAT(cardLog(),
        ElementsAre("deleteUpcomingNoti: AlarmDeleteUpcomingContext",
            "deleteUpcomingNoti: notification_delete is fail"));
}

TEST_F(AlarmContextualManagerTest, EveryApplicationDeletesItsOwnOrdinaryNotifications)
{
    appCommonDouble().id = "com.velmora.alarm";

    manager().deleteAllNoti();

    EXPECT_THAT(notificationDouble().allDeleted, ElementsAre(NOTIFICATION_TYPE_NOTI));
    EXPECT_THAT(appControlDouble().sent, IsEmpty());
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(AlarmContextualManagerTest, FailedDeletionOfAllIsLogged)
{
    notificationDouble().results["notification_delete_all"] = NOTIFICATION_ERROR_FROM_DBUS;

    manager().deleteAllNoti();

    EXPECT_THAT(cardLog(), ElementsAre("deleteAllNoti: notification_delete_all is failed !!"));
    EXPECT_THAT(preferenceDouble().sets, IsEmpty());
}
