#include "host/daemon/FocusArbiter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sound_manager.h>
#include <string>
#include <vector>

namespace {

using Told = std::vector<std::string>;

const int kAlarm = SOUND_STREAM_FOCUS_CHANGED_BY_ALARM;
const int kMedia = SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA;
const int kCall = SOUND_STREAM_FOCUS_CHANGED_BY_CALL;

// What a client that has one stream has of the playback.
host::FocusClaim claim(int reason, std::uint64_t since, bool isHeld)
{
    return { 1, SOUND_STREAM_FOCUS_FOR_PLAYBACK, reason, since, isHeld };
}

/// A daemon's arbiter that begins with nothing, while clients hold this and that.
class FocusArbiterTest : public testing::Test {
protected:
    Told renew(const std::string& client, const std::vector<host::FocusClaim>& claims)
    {
        std::vector<host::FocusChange> changes;
        arbiter.renew(client, claims, changes);
        return told(changes);
    }
    Told settle()
    {
        std::vector<host::FocusChange> changes;
        arbiter.settle(changes);
        return told(changes);
    }
    Told forgetClient(const std::string& client)
    {
        std::vector<host::FocusChange> changes;
        arbiter.forgetClient(client, changes);
        return told(changes);
    }
    bool isHolder(const std::string& client) const { return arbiter.held({ client, 1 }) == 1; }

    host::FocusArbiter arbiter;

private:
    static Told told(const std::vector<host::FocusChange>& changes)
    {
        Told texts;
        for (const host::FocusChange& change : changes) {
            texts.push_back(change.stream.client + (change.held ? " regains by " : " loses to ")
                + std::to_string(change.cause.reason));
        }
        return texts;
    }
};

TEST_F(FocusArbiterTest, NobodyIsToldWhenAllRenewWhatTheyHad)
{
    EXPECT_EQ(Told{}, renew("song", { claim(kMedia, 10, false) }));
    EXPECT_EQ(Told{}, renew("alarm", { claim(kAlarm, 30, true) }));
    EXPECT_EQ(Told{}, renew("video", { claim(kMedia, 20, false) }));
    EXPECT_EQ(Told{}, renew("alarm", { claim(kAlarm, 30, true) })) << "once more";
    EXPECT_EQ(Told{}, settle());

    EXPECT_TRUE(isHolder("alarm"));
    EXPECT_EQ(Told{ "video regains by 2" }, forgetClient("alarm"));
    EXPECT_EQ(Told{ "song regains by 0" }, forgetClient("video"));
}

TEST_F(FocusArbiterTest, WhoWaitedForOneThatDoesNotComeBackIsToldWhenAllHadTheirTime)
{
    EXPECT_EQ(Told{}, renew("song", { claim(kMedia, 10, false) }));
    EXPECT_FALSE(isHolder("song"));
    EXPECT_EQ(Told{ "song regains by 1" }, settle());
    EXPECT_TRUE(isHolder("song"));
    EXPECT_EQ(Told{}, settle());
}

TEST_F(FocusArbiterTest, OfTwoThatBelieveToHoldItTheLaterOneDoes)
{
    EXPECT_EQ(Told{}, renew("alarm", { claim(kAlarm, 20, true) }));
    EXPECT_EQ(Told{ "song loses to 2" }, renew("song", { claim(kMedia, 10, true) }));
    EXPECT_EQ(Told{ "alarm loses to 0" }, renew("video", { claim(kMedia, 30, true) }));
    EXPECT_EQ(Told{}, renew("video", {})) << "it is not settled";
    EXPECT_EQ(Told{ "alarm regains by 1" }, settle());
}

TEST_F(FocusArbiterTest, ACallKeepsWhatWasTakenWhileNobodyCouldRefuse)
{
    EXPECT_EQ(Told{}, renew("alarm", { claim(kAlarm, 20, true) }));
    EXPECT_EQ(Told{ "alarm loses to 9" }, renew("phone", { claim(kCall, 10, true) }));
    EXPECT_EQ(Told{ "modem loses to 9" }, renew("modem", { claim(kCall, 15, true) }));
    EXPECT_EQ(Told{}, settle());

    EXPECT_TRUE(isHolder("phone"));
    EXPECT_EQ(Told{ "modem regains by 9" }, forgetClient("phone"));
    EXPECT_EQ(Told{ "alarm regains by 9" }, forgetClient("modem"));
}

} // namespace
