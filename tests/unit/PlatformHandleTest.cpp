#include "PlatformHandle.h"

#include "AppControlDouble.h"

#include <gtest/gtest.h>
#include <type_traits>
#include <vector>

namespace {
std::vector<int> released;

void release(int* handle) { released.push_back(*handle); }

using Handle = PlatformHandle<int*, release>;

class PlatformHandleTest : public testing::Test {
protected:
    PlatformHandleTest() { released.clear(); }

    int first = 1;
    int second = 2;
};
} // namespace

TEST_F(PlatformHandleTest, ReleasesWhatItHoldsOnce)
{
    {
        const Handle handle(&first);
        EXPECT_EQ(&first, handle.get());
        EXPECT_TRUE(released.empty());
    }
    EXPECT_EQ(std::vector<int>({ 1 }), released);
}

TEST_F(PlatformHandleTest, HoldsNothingAtFirstAndThenReleasesNothing)
{
    {
        const Handle handle;
        EXPECT_EQ(nullptr, handle.get());
    }
    EXPECT_TRUE(released.empty());
}

TEST_F(PlatformHandleTest, ResetReleasesAndHoldsNothing)
{
    Handle handle(&first);

    handle.reset();
    handle.reset();

    EXPECT_EQ(nullptr, handle.get());
    EXPECT_EQ(std::vector<int>({ 1 }), released);
}

TEST_F(PlatformHandleTest, OutReleasesTheOldHandleBeforeItTakesTheNew)
{
    Handle handle(&first);

    *handle.out() = &second;

    EXPECT_EQ(&second, handle.get());
    EXPECT_EQ(std::vector<int>({ 1 }), released);
}

TEST_F(PlatformHandleTest, InoutKeepsTheHandleAndLetsACallClearIt)
{
    {
        Handle handle(&first);
        EXPECT_EQ(&first, *handle.inout());
        EXPECT_TRUE(released.empty());
        *handle.inout() = nullptr;
    }
    EXPECT_TRUE(released.empty());
}

TEST_F(PlatformHandleTest, CannotBeCopied)
{
    static_assert(!std::is_copy_constructible_v<Handle>);
    static_assert(!std::is_copy_assignable_v<Handle>);
}

TEST_F(PlatformHandleTest, AnAppControlIsDestroyed)
{
    appControlDouble() = {};
    {
        AppControl control;
        app_control_create(control.out());
        EXPECT_EQ(1u, appControlDouble().alive.size());
    }
    EXPECT_TRUE(appControlDouble().alive.empty());
    EXPECT_EQ(0, appControlDouble().wronglyDestroyed);
}

TEST_F(PlatformHandleTest, AStatementIsFinalized)
{
    sqlite3* connection = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(":memory:", &connection));
    {
        Statement stmt;
        ASSERT_EQ(SQLITE_OK, sqlite3_prepare_v2(connection, "SELECT 1", -1, stmt.out(), nullptr));
        EXPECT_EQ(stmt.get(), sqlite3_next_stmt(connection, nullptr));
    }
    EXPECT_EQ(nullptr, sqlite3_next_stmt(connection, nullptr));
    EXPECT_EQ(SQLITE_OK, sqlite3_close(connection));
}

TEST_F(PlatformHandleTest, ATextOfSqliteIsFreed)
{
    const sqlite3_int64 before = sqlite3_memory_used();
    {
        const SqliteText text(sqlite3_mprintf("%s", "a text"));
        EXPECT_STREQ("a text", text.get());
        EXPECT_GT(sqlite3_memory_used(), before);
    }
    EXPECT_EQ(before, sqlite3_memory_used());
}
