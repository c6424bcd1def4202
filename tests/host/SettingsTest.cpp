#include "host/common/Boundary.h"
#include "host/common/Session.h"
#include "HostSession.h"
#include "Probing.h"
#include "TempDir.h"

#include <algorithm>
#include <app_preference.h>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vconf.h>

namespace fs = std::filesystem;

namespace {

const char* const kPackage = "com.velmora.alarm";
const int kUntouched = 4711;

std::optional<std::string> textUnder(const char* key)
{
    const host::CText text(vconf_get_str(key));
    return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

bool isSet(const char* key)
{
    return host::SettingsStore::session().read("vconf", key).has_value();
}

void ignoreCb(const char*, void*) {}

class SettingsTest : public testing::Test {
protected:
    // Own directories, for a store that is not the session's.
    Environment elsewhere() const
    {
        return { { "ALARM_HOST_HOME", directory.file("home") },
            { "ALARM_HOST_RUNTIME", directory.file("runtime") } };
    }

    HostSession session;
    TempDir directory;
};

struct TypeCase {
    const char* name;
    host::SettingValue stored;
    std::optional<int> asInt, asBool;
    std::optional<std::string> asText;
};

class VconfTypeTest : public SettingsTest, public testing::WithParamInterface<TypeCase> {};

} // namespace

TEST_P(VconfTypeTest, IsNotConverted)
{
    const TypeCase& c = GetParam();
    session.setKey("db/test/typed", c.stored);
    int number = kUntouched;
    int flag = kUntouched;

    EXPECT_EQ(c.asInt ? VCONF_OK : VCONF_ERROR, vconf_get_int("db/test/typed", &number));
    EXPECT_EQ(c.asBool ? VCONF_OK : VCONF_ERROR, vconf_get_bool("db/test/typed", &flag));
    EXPECT_EQ(c.asText, textUnder("db/test/typed"));

    EXPECT_EQ(c.asInt.value_or(kUntouched), number);
    EXPECT_EQ(c.asBool.value_or(kUntouched), flag);
}

INSTANTIATE_TEST_SUITE_P(Table, VconfTypeTest,
    testing::Values(TypeCase{ "Int", 42, 42, {}, {} }, TypeCase{ "Zero", 0, 0, {}, {} },
        TypeCase{ "Negative", -7, -7, {}, {} }, TypeCase{ "Lowest", INT32_MIN, INT32_MIN, {}, {} },
        TypeCase{ "Highest", INT32_MAX, INT32_MAX, {}, {} }, TypeCase{ "True", true, {}, 1, {} },
        TypeCase{ "False", false, {}, 0, {} }, TypeCase{ "Text", "velmora", {}, {}, "velmora" },
        TypeCase{ "EmptyText", "", {}, {}, "" }, TypeCase{ "TextOfDigits", "42", {}, {}, "42" },
        TypeCase{ "Utf8", "Schlüssel ⏰", {}, {}, "Schlüssel ⏰" }),
    [](const auto& row) { return row.param.name; });

TEST_F(SettingsTest, AnUnsetKeyIsAnError)
{
    int value = kUntouched;

    EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/test/unset", &value));
    EXPECT_EQ(VCONF_ERROR, vconf_get_bool("db/test/unset", &value));
    EXPECT_EQ(std::nullopt, textUnder("db/test/unset"));
    EXPECT_EQ(kUntouched, value);
}

TEST_F(SettingsTest, VconfNeedsItsArguments)
{
    session.setKey("db/test/int", 1);
    session.setKey("db/test/bool", true);
    int value = kUntouched;

    EXPECT_EQ(VCONF_ERROR, vconf_get_int(nullptr, &value));
    EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/test/int", nullptr));
    EXPECT_EQ(VCONF_ERROR, vconf_get_bool(nullptr, &value));
    EXPECT_EQ(VCONF_ERROR, vconf_get_bool("db/test/bool", nullptr));
    EXPECT_EQ(nullptr, vconf_get_str(nullptr));
    EXPECT_EQ(kUntouched, value);
}

TEST_F(SettingsTest, AnotherTypeReplacesAValue)
{
    session.setKey("db/test/key", 1);
    session.setKey("db/test/key", "text");
    int value = kUntouched;

    EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/test/key", &value));
    EXPECT_EQ("text", textUnder("db/test/key"));
}

TEST_F(SettingsTest, AnErasedKeyIsUnset)
{
    session.setKey("db/test/key", 1);

    EXPECT_TRUE(host::SettingsStore::session().erase("vconf", "db/test/key"));
    EXPECT_FALSE(host::SettingsStore::session().erase("vconf", "db/test/key"));

    int value = kUntouched;
    EXPECT_EQ(VCONF_ERROR, vconf_get_int("db/test/key", &value));
}

TEST_F(SettingsTest, AListShowsBothKindsOfKeys)
{
    host::SettingsStore& store = host::SettingsStore::session();
    session.setKey("db/test/a", 1);
    session.setKey("memory/test/b", true);
    preference_set_int("c", 3);

    const auto keys = store.list("vconf");
    const auto preferences = store.list(kPackage);

    using Item = std::pair<std::string, host::SettingValue>;
    EXPECT_EQ(1, std::count(keys.begin(), keys.end(), Item("db/test/a", 1)));
    EXPECT_EQ(1, std::count(keys.begin(), keys.end(), Item("memory/test/b", true)));
    EXPECT_EQ(0, std::count(keys.begin(), keys.end(), Item("c", 3)));
    EXPECT_EQ(1, std::count(preferences.begin(), preferences.end(), Item("c", 3)));
    EXPECT_TRUE(store.list("com.velmora.nobody").empty());
}

TEST_F(SettingsTest, AnotherProcessSeesAValueAtOnce)
{
    session.setKey("db/test/key", "from here");
    EXPECT_EQ("str:from here", probe({ "get", "vconf", "db/test/key" }));

    probe({ "set", "vconf", "db/test/key", "int", "5" });
    int value = kUntouched;
    EXPECT_EQ(VCONF_OK, vconf_get_int("db/test/key", &value));
    EXPECT_EQ(5, value);
}

TEST_F(SettingsTest, AReadFollowsEveryWriteOfAnotherProcess)
{
    for (const char* key : { "db/test/followed", "memory/test/followed" }) {
        for (int written = 0; written < 20; ++written) {
            int value = kUntouched;
            EXPECT_EQ(VCONF_ERROR, vconf_get_int(key, &value));
            probe({ "set", "vconf", key, "int", std::to_string(written) });
            EXPECT_EQ(VCONF_OK, vconf_get_int(key, &value));
            EXPECT_EQ(written, value);
            EXPECT_EQ(0, runCommand({ "hostctl", "key", "unset", key }).status);
        }
    }
}

TEST_F(SettingsTest, ThreadsReadWhileAnotherOneWrites)
{
    const auto read = [](int from) {
        for (int round = 0; round < 300; ++round) {
            int value = kUntouched;
            vconf_get_int(("db/test/" + std::to_string(from + round % 20)).c_str(), &value);
            vconf_get_int("memory/test/shared", &value);
        }
    };
    std::thread first(read, 0);
    std::thread second(read, 10);
    for (int round = 0; round < 30; ++round)
        host::SettingsStore::session().write("vconf", "db/test/" + std::to_string(round), round);
    first.join();
    second.join();

    for (int round = 0; round < 30; ++round) {
        int value = kUntouched;
        EXPECT_EQ(VCONF_OK, vconf_get_int(("db/test/" + std::to_string(round)).c_str(), &value));
        EXPECT_EQ(round, value);
    }
}

TEST_F(SettingsTest, AReadFollowsAWriteFromOutsideThePlatform)
{
    session.setKey("db/test/key", "before");
    EXPECT_EQ("before", textUnder("db/test/key"));

    const std::string file = host::homePath() + "settings.db";
    const char* const sql = "UPDATE setting SET value = 'after' WHERE key = 'db/test/key';"
                            "PRAGMA wal_checkpoint(TRUNCATE);";
    // Not busy: the read that came before holds no lock.
    EXPECT_EQ("0|0|0\n", runCommand({ "sqlite3", file, sql }).out);

    EXPECT_EQ("after", textUnder("db/test/key"));
    session.setKey("db/test/key", "later");
    EXPECT_EQ("later", textUnder("db/test/key"));
}

TEST_F(SettingsTest, MemoryKeysEndWithTheSession)
{
    session.setKey("memory/test/key", 1);
    session.setKey("db/test/key", 2);
    const Environment next = { { "ALARM_HOST_RUNTIME", directory.file("runtime") } };

    EXPECT_EQ("int:1", probe({ "get", "vconf", "memory/test/key" }));
    EXPECT_EQ("none", probe({ "get", "vconf", "memory/test/key" }, next));
    EXPECT_EQ("int:2", probe({ "get", "vconf", "db/test/key" }, next));
}

TEST_F(SettingsTest, APreferenceThatBeginsWithMemoryLasts)
{
    ASSERT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("memory/key", 1));

