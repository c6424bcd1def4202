#include "common/Request.h"

#include "AppControlDouble.h"

#include <AlertState.h>
#include <Ecore.h>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

class RequestTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ecore_app_no_system_modules(); // they look for a system bus
        ecore_init();
    }
    static void TearDownTestSuite() { ecore_shutdown(); }

    RequestTest() { appControlDouble() = {}; }
    ~RequestTest() override { EXPECT_THAT(appControlDouble().alive, IsEmpty()); }

    /// Asks for at most so many seconds, while the main loop does what is given.
    bool ask(double seconds, std::function<void()> meanwhile = {})
    {
        _meanwhile = std::move(meanwhile);
        if (_meanwhile)
            ecore_timer_add(0, _meanwhileCb, this);
        return app::ask(app::makeControl("the.other"), seconds,
            [this](app_control_h reply, app_control_result_e result) {
                answers.emplace_back(app::extraOf(reply, "out").value_or("none"), result);
            });
    }

    /// The reply to the request that was sent as that one.
    static void reply(size_t number, const std::string& out,
        app_control_result_e result = APP_CONTROL_RESULT_SUCCEEDED)
    {
        AppControlDouble::LaunchRequest& sent = appControlDouble().sent.at(number);
        app_control_s reply;
        reply.extras.emplace_back("out", out);
        sent.callback(&sent.request, &reply, result, sent.data);
    }

    std::vector<std::pair<std::string, int>> answers;

private:
    static Eina_Bool _meanwhileCb(void* data)
    {
        static_cast<RequestTest*>(data)->_meanwhile();
        return ECORE_CALLBACK_CANCEL;
    }

    std::function<void()> _meanwhile;
};

const double kForever = 24.0 * 60 * 60; // seconds
const double kMoment = 0.001;

} // namespace

TEST_F(RequestTest, ReplyIsReadAndEndsTheWait)
{
    EXPECT_TRUE(ask(kForever, [] {
        reply(0, "", APP_CONTROL_RESULT_APP_STARTED);
        reply(0, "no", APP_CONTROL_RESULT_FAILED);
    }));

    EXPECT_THAT(answers, ElementsAre(Pair("no", APP_CONTROL_RESULT_FAILED)));
    EXPECT_EQ("the.other", appControlDouble().sent.at(0).request.applicationId);
}

TEST_F(RequestTest, NobodyIsWaitedForLongerThanTold)
{
    EXPECT_TRUE(ask(kMoment));

    EXPECT_THAT(answers, IsEmpty());
    reply(0, "late");
    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(RequestTest, LateReplyIsNoAnswerToTheNextRequest)
{
    EXPECT_TRUE(ask(kMoment));
    EXPECT_TRUE(ask(kForever, [] {
        reply(0, "late");
        reply(1, "in time");
    }));

    EXPECT_THAT(answers, ElementsAre(Pair("in time", APP_CONTROL_RESULT_SUCCEEDED)));
}

TEST_F(RequestTest, RequestThatIsNotSentIsNotWaitedFor)
{
    appControlDouble().sendResult = APP_CONTROL_ERROR_LAUNCH_REJECTED;

    EXPECT_FALSE(ask(kForever));

    EXPECT_THAT(answers, IsEmpty());
}

TEST_F(RequestTest, ExtrasAreReadAsTheyWereAdded)
{
    const app::Control control = app::makeControl();
    app::addExtra(control, "empty", "");
    app::addExtra(control, "text", "a text");

    EXPECT_EQ("", app::extraOf(control.get(), "empty"));
    EXPECT_EQ("a text", app::extraOf(control.get(), "text"));
    EXPECT_EQ(std::nullopt, app::extraOf(control.get(), "other"));
}

TEST_F(RequestTest, RequestIsAnsweredAsDoneOrWithTheReason)
{
    app_control_s request;
    const app::Control extras = app::makeControl();
    app::addExtra(extras, "alarm_id", "7");

    app::reply(&request, "", extras);
    app::reply(&request, "nothing rings");

    const auto& replies = appControlDouble().replies;
    ASSERT_EQ(2U, replies.size());
    EXPECT_EQ(&request, replies[0].request);
    EXPECT_EQ(APP_CONTROL_RESULT_SUCCEEDED, replies[0].result);
    EXPECT_THAT(replies[0].reply.extras, ElementsAre(Pair("alarm_id", "7")));
    EXPECT_EQ(&request, replies[1].request);
    EXPECT_EQ(APP_CONTROL_RESULT_FAILED, replies[1].result);
    EXPECT_THAT(
        replies[1].reply.extras, ElementsAre(Pair(companion::kReasonExtra, "nothing rings")));
}
