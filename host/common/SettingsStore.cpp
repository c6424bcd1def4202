#include "host/common/SettingsStore.h"

#include "host/common/Boundary.h"
#include "host/common/Bus.h"
#include "host/common/Session.h"

#include <algorithm>
#include <chrono>
#include <Ecore.h>
#include <map>
#include <mutex>
#include <sqlite3.h>
#include <SQLiteCpp/SQLiteCpp.h>
#include <SQLiteCpp/VariadicBind.h>
#include <unistd.h>

namespace host {

namespace {

const char* const kSettingsPath = "/com/velmora/host/Settings";
const char* const kSettingsInterface = "com.velmora.host.Settings";
const int kBusyMilliseconds = 5000;
const useconds_t kOpenPause = 10000;
const useconds_t kBusyPause = 1000;

bool isSessionKey(const std::string& store, const std::string& key)
{
    return store == "vconf" && key.compare(0, 7, "memory/") == 0;
}

// Tries again soon: SQLite's own handler sleeps longer each time, and would hardly ever catch a
// process that writes without a pause between two of its writes.
int waitForOtherWriter(void*, int waits)
{
    usleep(kBusyPause);
    return waits * kBusyPause < kBusyMilliseconds * 1000U ? 1 : 0;
}

// Repeats the opening while the file is busy: several processes may make it at once, and SQLite's
// busy timeout does not cover the change to write-ahead logging.
std::unique_ptr<SQLite::Database> openStore(const std::string& file, const char* synchronous)
{
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + std::chrono::milliseconds(kBusyMilliseconds);
    makePrivateFile(file); // SQLite gives its -wal and -shm files the same mode
    while (true) {
        try {
            auto store = std::make_unique<SQLite::Database>(
                file, SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
            sqlite3_busy_handler(store->getHandle(), waitForOtherWriter, nullptr);
            store->exec("PRAGMA journal_mode=WAL");
            store->exec(std::string("PRAGMA synchronous=") + synchronous);
            store->exec("CREATE TABLE IF NOT EXISTS setting (store TEXT, key TEXT, type TEXT, "
                        "value, PRIMARY KEY (store, key)) WITHOUT ROWID");
            return store;
        } catch (const SQLite::Exception& error) {
            if (error.getErrorCode() != SQLITE_BUSY || steady_clock::now() >= end)
                throw;
        }
        usleep(kOpenPause);
    }
}

void bindValue(SQLite::Statement& statement, int at, const SettingValue& value)
{
    if (const auto* number = std::get_if<int>(&value)) {
        statement.bind(at, *number);
    } else if (const auto* flag = std::get_if<bool>(&value)) {
        statement.bind(at, *flag ? 1 : 0);
    } else {
        statement.bind(at, std::get<std::string>(value));
    }
}

SettingValue columnValue(SQLite::Statement& statement, int type, int value)
{
    const std::string name = statement.getColumn(type).getString();
    if (name == "int")
        return statement.getColumn(value).getInt();
    if (name == "bool")
        return statement.getColumn(value).getInt() != 0;
    return statement.getColumn(value).getString();
}

// Ends one use of a prepared statement, which holds a lock on the file until it is reset.
struct Reset {
    void operator()(SQLite::Statement* statement) const { (void)statement->tryReset(); }
};
using StatementUse = std::unique_ptr<SQLite::Statement, Reset>;

// A file of settings, with its statements prepared: preparing one takes longer than running it.
class Store {
public:
    Store(const std::string& file, const char* synchronous)
        : database(openStore(file, synchronous))
    {
    }

    std::optional<SettingValue> read(const std::string& store, const std::string& key)
    {
        const StatementUse query = _use(_select, store, key);
        return query->executeStep() ? std::optional(columnValue(*query, 0, 1)) : std::nullopt;
    }

    void write(const std::string& store, const std::string& key, const SettingValue& value)
    {
        const StatementUse insert = _use(_replace, store, key);
        insert->bind(3, typeName(value));
        bindValue(*insert, 4, value);
        insert->exec();
    }

    bool erase(const std::string& store, const std::string& key)
    {
        return _use(_delete, store, key)->exec() > 0;
    }

    const std::unique_ptr<SQLite::Database> database;

private:
    static StatementUse _use(
        SQLite::Statement& statement, const std::string& store, const std::string& key)
    {
        StatementUse use(&statement);
        SQLite::bind(*use, store, key);
        return use;
    }

    SQLite::Statement _select{ *database,
        "SELECT type, value FROM setting WHERE store = ? AND key = ?" };
    SQLite::Statement _replace{ *database,
        "REPLACE INTO setting (store, key, type, value) VALUES (?, ?, ?, ?)" };
    SQLite::Statement _delete{ *database, "DELETE FROM setting WHERE store = ? AND key = ?" };
};

// Announces a value that is stored already, so a process without a bus has written it all the same.
void announce(const std::string& store, const std::string& key)
{
    try {
        sdbus::createObject(bus(), kSettingsPath)
            ->emitSignal("Changed")
            .onInterface(kSettingsInterface)
            .withArguments(store, key);
    } catch (const sdbus::Error&) {
    }
}

// A condition of a match rule. None for a text with a quote or a backslash, which the bus and its
// library read differently: then only the receiver distinguishes the signals.
std::string ruleArgument(const char* name, const std::string& text)
{
    if (text.find_first_of("'\\") != std::string::npos)
        return "";
    return std::string(",") + name + "='" + text + "'";
}

struct Watch;

// Receives the signals of one key in this process. Lives as long as one of the key's watches.
class KeyNews {
public:
    KeyNews(const std::string& store, const std::string& key)
        : _store(store)
        , _key(key)
        , _rule(bus().addMatch(std::string("type='signal',interface='") + kSettingsInterface
                  + "',member='Changed',path='" + kSettingsPath + "'" + ruleArgument("arg0", store)
                  + ruleArgument("arg1", key),
              [this](sdbus::Message& message) { _note(message); }))
    {
    }
    KeyNews(const KeyNews&) = delete;
    KeyNews& operator=(const KeyNews&) = delete;
    ~KeyNews()
    {
        if (_job)
            ecore_job_del(_job);
    }

    void add(const std::shared_ptr<Watch>& watch)
    {
        const auto isDropped = [](const std::weak_ptr<Watch>& each) { return each.expired(); };
        _watches.erase(std::remove_if(_watches.begin(), _watches.end(), isDropped), _watches.end());
        _watches.emplace_back(watch);
    }

private:
    void _note(sdbus::Message& message)
    {
        guarded("a signal about a setting cannot be read", [&] {
            std::string store;
            std::string key;
            message >> store >> key;
            if (store == _store && key == _key && !_job)
                _job = ecore_job_add(_callCb, this);
        });
    }

    static void _callCb(void* data)
    {
        auto* news = static_cast<KeyNews*>(data);
        news->_job = nullptr;
        news->_call();
    }

    void _call();

    std::string _store;
    std::string _key;
    std::vector<std::weak_ptr<Watch>> _watches; // in the order of watching
    Ecore_Job* _job = nullptr;
    sdbus::Slot _rule;
};

struct Watch {
    std::shared_ptr<KeyNews> news;
    SettingsStore::Changed changed;
};

// A callback may drop any watch, even the last, which destroys this object, and may add others,
// which hear of the next change.
void KeyNews::_call()
{
    const std::vector<std::weak_ptr<Watch>> watches = _watches;
    const std::string failure = "following " + _key + " failed";
    for (const std::weak_ptr<Watch>& each : watches) {
        guarded(failure.c_str(), [&each] {
            if (const std::shared_ptr<Watch> watch = each.lock())
                watch->changed();
        });
    }
}

} // namespace

const char* typeName(const SettingValue& value)
{
    static const char* const names[] = { "int", "bool", "str" };
    return names[value.index()];
}

struct SettingsStore::Impl {
    Store& of(const std::string& store, const std::string& key)
    {
        if (!isSessionKey(store, key))
            return lasting;
        if (!session)
            session = std::make_unique<Store>(runtimePath() + "memory.db", "OFF");
        return *session;
    }

