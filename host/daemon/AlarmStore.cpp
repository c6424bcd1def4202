#include "host/daemon/AlarmStore.h"

#include "host/common/Boundary.h"
#include "host/common/Log.h"

#include <algorithm>
#include <climits>
#include <SQLiteCpp/SQLiteCpp.h>
#include <SQLiteCpp/VariadicBind.h>

namespace host {

namespace {

const int kBusyMilliseconds = 5000;
const int kColumnsWithoutSecret = 15;
const int kHighestId = INT_MAX;
const int kReservedIds = 1000; ///< how many ids one write of the mark covers

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
        round INTEGER NOT NULL,
        secret TEXT NOT NULL);
    CREATE INDEX IF NOT EXISTS alarms_due_whose ON alarms (due, id, application, package);
    CREATE INDEX IF NOT EXISTS alarms_package ON alarms (package);
)";

const std::string kSelect = "SELECT id, package, application, request, hour, minute, second,"
                            " week_flag, year, month, day, since, fired, due, round, secret"
                            " FROM alarms ";

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
    alarm.secret = row.getColumn(15).getString();
    return alarm;
}

// Adds the column of secrets to a file of an earlier version.
void addSecrets(SQLite::Database& db)
{
    const SQLite::Statement columns(db, "SELECT * FROM alarms");
    if (columns.getColumnCount() > kColumnsWithoutSecret)
        return;
    SQLite::Transaction transaction(db);
    db.exec("ALTER TABLE alarms ADD COLUMN secret TEXT NOT NULL DEFAULT ''");
    db.exec("UPDATE alarms SET secret = hex(randomblob(16))");
    transaction.commit();
}

void prepare(SQLite::Database& db)
{
    db.exec(kSchema);
    addSecrets(db);
}

// Makes the loss a text that is in the log at once.
void logLoss(std::string& loss)
{
    loss.insert(0, "The registered alarms are lost: ");
    logError(loss);
}

} // namespace

AlarmStore::AlarmStore(const std::string& path, std::int64_t now, const IdMark& mark,
    TrayStore& tray, std::string loss)
    : _mark(mark)
    , _db(openStateFile(path, kBusyMilliseconds, prepare, [&loss](const std::string& text) {
        loss = text;
        logLoss(loss);
    }))
{
    // Alarms do not depend on old reports.
    guarded("the reports of an earlier version stay where they are", [&] { _moveReports(tray); });
    _raiseIds(path, now, std::move(loss), tray);
}

// Takes the reports out of a file of an earlier version, which kept the tray itself.
void AlarmStore::_moveReports(TrayStore& tray)
{
    if (!_db.tableExists("tray"))
        return;
    std::vector<Report> reports;
    SQLite::Statement select(_db, "SELECT id, posted, text FROM tray ORDER BY id DESC LIMIT ?");
    select.bind(1, TrayStore::kMostReports);
    while (select.executeStep()) {
        reports.insert(reports.begin(),
            { "moved " + select.getColumn(0).getString(), select.getColumn(1).getInt64(),
                select.getColumn(2).getString() });
    }
    select.reset();
    if (tray.report(reports))
        _db.exec("DROP TABLE tray");
}

// Makes new ids begin above all ids that anybody may hold, whatever became of the file. Reports
// registrations that are lost.
void AlarmStore::_raiseIds(
    const std::string& path, std::int64_t now, std::string loss, TrayStore& tray)
{
    const int mark = _mark.read();
    const SQLite::Column last
        = _db.execAndGet("SELECT max(seq) FROM sqlite_sequence WHERE name = 'alarms'");
    if (!last.isNull() && last.getInt64() >= mark)
        return;
    if (last.isNull() && loss.empty() && mark != 0) {
        loss = path + " is not there any more, or empty";
        logLoss(loss);
    }
    if (!loss.empty()) {
        // The first id that is given out afterwards raises the mark, so each loss has its own key.
        const std::int64_t which = mark != 0 ? mark : now;
        (void)tray.report({ { "lost above " + std::to_string(which), now, loss } });
    }
    transaction([&] {
        _db.exec("DELETE FROM sqlite_sequence WHERE name = 'alarms'");
        SQLite::Statement insert(
            _db, "INSERT INTO sqlite_sequence (name, seq) VALUES ('alarms', ?)");
        insert.bind(1, last.isNull() ? std::max(idBySeconds(now), mark) : mark);
        insert.exec();
    });
}

