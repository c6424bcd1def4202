#include "host/daemon/TrayStore.h"

#include "host/common/Boundary.h"

#include <algorithm>
#include <ctime>
#include <SQLiteCpp/SQLiteCpp.h>
#include <SQLiteCpp/VariadicBind.h>

namespace host {

namespace {

const int kBusyMilliseconds = 200; ///< alarms wait for as long

// A notification without a tag has null there, which is unlike any other null. The desktop's number
// is null when the user has closed it there; is_old: it shows what the notification has replaced.
const char* const kSchema = R"(
    CREATE TABLE IF NOT EXISTS notifications (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        package TEXT NOT NULL,
        application TEXT NOT NULL,
        posted INTEGER NOT NULL,
        tag TEXT,
        type INTEGER NOT NULL,
        layout INTEGER NOT NULL,
        displays INTEGER NOT NULL,
        time INTEGER NOT NULL,
        UNIQUE (application, tag));
    CREATE TABLE IF NOT EXISTS texts (
        notification INTEGER NOT NULL REFERENCES notifications ON DELETE CASCADE,
        type INTEGER NOT NULL,
        text TEXT NOT NULL,
        key TEXT NOT NULL,
        PRIMARY KEY (notification, type));
    CREATE TABLE IF NOT EXISTS shown (
        notification INTEGER PRIMARY KEY,
        desktop TEXT NOT NULL,
        number INTEGER,
        is_old INTEGER NOT NULL,
        UNIQUE (desktop, number));
    CREATE TABLE IF NOT EXISTS reports (
        id INTEGER PRIMARY KEY AUTOINCREMENT,
        key TEXT NOT NULL UNIQUE,
        posted INTEGER NOT NULL,
        text TEXT NOT NULL);
)";

void prepare(SQLite::Database& db)
{
    db.exec("PRAGMA foreign_keys = ON");
    db.exec(kSchema);
    SQLite::Statement raise(db,
        "INSERT INTO sqlite_sequence (name, seq) SELECT 'notifications', ?"
        " WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE name = 'notifications')");
    raise.bind(1, idBySeconds(time(nullptr)));
    raise.exec();
}

void checkSize(const Notification& notification)
{
    std::size_t size = notification.tag.size();
    for (const auto& [type, text] : notification.texts)
        size += text.text.size() + text.key.size();
    if (size > TrayStore::kLongestNotification) {
        throw LimitExceeded("The notification has " + std::to_string(size) + " bytes; it may have "
            + std::to_string(TrayStore::kLongestNotification));
    }
}

void checkCount(SQLite::Database& db, const std::string& application)
{
    SQLite::Statement count(db, "SELECT count(*) FROM notifications WHERE application = ?");
    count.bind(1, application);
    if (count.executeStep() && count.getColumn(0).getInt() >= TrayStore::kMostNotifications) {
        throw LimitExceeded(application + " has " + std::to_string(TrayStore::kMostNotifications)
            + " notifications, which is the most");
    }
}

void insertTexts(SQLite::Database& db, std::int64_t id, const Notification& notification)
{
    for (const auto& [type, text] : notification.texts) {
        SQLite::Statement insert(
            db, "INSERT INTO texts (notification, type, text, key) VALUES (?, ?, ?, ?)");
        SQLite::bind(insert, id, type, text.text, text.key);
        insert.exec();
    }
}

Notification readNotification(SQLite::Statement& row)
{
    Notification notification;
    notification.id = row.getColumn(0).getInt64();
    notification.package = row.getColumn(1).getString();
    notification.application = row.getColumn(2).getString();
    notification.posted = row.getColumn(3).getInt64();
    notification.tag = row.getColumn(4).getString();
    notification.type = row.getColumn(5).getInt();
    notification.layout = row.getColumn(6).getInt();
    notification.displays = row.getColumn(7).getInt();
    notification.time = row.getColumn(8).getInt64();
    return notification;
}

void readTexts(SQLite::Database& db, Notification& notification)
{
    SQLite::Statement select(db, "SELECT type, text, key FROM texts WHERE notification = ?");
    select.bind(1, notification.id);
    while (select.executeStep()) {
        notification.texts[select.getColumn(0).getInt()]
            = { select.getColumn(1).getString(), select.getColumn(2).getString() };
    }
}

std::optional<Notification> firstOf(const std::vector<Notification>& found)
{
    return found.empty() ? std::nullopt : std::make_optional(found.front());
}

template <typename Reports>
bool isIn(const Reports& reports, const std::string& key)
{
    return std::any_of(
        reports.begin(), reports.end(), [&](const Report& report) { return report.key == key; });
}

void insertReport(SQLite::Database& db, const Report& report)
{
    SQLite::Statement insert(
        db, "INSERT INTO reports (key, posted, text) VALUES (?, ?, ?) ON CONFLICT DO NOTHING");
    SQLite::bind(insert, report.key, report.posted, report.text);
    insert.exec();
}

void forgetNumber(SQLite::Database& db, const std::string& desktop, std::uint32_t number)
{
    SQLite::Statement update(db, "UPDATE shown SET number = NULL WHERE desktop = ? AND number = ?");
    SQLite::bind(update, desktop, number);
    update.exec();
    db.exec("DELETE FROM shown WHERE number IS NULL"
            " AND notification NOT IN (SELECT id FROM notifications)");
}

} // namespace