    Store lasting{ homePath() + "settings.db", "FULL" };
    std::unique_ptr<Store> session; // opened by the first use
    std::mutex mutex; // held while the files are used
    std::map<std::pair<std::string, std::string>, std::weak_ptr<KeyNews>> news; // by store and key
};

SettingsStore::SettingsStore()
    : _impl(std::make_unique<Impl>())
{
}

SettingsStore::~SettingsStore() = default;

SettingsStore& SettingsStore::session()
{
    static SettingsStore store;
    return store;
}

std::optional<SettingValue> SettingsStore::read(const std::string& store, const std::string& key)
{
    const std::lock_guard<std::mutex> lock(_impl->mutex);
    return _impl->of(store, key).read(store, key);
}

void SettingsStore::write(
    const std::string& store, const std::string& key, const SettingValue& value)
{
    write(store, { { key, value } });
}

void SettingsStore::write(
    const std::string& store, const std::vector<std::pair<std::string, SettingValue>>& values)
{
    if (values.empty())
        return;
    {
        const std::lock_guard<std::mutex> lock(_impl->mutex);
        Store& file = _impl->of(store, values.front().first);
        SQLite::Transaction transaction(*file.database, SQLite::TransactionBehavior::IMMEDIATE);
        for (const auto& [key, value] : values)
            file.write(store, key, value);
        transaction.commit();
    }
    for (const auto& [key, value] : values)
        announce(store, key);
}

bool SettingsStore::erase(const std::string& store, const std::string& key)
{
    bool erased = false;
    {
        const std::lock_guard<std::mutex> lock(_impl->mutex);
        erased = _impl->of(store, key).erase(store, key);
    }
    if (erased)
        announce(store, key);
    return erased;
}

std::vector<std::pair<std::string, SettingValue>> SettingsStore::list(const std::string& store)
{
    const std::lock_guard<std::mutex> lock(_impl->mutex);
    std::vector<std::pair<std::string, SettingValue>> found;
    for (const char* probe : { "", "memory/" }) {
        const Store& file = _impl->of(store, probe);
        if (*probe && &file == &_impl->lasting)
            break;
        SQLite::Statement query(
            *file.database, "SELECT key, type, value FROM setting WHERE store = ? ORDER BY key");
        query.bind(1, store);
        while (query.executeStep())
            found.emplace_back(query.getColumn(0).getString(), columnValue(query, 1, 2));
    }
    return found;
}

std::shared_ptr<void> SettingsStore::watch(
    const std::string& store, const std::string& key, Changed changed)
{
    serveBusOnLoop();
    std::weak_ptr<KeyNews>& known = _impl->news[{ store, key }];
    std::shared_ptr<KeyNews> news = known.lock();
    if (!news)
        known = news = std::make_shared<KeyNews>(store, key);
    auto watch = std::make_shared<Watch>(Watch{ news, std::move(changed) });
    news->add(watch);
    return watch;
}

} // namespace host