int AlarmStore::add(const Alarm& alarm)
{
    SQLite::Statement insert(_db,
        "INSERT INTO alarms (package, application, request, hour, minute, second, week_flag,"
        " year, month, day, since, fired, due, round, secret)"
        " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, hex(randomblob(16)))");
    const AlarmTime& time = alarm.time;
    const auto& first = time.firstDay;
    SQLite::bind(insert, alarm.package, alarm.application, alarm.request, time.hour, time.minute,
        time.second, time.weekSet, first ? static_cast<int>(first->year()) : 0,
        first ? first->month() : 0, first ? first->day() : 0, alarm.since, alarm.fired, alarm.due,
        alarm.round);
    SQLite::Transaction transaction(_db);
    insert.exec();
    const int id = _reserved(static_cast<int>(_db.getLastInsertRowid()));
    transaction.commit();
    return id;
}

// Raises the mark above the id before the caller gets to know the id.
int AlarmStore::_reserved(int id)
{
    if (id >= _mark.read())
        _mark.write(id < kHighestId - kReservedIds ? id + kReservedIds : kHighestId);
    return id;
}

int AlarmStore::countOf(const std::string& package)
{
    SQLite::Statement count(_db, "SELECT count(*) FROM alarms WHERE package = ?");
    count.bind(1, package);
    return count.executeStep() ? count.getColumn(0).getInt() : 0;
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
    SQLite::bind(erase, id, package);
    return erase.exec() > 0;
}

void AlarmStore::updateTimes(const Alarm& alarm)
{
    SQLite::Statement update(
        _db, "UPDATE alarms SET since = ?, fired = ?, due = ?, round = ? WHERE id = ?");
    SQLite::bind(update, alarm.since, alarm.fired, alarm.due, alarm.round, alarm.id);
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

std::vector<Alarm> AlarmStore::all() { return _select("", ""); }

std::vector<Alarm> AlarmStore::of(const std::string& package)
{
    return _select("WHERE package = ?", package);
}

// Leaves out the requests, which may be long and many.
std::vector<Alarm> AlarmStore::_select(const std::string& condition, const std::string& package)
{
    std::string columns = kSelect;
    columns.replace(columns.find("request"), std::string("request").size(), "''");
    SQLite::Statement select(_db, columns + condition + " ORDER BY due, id");
    if (!condition.empty())
        select.bind(1, package);
    std::vector<Alarm> alarms;
    while (select.executeStep())
        alarms.push_back(readAlarm(select));
    return alarms;
}

std::vector<Alarm> AlarmStore::due(std::int64_t after, std::int64_t until, const Wanted& wanted)
{
    // The index has all columns of this query, so thousands of alarms that are not wanted cost
    // little.
    std::vector<int> ids;
    SQLite::Statement select(_db,
        "SELECT id, application, package FROM alarms WHERE due > ? AND due <= ? ORDER BY due, id");
    SQLite::bind(select, after, until);
    while (select.executeStep()) {
        const int id = select.getColumn(0).getInt();
        if (wanted(id, select.getColumn(1).getString(), select.getColumn(2).getString()))
            ids.push_back(id);
    }
    std::vector<Alarm> alarms;
    for (const int id : ids) {
        if (const std::optional<Alarm> alarm = find(id))
            alarms.push_back(*alarm);
    }
    return alarms;
}

std::optional<std::int64_t> AlarmStore::earliestDueAfter(std::int64_t instant)
{
    SQLite::Statement select(_db, "SELECT min(due) FROM alarms WHERE due > ?");
    select.bind(1, instant);
    if (!select.executeStep() || select.getColumn(0).isNull())
        return std::nullopt;
    return select.getColumn(0).getInt64();
}

void AlarmStore::transaction(const std::function<void()>& change)
{
    SQLite::Transaction transaction(_db);
    change();
    transaction.commit();
}

} // namespace host