TrayStore::TrayStore(std::string path)
    : _path(std::move(path))
{
}

SQLite::Database& TrayStore::_open()
{
    if (_file)
        return *_file;
    _file = openStateFile(_path, kBusyMilliseconds, prepare, [this](const std::string& loss) {
        const std::string text = "The notifications are lost: " + loss;
        logError(text);
        _await({ text, time(nullptr), text });
    });
    (void)report({});
    return _file.value(); // which damage that was found just now has reset
}

// Runs the work on the file, which is opened anew after damage.
template <typename Work>
auto TrayStore::_with(const Work& work)
{
    try {
        return work(_open());
    } catch (const SQLite::Exception& error) {
        if (isDamage(error))
            _file.reset();
        throw;
    }
}

std::int64_t TrayStore::post(const Notification& notification)
{
    checkSize(notification);
    return _with([&](SQLite::Database& db) {
        SQLite::Transaction transaction(db);
        SQLite::Statement erase(db,
            "DELETE FROM notifications WHERE application = ? AND tag = nullif(?, '') RETURNING id");
        SQLite::bind(erase, notification.application, notification.tag);
        const std::int64_t replaced = erase.executeStep() ? erase.getColumn(0).getInt64() : 0;
        erase.reset();
        checkCount(db, notification.application);
        SQLite::Statement insert(db,
            "INSERT INTO notifications (package, application, posted, tag, type, layout, displays,"
            " time) VALUES (?, ?, ?, nullif(?, ''), ?, ?, ?, ?)");
        SQLite::bind(insert, notification.package, notification.application, notification.posted,
            notification.tag, notification.type, notification.layout, notification.displays,
            notification.time);
        insert.exec();
        const std::int64_t id = db.getLastInsertRowid();
        insertTexts(db, id, notification);
        SQLite::Statement replace(
            db, "UPDATE shown SET notification = ?, is_old = 1 WHERE notification = ?");
        SQLite::bind(replace, id, replaced);
        replace.exec();
        transaction.commit();
        return id;
    });
}

template <typename... Values>
std::vector<Notification> TrayStore::_select(const std::string& condition, const Values&... values)
{
    return _with([&](SQLite::Database& db) {
        std::vector<Notification> found;
        SQLite::Statement select(db,
            "SELECT id, package, application, posted, tag, type, layout, displays, time"
            " FROM notifications "
                + condition + " ORDER BY id");
        SQLite::bind(select, values...);
        while (select.executeStep()) {
            found.push_back(readNotification(select));
            readTexts(db, found.back());
        }
        return found;
    });
}

std::optional<Notification> TrayStore::find(std::int64_t id)
{
    return firstOf(_select("WHERE id = ?", id));
}

std::optional<Notification> TrayStore::find(const std::string& application, const std::string& tag)
{
    return firstOf(_select("WHERE application = ? AND tag = ?", application, tag));
}

std::vector<Notification> TrayStore::withTag(const std::string& tag)
{
    return _select("WHERE tag = ?", tag);
}

std::vector<Notification> TrayStore::all() { return _select("WHERE true"); }

bool TrayStore::remove(const std::string& application, std::int64_t id)
{
    return _with([&](SQLite::Database& db) {
        SQLite::Statement erase(db, "DELETE FROM notifications WHERE id = ? AND application = ?");
        SQLite::bind(erase, id, application);
        return erase.exec() > 0;
    });
}

void TrayStore::removeAll(const std::string& application, int type)
{
    _with([&](SQLite::Database& db) {
        SQLite::Statement erase(
            db, "DELETE FROM notifications WHERE application = ?1 AND (type = ?2 OR ?2 = ?3)");
        SQLite::bind(erase, application, type, static_cast<int>(NOTIFICATION_TYPE_NONE));
        erase.exec();
    });
}

bool TrayStore::report(const std::vector<Report>& reports) noexcept
{
    return guarded("the reports cannot be kept for now", false, [&] {
        if (_waiting.empty() && reports.empty())
            return true;
        try {
            _with([&](SQLite::Database& db) {
                SQLite::Transaction transaction(db);
                for (const Report& report : _waiting)
                    insertReport(db, report);
                for (const Report& report : reports)
                    insertReport(db, report);
                SQLite::Statement drop(db,
                    "DELETE FROM reports WHERE id <="
                    " (SELECT id FROM reports ORDER BY id DESC LIMIT 1 OFFSET ?)");
                drop.bind(1, kMostReports);
                drop.exec();
                transaction.commit();
            });
        } catch (const std::exception&) {
            for (const Report& report : reports) {
                if (_await(report))
                    logError("A report cannot be kept for now: " + report.text);
            }
            throw;
        }
        _waiting.clear();
        return true;
    });
}

