#include "HostSession.h"
#include "Probing.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vconf.h>
#include <vector>

namespace {

const char* const kKey = "db/test/watched";

// What the callbacks were told, each with the data that it was set with.
std::vector<std::string> told;

void noteCb(keynode_t* node, void* data)
{
    told.push_back(static_cast<const char*>(data) + std::string(vconf_keynode_get_name(node)));
}

void otherCb(keynode_t*, void*) { told.emplace_back("other"); }

void firstCb(keynode_t*, void*) { told.emplace_back("first"); }

void lastCb(keynode_t*, void*) { told.emplace_back("last"); }

// Leaves itself alone.
void replaceOthersCb(keynode_t*, void*)
{
    told.emplace_back("replace");
    vconf_ignore_key_changed(kKey, firstCb);
    vconf_ignore_key_changed(kKey, otherCb);
    vconf_notify_key_changed(kKey, lastCb, nullptr);
}

class VconfWatchTest : public testing::Test {
protected:
    void SetUp() override { told.clear(); }

    void TearDown() override
    {
        for (const vconf_callback_fn callback :
            { noteCb, otherCb, firstCb, lastCb, replaceOthersCb })
            vconf_ignore_key_changed(kKey, callback);
    }

    HostSession session;
    char name[8] = "first ";
};

} // namespace

TEST_F(VconfWatchTest, ItIsToldOfAnotherProcesssWrite)
{
    ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(kKey, noteCb, name));

    probe({ "set", "vconf", kKey, "int", "7" });

    EXPECT_TRUE(session.waitFor([] { return !told.empty(); }));
    EXPECT_EQ("first db/test/watched", told.front());
    int value = 0;
    EXPECT_EQ(VCONF_OK, vconf_get_int(kKey, &value));
    EXPECT_EQ(7, value);
}

TEST_F(VconfWatchTest, EachCallbackOfAKeyIsToldUntilItIsTakenOut)
{
    ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(kKey, noteCb, name));
    ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(kKey, otherCb, nullptr));
    ASSERT_EQ(VCONF_OK, vconf_set_bool(kKey, 1));
    ASSERT_TRUE(session.waitFor([] { return told.size() == 2; }));
    told.clear();

    EXPECT_EQ(VCONF_OK, vconf_ignore_key_changed(kKey, noteCb));
    EXPECT_EQ(VCONF_ERROR, vconf_ignore_key_changed(kKey, noteCb));
    ASSERT_EQ(VCONF_OK, vconf_set_bool(kKey, 0));

    ASSERT_TRUE(session.waitFor([] { return !told.empty(); }));
    EXPECT_EQ(std::vector<std::string>{ "other" }, told);
}

TEST_F(VconfWatchTest, CallbacksAreToldInTheOrderOfSetting)
{
    // Twice, each way round: their addresses have an order too.
    for (const bool isFirst : { true, false }) {
        vconf_notify_key_changed(kKey, isFirst ? firstCb : lastCb, nullptr);
        vconf_notify_key_changed(kKey, otherCb, nullptr);
        vconf_notify_key_changed(kKey, isFirst ? lastCb : firstCb, nullptr);
        told.clear();

        vconf_set_int(kKey, 1);

        ASSERT_TRUE(session.waitFor([] { return told.size() == 3; }));
        EXPECT_EQ(isFirst ? "first" : "last", told.front());
        EXPECT_EQ(isFirst ? "last" : "first", told.back());
        vconf_ignore_key_changed(kKey, firstCb);
        vconf_ignore_key_changed(kKey, otherCb);
        vconf_ignore_key_changed(kKey, lastCb);
    }
}

TEST_F(VconfWatchTest, CallbackTakenOutByAnotherIsNotTold)
{
    vconf_notify_key_changed(kKey, replaceOthersCb, nullptr);
    vconf_notify_key_changed(kKey, firstCb, nullptr);
    vconf_notify_key_changed(kKey, otherCb, nullptr);
    vconf_notify_key_changed("db/test/sentinel", noteCb, name);

    vconf_set_int(kKey, 1);
    vconf_set_int("db/test/sentinel", 1);

    ASSERT_TRUE(
        session.waitFor([] { return !told.empty() && told.back() == "first db/test/sentinel"; }));
    EXPECT_EQ((std::vector<std::string>{ "replace", "first db/test/sentinel" }), told);
    vconf_ignore_key_changed("db/test/sentinel", noteCb);
    told.clear();

    vconf_set_int(kKey, 2);

    ASSERT_TRUE(session.waitFor([] { return told.size() == 2; }));
    EXPECT_EQ((std::vector<std::string>{ "replace", "last" }), told);
}

TEST_F(VconfWatchTest, WrittenValuesAreReadBackByTheirType)
{
    EXPECT_EQ(VCONF_OK, vconf_set_int("db/test/int", -5));
    EXPECT_EQ(VCONF_OK, vconf_set_bool("db/test/bool", 3));
    EXPECT_EQ(VCONF_OK, vconf_set_str("memory/test/text", "velmora"));

    int number = 0;
    EXPECT_EQ(VCONF_OK, vconf_get_int("db/test/int", &number));
    EXPECT_EQ(-5, number);
    EXPECT_EQ(VCONF_OK, vconf_get_bool("db/test/bool", &number));
    EXPECT_EQ(1, number);
    const std::unique_ptr<char, void (*)(void*)> text(vconf_get_str("memory/test/text"), free);
    EXPECT_STREQ("velmora", text.get());
}

TEST_F(VconfWatchTest, MissingArgumentsAreRefused)
{
    EXPECT_EQ(VCONF_ERROR, vconf_set_int(nullptr, 1));
    EXPECT_EQ(VCONF_ERROR, vconf_set_str(kKey, nullptr));
    EXPECT_EQ(VCONF_ERROR, vconf_notify_key_changed(nullptr, noteCb, nullptr));
    EXPECT_EQ(VCONF_ERROR, vconf_notify_key_changed(kKey, nullptr, nullptr));
    EXPECT_EQ(VCONF_ERROR, vconf_ignore_key_changed(kKey, nullptr));
    EXPECT_EQ(nullptr, vconf_keynode_get_name(nullptr));
}
