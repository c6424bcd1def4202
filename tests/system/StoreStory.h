#pragma once

#include "Command.h"
#include "HostSession.h"

#include <deque>
#include <gtest/gtest.h>
#include <iosfwd>
#include <sqlite3.h>
#include <string>
#include <vector>

/// A stored alarm, as a writer reports it and as the store has it.
struct Row {
    int id = 0;
    int modTime = 0;
    int registration = 0;
};
bool operator<(const Row& left, const Row& right);
bool operator==(const Row& left, const Row& right);
std::ostream& operator<<(std::ostream& out, const Row& row);

/// Where the applications of a state directory have their store.
std::string storeIn(const std::string& home);

/// A connection of the test's own to a store. What goes wrong on it fails the test.
class Store {
public:
    explicit Store(const std::string& path);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    ~Store() { sqlite3_close(_store); }

    /// The first column of the first row.
    std::string text(const char* sql);
    std::vector<Row> rows(); ///< by id

private:
    sqlite3* _store = nullptr;
};

/// A file that holds its waiters back until it lets them pass.
class Gate {
public:
    explicit Gate(const std::string& path);
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;
    ~Gate();

    const std::string& path() const { return _path; }
    void letPass() const;

private:
    std::string _path;
    int _file;
};

/**
 * Processes that save alarms as the applications do. Their state directories are the test's, while
 * the alarm service is the session's.
 */
class StoreStory : public testing::Test {
protected:
    using Writers = std::deque<BackgroundCommand>;

    /// How often a story is to be told that depends on luck: $ALARM_TEST_TIMES, else once.
    static int times();

    static void startWriter(Writers& writers, const std::string& home, const Gate& gate, int saves);
    /// Waits until all are at the gate.
    void waitUntilReady(const Writers& writers);
    /// What a writer says that it has saved.
    static std::vector<Row> savedRows(const std::string& output);
    /// What all of them have saved; they must all end well.
    static std::vector<Row> finish(Writers& writers);

    static void expectNothingDoubled(const std::vector<Row>& rows);
    static void expectSound(Store& store);

    HostSession session;
};
