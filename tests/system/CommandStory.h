#pragma once

#include "RingStory.h"

#include <AlarmDbModel.h>
#include <app_common.h>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <sqlite3.h>

/// The alarms' file.
inline std::string storePath()
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_data_path(), free);
    return std::string(folder.get()) + ".alarm.db";
}

/// Makes the file one that nobody can read.
inline void spoil(const std::string& path) { std::ofstream(path) << std::string(5000, 'x'); }

/// The alarms' file, in whose place lies for a while what nobody can read. There is no instant
/// without a file: who looks just then would make a new one.
class HiddenStore {
public:
    HiddenStore()
    {
        const std::string spoilt = _path + ".spoilt";
        spoil(spoilt);
        std::filesystem::create_hard_link(_path, _hidden);
        std::filesystem::rename(spoilt, _path);
    }
    HiddenStore(const HiddenStore&) = delete;
    HiddenStore& operator=(const HiddenStore&) = delete;
    ~HiddenStore() { std::filesystem::rename(_hidden, _path); }

private:
    const std::string _path = storePath();
    const std::string _hidden = _path + ".hidden";
};

/// The alarms' file, seen with a connection of its own.
class StoreView {
public:
    StoreView()
    {
        sqlite3_open(storePath().c_str(), &_store);
        sqlite3_busy_timeout(_store, 5000);
    }
    StoreView(const StoreView&) = delete;
    StoreView& operator=(const StoreView&) = delete;
    ~StoreView() { sqlite3_close(_store); }

    /// The rows of a query, its columns with a blank between, its rows with a comma.
    std::string query(const std::string& sql, const std::string& parameter = "")
    {
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(_store, sql.c_str(), -1, &statement, nullptr))
            << sqlite3_errmsg(_store);
        const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owned(
            statement, sqlite3_finalize);
        if (sqlite3_bind_parameter_count(statement) > 0) {
            sqlite3_bind_text(statement, 1, parameter.data(), static_cast<int>(parameter.size()),
                SQLITE_TRANSIENT);
        }
        std::string rows;
        int result = sqlite3_step(statement);
        for (; result == SQLITE_ROW; result = sqlite3_step(statement))
            rows += (rows.empty() ? "" : ",") + _rowOf(statement);
        EXPECT_EQ(SQLITE_DONE, result) << sqlite3_errmsg(_store);
        return rows;
    }

    /// A number that changes when anybody else has written the file.
    std::string version() { return query("PRAGMA data_version"); }

private:
    static std::string _rowOf(sqlite3_stmt* statement)
    {
        std::string row;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
            row += (i > 0 ? " " : "") + std::string(text ? text : "null");
        }
        return row;
    }

    sqlite3* _store = nullptr;
};

/// A story told with the alarm application's commands, and read in the alarms' file.
class CommandStory : public RingStory {
protected:
    static void openStore() { const AlarmDbModel model; }

    CommandStory()
    {
        // The library's log lines would stand between the lines of the commands.
        setenv("ALARM_HOST_LOG", "S", 1);
        openStore(); // makes the file
        openStore(); // marks it with its version
        store = std::make_unique<StoreView>();
    }

    static CommandResult alarm(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "alarm");
        return runCommand(arguments);
    }

    /// What a command that has to succeed prints.
    static std::string alarmOutput(const std::vector<std::string>& arguments)
    {
        const CommandResult result = alarm(arguments);
        EXPECT_EQ(0, result.status) << result.err;
        EXPECT_EQ("", result.err);
        return result.out;
    }

    /// A member of a JSON text, as SQLite reads it.
    std::string member(const std::string& json, const std::string& path)
    {
        return store->query("SELECT json_extract(?, '" + path + "')", json);
    }

    std::unique_ptr<StoreView> store;
};
