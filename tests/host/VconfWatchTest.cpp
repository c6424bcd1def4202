#include "host/common/Boundary.h"
#include "host/common/Bus.h"
#include "host/common/Log.h"
#include "HostSession.h"
#include "Probing.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
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

void failingCb(keynode_t*, void*) { throw std::runtime_error("no reason"); }

// What was logged, once the hook is set.
std::vector<std::string> logged;

void noteLine(int, const char*, const char* text) { logged.emplace_back(text); }

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
        host::setLogHook(nullptr);
        for (const vconf_callback_fn callback :
            { noteCb, otherCb, firstCb, lastCb, failingCb, replaceOthersCb })
            vconf_ignore_key_changed(kKey, callback);
    }

    // Returns when the bus has done, and sent, all that it was asked for so far.
    void meetBus() { (void)session.daemonPid(); }

    // Whether the bus sends this process what it announces.
    bool hears(const std::string& key)
    {
        meetBus();
        while (host::bus().processPendingRequest()) {
        }
        vconf_set_int(key.c_str(), 1);
        meetBus();
        return host::bus().processPendingRequest();
    }

    template <typename Key>
    static void announce(const Key& key)
    {
        sdbus::createObject(host::bus(), "/com/velmora/host/Settings")
            ->emitSignal("Changed")
            .onInterface("com.velmora.host.Settings")
            .withArguments("vconf", key);
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

TEST_F(VconfWatchTest, SeveralWritesInATurnAreOneCallInTheOrderOfTheFirst)
{
    vconf_notify_key_changed(kKey, firstCb, nullptr);
    vconf_notify_key_changed("db/test/second", lastCb, nullptr);

    for (int i = 0; i < 3; ++i) {
        vconf_set_int("db/test/second", i);
        vconf_set_int(kKey, i);
    }
    meetBus();

    ASSERT_TRUE(session.waitFor([] { return told.size() == 2; }));
    EXPECT_EQ((std::vector<std::string>{ "last", "first" }), told);
    told.clear();
    vconf_set_int(kKey, 3);
    ASSERT_TRUE(session.waitFor([] { return !told.empty(); }));
    EXPECT_EQ(std::vector<std::string>{ "first" }, told);
    vconf_ignore_key_changed("db/test/second", lastCb);
}

TEST_F(VconfWatchTest, TheBusSendsWhatIsWatchedOnly)
{
    EXPECT_FALSE(hears(kKey));
    vconf_notify_key_changed(kKey, firstCb, nullptr);
    vconf_notify_key_changed(kKey, lastCb, nullptr);
    EXPECT_TRUE(hears(kKey));
    EXPECT_FALSE(hears("db/test/unwatched"));
    vconf_ignore_key_changed(kKey, firstCb);
    EXPECT_TRUE(hears(kKey));
    vconf_ignore_key_changed(kKey, lastCb);
    EXPECT_FALSE(hears(kKey));
}

TEST_F(VconfWatchTest, AnyTextMayBeAKey)
{
    for (const char* key : { "it's", "a\\b", "a,b='c'", "", "Schlüssel ⏰" }) {
        told.clear();
        ASSERT_EQ(VCONF_OK, vconf_notify_key_changed(key, noteCb, name)) << key;
        vconf_set_int("db/test/other", 1);
        vconf_set_int(key, 1);
        EXPECT_TRUE(session.waitFor([] { return !told.empty(); })) << key;
        EXPECT_EQ(std::vector<std::string>{ name + std::string(key) }, told);
        vconf_ignore_key_changed(key, noteCb);
    }
}

TEST_F(VconfWatchTest, WhatACallbackThrowsEndsThatCallOnly)
{
    vconf_notify_key_changed(kKey, failingCb, nullptr);
    vconf_notify_key_changed(kKey, noteCb, name);
    logged.clear();
    host::setLogHook(noteLine);

    vconf_set_int(kKey, 1);

    ASSERT_TRUE(session.waitFor([] { return !told.empty(); }));
    EXPECT_EQ(std::vector<std::string>{ "following db/test/watched failed: no reason" }, logged);
}

TEST_F(VconfWatchTest, ASignalOfAnotherShapeIsLogged)
{
    const char* const key = "it's"; // which the bus cannot tell from others
    vconf_notify_key_changed(key, noteCb, name);
    logged.clear();
    host::setLogHook(noteLine);

    announce(42);
    announce(key);

    ASSERT_TRUE(session.waitFor([] { return !told.empty(); }));
    ASSERT_EQ(1u, logged.size());
    EXPECT_EQ(0u, logged[0].find("a signal about a setting cannot be read: ")) << logged[0];
    vconf_ignore_key_changed(key, noteCb);
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
    const host::CText text(vconf_get_str("memory/test/text"));
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
