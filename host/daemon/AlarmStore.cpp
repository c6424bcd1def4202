#include "host/daemon/AlarmStore.h"

#include "host/common/Log.h"

#include <algorithm>
#include <filesystem>
#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>

namespace fs = std::filesystem;

namespace host {

namespace {

const int kBusyMilliseconds = 5000;

const char* const kSchema = R"(
    CREATE TABLE IF NOT EXISTS alarms (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        package TEXT NOT NULL,
        application TEXT NOT NULL,
        request TEXT NOT NULL,
        hour INTEGER NOT NULL,
        minute INTEGER NOT NULL,
        second INTEGER NOT NULL,
        week_flag INTEGER NOT NULL,
        year INTEGER NOT NULL,
        month INTEGER NOT NULL,
        day INTEGER NOT NULL,
        since INTEGER NOT NULL,
        fired INTEGER NOT NULL,
        due INTEGER NOT NULL,
        round INTEGER NOT NULL);
    CREATE INDEX IF NOT EXISTS alarms_due ON alarms (due, id);
    CREATE TABLE IF NOT EXISTS tray (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        posted INTEGER NOT NULL,
        text TEXT NOT NULL);
)";

const std::string kSelect = "SELECT id, package, application, request, hour, minute, second,"
                            " week_flag, year, month, day, since, fired, due, round FROM alarms ";

Alarm readAlarm(SQLite::Statement& row)
{
    Alarm alarm;
    alarm.id = row.getColumn(0).getInt();
    alarm.package = row.getColumn(1).getString();
    alarm.application = row.getColumn(2).getString();
    alarm.request = row.getColumn(3).getString();
    alarm.time.hour = row.getColumn(4).getInt();
    alarm.time.minute = row.getColumn(5).getInt();
    alarm.time.second = row.getColumn(6).getInt();
    alarm.time.weekSet = row.getColumn(7).getInt();
    if (row.getColumn(10).getInt() != 0) {
        alarm.time.firstDay = cctz::civil_day(
            row.getColumn(8).getInt(), row.getColumn(9).getInt(), row.getColumn(10).getInt());
    }
    alarm.since = row.getColumn(11).getInt64();
    alarm.fired = row.getColumn(12).getInt64();
    alarm.due = row.getColumn(13).getInt64();
    alarm.round = row.getColumn(14).getInt();
    return alarm;
}

SQLite::Database openChecked(const std::string& path)
{
    SQLite::Database db(path, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, kBusyMilliseconds);
    db.exec("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
    const std::string state = db.execAndGet("PRAGMA quick_check(1)").getString();
    if (state != "ok")
        throw SQLite::Exception(state, SQLITE_CORRUPT);
    db.exec(kSchema);
    return db;
}

std::string moveAside(const std::string& path)
{
    int number = 1;
    while (fs::exists(path + ".damaged-" + std::to_string(number)))
        ++number;
    const std::string suffix = ".damaged-" + std::to_string(number);
    // The file itself last: as long as it is there, the next start tries again.
    for (const char* part : { "-wal", "-shm", "" }) {
        if (fs::exists(path + part))
            fs::rename(path + part, path + suffix + part);
    }
    return path + suffix;
}

SQLite::Database open(const std::string& path, std::int64_t now)
{
    try {
        return openChecked(path);
    } catch (const SQLite::Exception& error) {
        const int code = error.getErrorCode();
        if (code != SQLITE_CORRUPT && code != SQLITE_NOTADB)
            throw;
        logError("The registered alarms are lost: " + path + " is damaged (" + error.what()
            + "); it was moved to " + moveAside(path));
    }
    SQLite::Database db = openChecked(path);
    // Applications may hold ids of the lost alarms. The minute is above them: ids are counted from
    // one, or from the minute of an earlier loss.
    SQLite::Statement insert(db, "INSERT INTO sqlite_sequence (name, seq) VALUES ('alarms', ?)");
    insert.bind(1, std::max<std::int64_t>(now / 60, 0));
    insert.exec();
    return db;
}

} // namespace

AlarmStore::AlarmStore(const std::string& path, std::int64_t now)
    : _db(open(path, now))
{
}

int AlarmStore::add(const Alarm& alarm)
{
    SQLite::Statement insert(_db,
        "INSERT INTO alarms (package, application, request, hour, minute, second, week_flag,"
        " year, month, day, since, fired, due, round)"
        " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.bind(1, alarm.package);
    insert.bind(2, alarm.application);
    insert.bind(3, alarm.request);
    insert.bind(4, alarm.time.hour);
    insert.bind(5, alarm.time.minute);
    insert.bind(6, alarm.time.second);
    insert.bind(7, alarm.time.weekSet);
    const auto& first = alarm.time.firstDay;
    insert.bind(8, first ? static_cast<int>(first->year()) : 0);
    insert.bind(9, first ? first->month() : 0);
    insert.bind(10, first ? first->day() : 0);
    insert.bind(11, alarm.since);
    insert.bind(12, alarm.fired);
    insert.bind(13, alarm.due);
    insert.bind(14, alarm.round);
    insert.exec();
    return static_cast<int>(_db.getLastInsertRowid());
}

bool AlarmStore::remove(int id)
{
    SQLite::Statement erase(_db, "DELETE FROM alarms WHERE id = ?");
    erase.bind(1, id);
    return erase.exec() > 0;
}

bool AlarmStore::remove(int id, const std::string& package)
{
    SQLite::Statement erase(_db, "DELETE FROM alarms WHERE id = ? AND package = ?");
    erase.bind(1, id);
    erase.bind(2, package);
    return erase.exec() > 0;
}

void AlarmStore::updateTimes(const Alarm& alarm)
{
    SQLite::Statement update(
        _db, "UPDATE alarms SET since = ?, fired = ?, due = ?, round = ? WHERE id = ?");
    update.bind(1, alarm.since);
    update.bind(2, alarm.fired);
    update.bind(3, alarm.due);
    update.bind(4, alarm.round);
    update.bind(5, alarm.id);
    update.exec();
}

std::optional<Alarm> AlarmStore::find(int id)
{
    SQLite::Statement select(_db, kSelect + "WHERE id = ?");
    select.bind(1, id);
    if (!select.executeStep())
        return std::nullopt;
    return readAlarm(select);
}

std::vector<Alarm> AlarmStore::all()
{
    std::vector<Alarm> alarms;
    SQLite::Statement select(_db, kSelect + "ORDER BY due, id");
    while (select.executeStep())
        alarms.push_back(readAlarm(select));
    return alarms;
}

void AlarmStore::visitDue(std::int64_t until, const std::function<bool(const Alarm&)>& visit)
{
    SQLite::Statement select(_db, kSelect + "WHERE due <= ? ORDER BY due, id");
    select.bind(1, until);
    while (select.executeStep()) {
        if (!visit(readAlarm(select)))
            return;
    }
}

std::optional<std::int64_t> AlarmStore::earliestDueAfter(std::int64_t instant)
{
    SQLite::Statement select(_db, "SELECT min(due) FROM alarms WHERE due > ?");
    select.bind(1, instant);
    if (!select.executeStep() || select.getColumn(0).isNull())
        return std::nullopt;
    return select.getColumn(0).getInt64();
}

void AlarmStore::post(const TrayEntry& entry)
{
    SQLite::Statement insert(_db, "INSERT INTO tray (posted, text) VALUES (?, ?)");
    insert.bind(1, entry.posted);
    insert.bind(2, entry.text);
    insert.exec();
}

std::vector<TrayEntry> AlarmStore::tray()
{
    std::vector<TrayEntry> entries;
    SQLite::Statement select(_db, "SELECT posted, text FROM tray ORDER BY id");
    while (select.executeStep())
        entries.push_back({ select.getColumn(0).getInt64(), select.getColumn(1).getString() });
    return entries;
}

void AlarmStore::transaction(const std::function<void()>& change)
{
    SQLite::Transaction transaction(_db);
    change();
    transaction.commit();
}

} // namespace host
