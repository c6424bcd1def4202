#include "StoreStory.h"

#include <algorithm>
#include <app_common.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <ostream>
#include <set>
#include <sstream>
#include <sys/file.h>
#include <tuple>
#include <unistd.h>

namespace {

template <typename Visit>
void forEachRow(sqlite3* store, const char* sql, Visit visit)
{
    sqlite3_stmt* made = nullptr;
    EXPECT_EQ(SQLITE_OK, sqlite3_prepare_v2(store, sql, -1, &made, nullptr))
        << sql << ": " << sqlite3_errmsg(store);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(made, sqlite3_finalize);
    int code = SQLITE_DONE;
    while ((code = sqlite3_step(made)) == SQLITE_ROW)
        visit(made);
    EXPECT_EQ(SQLITE_DONE, code) << sql << ": " << sqlite3_errmsg(store);
}

size_t countDifferent(const std::vector<Row>& rows, int Row::*member)
{
    std::set<int> values;
    for (const Row& row : rows)
        values.insert(row.*member);
    return values.size();
}

} // namespace

bool operator<(const Row& left, const Row& right)
{
    return std::tie(left.id, left.modTime, left.registration)
        < std::tie(right.id, right.modTime, right.registration);
}

bool operator==(const Row& left, const Row& right) { return !(left < right) && !(right < left); }

std::ostream& operator<<(std::ostream& out, const Row& row)
{
    return out << row.id << " of " << row.modTime << ", registered as " << row.registration;
}

std::string storeIn(const std::string& home)
{
    const std::unique_ptr<char, void (*)(void*)> folder(app_get_data_path(), free);
    const std::string own = getenv("ALARM_HOST_HOME");
    return home + std::string(folder.get()).substr(own.size()) + ".alarm.db";
}

Store::Store(const std::string& path)
{
    EXPECT_EQ(SQLITE_OK, sqlite3_open_v2(path.c_str(), &_store, SQLITE_OPEN_READWRITE, nullptr))
        << path << ": " << sqlite3_errmsg(_store);
    sqlite3_busy_timeout(_store, 5000);
}

std::string Store::text(const char* sql)
{
    std::string value;
    forEachRow(_store, sql, [&value](sqlite3_stmt* row) {
        value = reinterpret_cast<const char*>(sqlite3_column_text(row, 0));
    });
    return value;
}

std::vector<Row> Store::rows()
{
    std::vector<Row> all;
    forEachRow(
        _store, "SELECT id, mtime, alarm_mgr_id FROM alarm ORDER BY id", [&all](sqlite3_stmt* row) {
            all.push_back({ sqlite3_column_int(row, 0), sqlite3_column_int(row, 1),
                sqlite3_column_int(row, 2) });
        });
    return all;
}

Gate::Gate(const std::string& path)
    : _path(path)
    , _file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
{
    EXPECT_EQ(0, flock(_file, LOCK_EX)) << path;
}

Gate::~Gate() { close(_file); }

void Gate::letPass() const { flock(_file, LOCK_UN); }

int StoreStory::times()
{
    const char* wanted = getenv("ALARM_TEST_TIMES");
    return wanted ? std::max(1, atoi(wanted)) : 1;
}

void StoreStory::startWriter(Writers& writers, const std::string& home, const Gate& gate, int saves)
{
    HostSession::installProgram("com.velmora.alarm", STORE_WRITER);
    writers.emplace_back(std::vector<std::string>{ "env", "ALARM_HOST_HOME=" + home,
        "ALARM_HOST_LOG=S", STORE_WRITER, gate.path(), std::to_string(saves),
        "writer" + std::to_string(writers.size()) });
}

void StoreStory::waitUntilReady(const Writers& writers)
{
    EXPECT_TRUE(session.waitFor([&writers] {
        return std::all_of(writers.begin(), writers.end(),
            [](const BackgroundCommand& writer) { return writer.output().rfind("ready", 0) == 0; });
    }));
}

std::vector<Row> StoreStory::savedRows(const std::string& output)
{
    std::vector<Row> saved;
    std::istringstream lines(output);
    // A last line without its end is not said.
    for (std::string line; std::getline(lines, line) && !lines.eof();) {
        Row row;
        if (sscanf(line.c_str(), "saved %d %d %d", &row.id, &row.modTime, &row.registration) == 3)
            saved.push_back(row);
    }
    return saved;
}

std::vector<Row> StoreStory::finish(Writers& writers)
{
    std::vector<Row> saved;
    for (BackgroundCommand& writer : writers) {
        const CommandResult result = writer.finish();
        EXPECT_EQ(0, result.status) << result.out << result.err;
        const std::vector<Row> rows = savedRows(result.out);
        saved.insert(saved.end(), rows.begin(), rows.end());
    }
    std::sort(saved.begin(), saved.end());
    return saved;
}

void StoreStory::expectNothingDoubled(const std::vector<Row>& rows)
{
    EXPECT_EQ(rows.size(), countDifferent(rows, &Row::id));
    EXPECT_EQ(rows.size(), countDifferent(rows, &Row::modTime));
    EXPECT_EQ(rows.size(), countDifferent(rows, &Row::registration));
}

void StoreStory::expectSound(Store& store)
{
    EXPECT_EQ("ok", store.text("PRAGMA integrity_check"));
    EXPECT_EQ("2",
        store.text("SELECT count(*) FROM sqlite_master WHERE type = 'table'"
                   " AND name IN ('alarm', 'tone')"));
}
