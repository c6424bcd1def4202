#include "host/common/Bus.h"
#include "HostSession.h"
#include "Probing.h"

#include <app_preference.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

const char* const kPackage = "com.velmora.alarm";

// What a callback was told.
std::vector<std::string> told;

void noteCb(const char* key, void* data)
{
    told.push_back(std::string(static_cast<const char*>(data)) + ":" + key);
}

class PreferenceWatchTest : public testing::Test {
protected:
    void SetUp() override { told.clear(); }

    void TearDown() override
    {
        preference_unset_changed_cb("watched");
        preference_unset_changed_cb("other");
    }

    void watch(const char* name = "first", const char* key = "watched")
    {
        ASSERT_EQ(
            PREFERENCE_ERROR_NONE, preference_set_changed_cb(key, noteCb, const_cast<char*>(name)));
    }

    // Whatever had to be told has been told when the news of a later write has come.
    void expectTold(const std::vector<std::string>& expected)
    {
        static char last[] = "last";
        preference_set_changed_cb("sentinel", noteCb, last);
        preference_set_int("sentinel", 1);
        EXPECT_TRUE(
            session.waitFor([] { return !told.empty() && told.back() == "last:sentinel"; }));
        told.pop_back();
        EXPECT_EQ(expected, told);
        preference_unset_changed_cb("sentinel");
    }

    HostSession session;
};

} // namespace

TEST_F(PreferenceWatchTest, ItIsToldOfAnotherProcesssWrite)
{
    watch();

    probe({ "set", kPackage, "watched", "int", "1" });

    EXPECT_TRUE(told.empty());
    EXPECT_TRUE(session.waitFor([] { return !told.empty(); }));
    expectTold({ "first:watched" });
}

TEST_F(PreferenceWatchTest, ItIsToldOfItsOwnWriteFromTheMainLoop)
{
    watch();

    preference_set_int("watched", 1);

    EXPECT_TRUE(told.empty());
    expectTold({ "first:watched" });
}

TEST_F(PreferenceWatchTest, ItIsToldOfItsKeyOnly)
{
    watch();

    preference_set_int("watched2", 1);
    session.setKey("watched", 1);
    probe({ "set", "com.velmora.other", "watched", "int", "1" });

    expectTold({});
}

TEST_F(PreferenceWatchTest, EveryKeyHasItsOwnCallback)
{
    watch("first", "watched");
    watch("second", "other");

    preference_set_int("other", 1);
    preference_set_int("watched", 1);

    expectTold({ "second:other", "first:watched" });
}

TEST_F(PreferenceWatchTest, ASecondCallbackReplacesTheFirst)
{
    watch("first");
    watch("second");

    preference_set_int("watched", 1);

    expectTold({ "second:watched" });
}

TEST_F(PreferenceWatchTest, AnUnsetCallbackIsNotToldWhatIsOnItsWay)
{
    watch();
    preference_set_int("watched", 1);

    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_unset_changed_cb("watched"));

    expectTold({});
    EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_unset_changed_cb("watched"));
}

TEST_F(PreferenceWatchTest, ACallbackMayUnsetItself)
{
    preference_set_changed_cb(
        "watched",
        [](const char* key, void*) {
            preference_unset_changed_cb(key);
            told.push_back(key);
        },
        nullptr);

    preference_set_int("watched", 1);
    preference_set_int("watched", 2);

    expectTold({ "watched" });
}

TEST_F(PreferenceWatchTest, ASignalOfAnotherShapeIsIgnored)
{
    watch();

    sdbus::createObject(host::bus(), "/com/velmora/host/Settings")
        ->emitSignal("Changed")
        .onInterface("com.velmora.host.Settings")
        .withArguments(42);
    preference_set_int("watched", 1);

    expectTold({ "first:watched" });
}