    EXPECT_EQ("int:1",
        probe({ "get", kPackage, "memory/key" },
            { { "ALARM_HOST_RUNTIME", directory.file("runtime") } }));
}

TEST_F(SettingsTest, APreferenceIsSetAndRead)
{
    int value = kUntouched;
    bool existing = false;

    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("key", -5));
    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("key", &value));
    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_is_existing("key", &existing));

    EXPECT_EQ(-5, value);
    EXPECT_TRUE(existing);
    EXPECT_EQ(host::SettingValue(-5), session.preference("key"));
    EXPECT_EQ("int:-5", probe({ "get", kPackage, "key" }));
}

TEST_F(SettingsTest, AnAbsentPreferenceIsNotExisting)
{
    int value = kUntouched;
    bool existing = true;

    EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_get_int("absent", &value));
    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_is_existing("absent", &existing));

    EXPECT_EQ(kUntouched, value);
    EXPECT_FALSE(existing);
    EXPECT_EQ(-17825744, PREFERENCE_ERROR_NO_KEY);
}

TEST_F(SettingsTest, APreferenceOfAnotherTypeIsNoInt)
{
    probe({ "set", kPackage, "key", "str", "7" });
    int value = kUntouched;
    bool existing = false;

    EXPECT_EQ(PREFERENCE_ERROR_INVALID_PARAMETER, preference_get_int("key", &value));
    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_is_existing("key", &existing));
    EXPECT_EQ(kUntouched, value);
    EXPECT_TRUE(existing);

    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("key", 8));
    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("key", &value));
    EXPECT_EQ(8, value);
}