// Keeps the report in memory. False when it is there already.
bool TrayStore::_await(const Report& report)
{
    if (isIn(_waiting, report.key))
        return false;
    if (_waiting.size() == kMostReports)
        _waiting.pop_front();
    _waiting.push_back(report);
    return true;
}

std::vector<Report> TrayStore::reports()
{
    (void)report({});
    std::vector<Report> all = _with([](SQLite::Database& db) {
        std::vector<Report> found;
        SQLite::Statement select(db, "SELECT key, posted, text FROM reports ORDER BY id");
        while (select.executeStep()) {
            found.push_back({ select.getColumn(0).getString(), select.getColumn(1).getInt64(),
                select.getColumn(2).getString() });
        }
        return found;
    });
    for (const Report& report : _waiting) {
        if (!isIn(all, report.key))
            all.push_back(report);
    }
    return all;
}

bool TrayStore::concernsDesktops()
{
    return _with([](SQLite::Database& db) {
        const char* const question
            = "SELECT EXISTS (SELECT 1 FROM notifications) OR EXISTS (SELECT 1 FROM shown)";
        return db.execAndGet(question).getInt() != 0;
    });
}

void TrayStore::forgetOtherDesktops(const std::string& desktop)
{
    _with([&](SQLite::Database& db) {
        SQLite::Statement erase(db, "DELETE FROM shown WHERE desktop != ?");
        erase.bind(1, desktop);
        erase.exec();
    });
}

std::optional<TrayStore::ToShow> TrayStore::nextToShow(
    const std::string& desktop, const std::set<std::int64_t>& except)
{
    ToShow next;
    const auto id = _with([&](SQLite::Database& db) -> std::int64_t {
        SQLite::Statement select(db,
            "SELECT id, number FROM notifications LEFT JOIN shown ON notification = id"
            " AND desktop = ? WHERE is_old IS NULL OR is_old ORDER BY id");
        select.bind(1, desktop);
        while (select.executeStep()) {
            const std::int64_t found = select.getColumn(0).getInt64();
            next.replaced = select.getColumn(1).getUInt();
            if (except.count(found) == 0)
                return found;
        }
        return 0;
    });
    const auto found = find(id);
    if (!found)
        return std::nullopt;
    next.notification = *found;
    return next;
}

std::optional<std::uint32_t> TrayStore::nextToClose(const std::string& desktop)
{
    return _with([&](SQLite::Database& db) -> std::optional<std::uint32_t> {
        SQLite::Statement select(db,
            "SELECT number FROM shown WHERE desktop = ? AND number IS NOT NULL"
            " AND notification NOT IN (SELECT id FROM notifications) LIMIT 1");
        select.bind(1, desktop);
        if (!select.executeStep())
            return std::nullopt;
        return select.getColumn(0).getUInt();
    });
}

std::vector<std::uint32_t> TrayStore::numbersOn(const std::string& desktop)
{
    return _with([&](SQLite::Database& db) {
        std::vector<std::uint32_t> numbers;
        SQLite::Statement select(
            db, "SELECT number FROM shown WHERE desktop = ? AND number IS NOT NULL");
        select.bind(1, desktop);
        while (select.executeStep())
            numbers.push_back(select.getColumn(0).getUInt());
        return numbers;
    });
}

void TrayStore::setShown(std::int64_t id, const std::string& desktop, std::uint32_t number)
{
    // It may have been replaced meanwhile by one that takes over its number, or been deleted.
    const bool isThere = find(id).has_value();
    _with([&](SQLite::Database& db) {
        SQLite::Transaction transaction(db);
        if (isThere)
            forgetNumber(db, desktop, number);
        SQLite::Statement insert(db,
            std::string("INSERT OR ") + (isThere ? "REPLACE" : "IGNORE")
                + " INTO shown (notification, desktop, number, is_old)"
                  " VALUES (?, ?, nullif(?, 0), 0)");
        SQLite::bind(insert, id, desktop, number);
        insert.exec();
        transaction.commit();
    });
}

void TrayStore::setRefused(std::int64_t id)
{
    _with([&](SQLite::Database& db) {
        // No notification has a negative id, so that what is shown counts as deleted.
        SQLite::Statement update(db, "UPDATE shown SET notification = -?1 WHERE notification = ?1");
        update.bind(1, id);
        update.exec();
    });
}

void TrayStore::setClosed(const std::string& desktop, std::uint32_t number)
{
    _with([&](SQLite::Database& db) { forgetNumber(db, desktop, number); });
}

std::optional<Notification> TrayStore::shownAs(const std::string& desktop, std::uint32_t number)
{
    return firstOf(_select("JOIN shown ON notification = id WHERE desktop = ? AND number = ?"
                           " AND NOT is_old",
        desktop, number));
}

} // namespace host
