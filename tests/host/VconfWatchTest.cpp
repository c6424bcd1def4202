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

class VconfWatchTest : public testing::Test {
protected:
    void SetUp() override { told.clear(); }

    void TearDown() override
    {
        vconf_ignore_key_changed(kKey, noteCb);
        vconf_ignore_key_changed(kKey, otherCb);
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