TEST_F(SettingsTest, PreferencesNeedTheirArguments)
{
    preference_set_int("key", 1);
    int value = kUntouched;
    bool existing = true;
    const int invalid = PREFERENCE_ERROR_INVALID_PARAMETER;

    EXPECT_EQ(invalid, preference_is_existing(nullptr, &existing));
    EXPECT_EQ(invalid, preference_is_existing("key", nullptr));
    EXPECT_EQ(invalid, preference_get_int(nullptr, &value));
    EXPECT_EQ(invalid, preference_get_int("key", nullptr));
    EXPECT_EQ(invalid, preference_set_int(nullptr, 1));
    EXPECT_EQ(invalid, preference_set_changed_cb(nullptr, ignoreCb, nullptr));
    EXPECT_EQ(invalid, preference_set_changed_cb("key", nullptr, nullptr));
    EXPECT_EQ(invalid, preference_unset_changed_cb(nullptr));
    EXPECT_EQ(PREFERENCE_ERROR_NO_KEY, preference_unset_changed_cb("key"));
    EXPECT_EQ(kUntouched, value);
    EXPECT_TRUE(existing);
}

TEST_F(SettingsTest, EachPackageHasItsOwnPreferences)
{
    preference_set_int("key", 1);
    session.setKey("key", 2);
    probe({ "set", "com.velmora.other", "key", "int", "3" });

    int value = kUntouched;
    EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_get_int("key", &value));
    EXPECT_EQ(1, value);
    EXPECT_EQ("int:3", probe({ "get", "com.velmora.other", "key" }));
}

TEST_F(SettingsTest, AProgramWithoutAPackageHasNoPreferences)
{
    EXPECT_EQ("-1 -1 - -5 -5 -5 untouched",
        probe({ "failures" }, { { "ALARM_HOST_PACKAGE", std::nullopt } }));
}

TEST_F(SettingsTest, AStoreThatIsNoDatabaseIsUnreadable)
{
    fs::create_directory(directory.file("home"));
    std::ofstream(directory.file("home/settings.db")) << std::string(8192, 'x');

    EXPECT_EQ("-1 -1 - -5 -5 -5 untouched", probe({ "failures" }, elsewhere()));
}

TEST_F(SettingsTest, AStoreThatCannotBeOpenedIsUnreadable)
{
    fs::create_directories(directory.file("home/settings.db"));

    EXPECT_EQ("-1 -1 - -5 -5 -5 untouched", probe({ "failures" }, elsewhere()));
}

TEST_F(SettingsTest, AStateDirectoryThatCannotBeMadeIsUnreadable)
{
    std::ofstream(directory.file("home")) << "a file";

    EXPECT_EQ("-1 -1 - -5 -5 -5 untouched", probe({ "failures" }, elsewhere()));
}

TEST_F(SettingsTest, ItsFilesAreTheUsersAlone)
{
    session.setKey("db/test/key", 1);
    session.setKey("memory/test/key", 1);

    for (const std::string& file :
        { host::homePath() + "settings.db", host::runtimePath() + "memory.db" }) {
        for (const char* ending : { "", "-wal", "-shm" }) {
            const fs::perms mode = fs::status(file + ending).permissions();
            EXPECT_EQ(fs::perms::owner_read | fs::perms::owner_write, mode) << file + ending;
        }
    }
}

TEST_F(SettingsTest, AStoreIsNoLink)
{
    fs::create_directory(directory.file("home"));
    fs::create_symlink(directory.file("elsewhere"), directory.file("home/settings.db"));

    Environment changes = elsewhere();
    changes["ALARM_HOST_LOG"] = "E";

    const CommandResult result = runCommand(probeCommand({ "failures" }, changes));

    EXPECT_EQ("-1 -1 - -5 -5 -5 untouched", result.out);
    EXPECT_NE(std::string::npos, result.err.find("home/settings.db is not used: it is a link"))
        << result.err;
    EXPECT_FALSE(fs::exists(directory.file("elsewhere")));
}

