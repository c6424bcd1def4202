#include "host/common/Session.h"
#include "host/common/SettingsStore.h"
#include "HostSession.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <system_info.h>

namespace {

const char* const kSpeaker = "http://developer.velmora.com/tizen/feature/speaker";
const char* const kShowcase = "http://developer.velmora.com/tizen/system/showcase";

class SystemInfoTest : public testing::Test {
protected:
    HostSession session;
};

bool ask(const char* key)
{
    bool value = false;
    EXPECT_EQ(SYSTEM_INFO_ERROR_NONE, system_info_get_custom_bool(key, &value));
    return value;
}

TEST_F(SystemInfoTest, BadArgumentsAreRefused)
{
    bool value = true;
    EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_custom_bool(nullptr, &value));
    EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_custom_bool(kSpeaker, nullptr));
    EXPECT_EQ(SYSTEM_INFO_ERROR_INVALID_PARAMETER, system_info_get_custom_bool("wings", &value));
    EXPECT_TRUE(value);
}

TEST_F(SystemInfoTest, AWatchHasASpeakerAndIsNotOnShow)
{
    EXPECT_TRUE(ask(kSpeaker));
    EXPECT_FALSE(ask(kShowcase));
}

TEST_F(SystemInfoTest, AnswersByTheProfileOfTheMoment)
{
    ASSERT_EQ(0, system("hostctl device --no-speaker"));
    EXPECT_FALSE(ask(kSpeaker));
    ASSERT_EQ(0, system("hostctl device --speaker"));
    EXPECT_TRUE(ask(kSpeaker));

    host::SettingsStore::session().write("device", "showcase", true);
    EXPECT_TRUE(ask(kShowcase));
}

TEST_F(SystemInfoTest, AnUnreadableStoreIsAnError)
{
    host::SettingsStore::session();
    const std::string command = "sqlite3 " + host::homePath() + "settings.db 'DROP TABLE setting'";
    ASSERT_EQ(0, system(command.c_str()));

    bool value = true;
    EXPECT_EQ(SYSTEM_INFO_ERROR_IO_ERROR, system_info_get_custom_bool(kShowcase, &value));
    EXPECT_TRUE(value);
}

} // namespace