TEST_F(SettingsTest, WithoutABusAWriteIsStoredAllTheSame)
{
    const Environment noBus = { { "DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent" } };

    probe({ "set", "vconf", "db/test/key", "int", "1" }, noBus);

    EXPECT_EQ("int:1", probe({ "get", "vconf", "db/test/key" }));
}

TEST_F(SettingsTest, ProcessesThatMakeTheStoreTogetherLoseNothing)
{
    const int processes = 8;
    for (int round = 0; round < 5; ++round) {
        const TempDir place;
        const Environment store = { { "ALARM_HOST_HOME", place.file("home") },
            { "ALARM_HOST_RUNTIME", place.file("runtime") }, { "PROBE_GATE", place.file("gate") } };
        std::vector<std::unique_ptr<BackgroundCommand>> children;
        for (int i = 0; i < processes; ++i) {
            const std::string prefix = (i % 2 == 0 ? "db/" : "memory/") + std::to_string(i) + "/";
            children.push_back(std::make_unique<BackgroundCommand>(
                probeCommand({ "count", "vconf", prefix, "3", "0" }, store)));
        }
        for (const auto& child : children)
            ASSERT_TRUE(session.waitFor([&] { return child->output() == "ready\n"; }));
        std::ofstream(place.file("gate")) << "go";
        for (const auto& child : children) {
            const CommandResult result = child->finish();
            EXPECT_EQ(0, result.status) << result.err;
        }
        for (int i = 0; i < processes; ++i) {
            const std::string prefix = (i % 2 == 0 ? "db/" : "memory/") + std::to_string(i) + "/";
            EXPECT_EQ("int:2", probe({ "get", "vconf", prefix + "2" }, store).substr(6));
        }
    }
}

TEST_F(SettingsTest, TwoProcessesThatWriteAtOnceLoseNothing)
{
    const Environment gate = { { "PROBE_GATE", directory.file("gate") } };
    BackgroundCommand one(probeCommand({ "count", "vconf", "db/one/", "200", "0" }, gate));
    BackgroundCommand two(probeCommand({ "count", "vconf", "db/two/", "200", "1000" }, gate));
    BackgroundCommand both(probeCommand({ "count", "vconf", "db/one/", "200", "5000" }, gate));
    for (const BackgroundCommand* child : { &one, &two, &both })
        ASSERT_TRUE(session.waitFor([&] { return child->output() == "ready\n"; }));

    std::ofstream(directory.file("gate")) << "go";
    for (BackgroundCommand* child : { &one, &two, &both }) {
        const CommandResult result = child->finish();
        EXPECT_EQ("ready\ndone\n", result.out) << result.err;
    }

    for (int i = 0; i < 200; ++i) {
        int value = kUntouched;
        ASSERT_EQ(VCONF_OK, vconf_get_int(("db/two/" + std::to_string(i)).c_str(), &value));
        EXPECT_EQ(1000 + i, value);
        ASSERT_EQ(VCONF_OK, vconf_get_int(("db/one/" + std::to_string(i)).c_str(), &value));
        EXPECT_TRUE(value == i || value == 5000 + i) << value;
    }
}

TEST_F(SettingsTest, AReaderNeverSeesHalfAWrite)
{
    BackgroundCommand writer(probeCommand({ "flip", "vconf", "db/test/flip" }));
    const std::string text(100000, 'x');
    int texts = 0;
    int numbers = 0;

    EXPECT_TRUE(session.waitFor(
        [&] {
            const auto value = host::SettingsStore::session().read("vconf", "db/test/flip");
            if (value && std::holds_alternative<std::string>(*value)) {
                EXPECT_EQ(text, std::get<std::string>(*value));
                ++texts;
            } else if (value) {
                EXPECT_EQ(host::SettingValue(1), *value);
                ++numbers;
            }
            return testing::Test::HasFailure() || (texts >= 20 && numbers >= 20);
        },
        30));
}

TEST_F(SettingsTest, AStoreOutlivesAWriterThatIsKilled)
{
    for (int round = 0; round < 5; ++round) {
        host::SettingsStore::session().erase("vconf", "db/test/flip");
        BackgroundCommand writer(probeCommand({ "flip", "vconf", "db/test/flip" }));
        ASSERT_TRUE(session.waitFor([] { return isSet("db/test/flip"); }));
        writer.signal(SIGKILL);
        EXPECT_EQ(128 + SIGKILL, writer.finish().status);

        EXPECT_TRUE(isSet("db/test/flip"));
        EXPECT_EQ(PREFERENCE_ERROR_NONE, preference_set_int("round", round));
    }
}
