#include "host/daemon/Applications.h"

#include "host/common/Bus.h"
#include "host/common/Log.h"
#include "host/common/Peers.h"
#include "host/common/Signals.h"
#include "host/daemon/Answering.h"

#include <algorithm>
#include <spawn.h>
#include <system_error>
#include <unistd.h>

namespace host {

namespace {

const char* const kUnknown = "org.freedesktop.DBus.Error.ServiceUnknown";
const char* const kNotThere = "org.freedesktop.DBus.Error.Spawn.ExecFailed";
const char* const kFailed = "org.freedesktop.DBus.Error.Failed";
const char* const kNoReply = "org.freedesktop.DBus.Error.NoReply";
const size_t kMostRemembered = 10000;
const double kStartSeconds = 10;

bool isUnique(const std::string& name) { return !name.empty() && name.front() == ':'; }

} // namespace

Applications::Applications()
    : _bus(sdbus::createProxy(bus(), kBusName, kBusPath))
    , _changes(watchBus(bus(), "NameOwnerChanged", "", [this](sdbus::Message& change) {
        std::string name;
        std::string before;
        std::string after;
        change >> name >> before >> after;
        _ownerChanged(name, before, after);
    }))
{
    std::vector<std::string> names;
    _bus->callMethod("ListNames").onInterface(kBusName).storeResultsTo(names);
    for (const std::string& name : names) {
        if (isUnique(name)) {
            _tryToKnow(name);
        } else if (const std::string owner = ownerOf(name); !owner.empty()) {
            _owners[name] = owner;
        }
    }
}

Identity Applications::who(const std::string& connection)
{
    return isUnique(connection) ? _clientOf(connection).identity : Identity();
}

std::string Applications::programBehind(const std::string& connection)
{
    return isUnique(connection) ? _clientOf(connection).program : "";
}

// Runs a step of a search. If the step fails, the search is over, because nothing else would end
// it.
template <typename Work>
void Applications::_orSettle(const std::string& application, Work work)
{
    try {
        work();
    } catch (const std::exception& error) {
        const sdbus::Error failed(kFailed, error.what());
        _settle(application, "", &failed);
    }
}

void Applications::find(const std::string& application, Found found)
{
    const std::string running = _runningOf(application);
    if (!running.empty()) {
        found(running, nullptr);
        return;
    }
    Search& search = _searches[application];
    search.waiting.push_back(std::move(found));
    if (search.waiting.size() > 1)
        return;
    _orSettle(application, [&] { _start(application); });
}

// Such are a name that the bus has no service for and an id that cannot be a bus name, if no
// program is installed for it.
bool Applications::isUnknown(const std::string& application, const sdbus::Error& error)
{
    try {
        return (error.getName() == kUnknown || error.getName() == kInvalidArgs)
            && programOf(application).empty();
    } catch (const std::exception&) {
        return false; // unknown for now, so it may exist
    }
}

void Applications::ready(const std::string& connection)
{
    const std::string application = who(connection).application;
    if (application.empty())
        return;
    _nameless[application] = connection;
    _look(application);
}

void Applications::ending(const std::string& connection)
{
    const Client client = _clientOf(connection);
    _ending.insert(client.process);
    const auto nameless = _nameless.find(client.identity.application);
    if (nameless != _nameless.end() && nameless->second == connection)
        _nameless.erase(nameless);
}

// Nothing is kept about a connection that is not there, since its name may be given to another one.
Applications::Client Applications::_clientOf(const std::string& connection)
{
    const auto found = _clients.find(connection);
    if (found != _clients.end())
        return found->second;
    Client client;
    client.process = processOf(connection);
    if (client.process == 0)
        return client;
    client.program = programOfProcess(client.process);
    client.identity = identityOfProcess(client.process);
    _ending.erase(client.process);
    _clients[connection] = client;
    return client;
}

// Looks up a connection in advance. If that fails, it is looked up again when somebody asks about
// it.
void Applications::_tryToKnow(const std::string& connection)
{
    try {
        (void)_clientOf(connection);
    } catch (const std::exception& error) {
        logWarning(
            "the program behind " + connection + " cannot be looked up for now: " + error.what());
    }
}

void Applications::_ownerChanged(
    const std::string& name, const std::string& before, const std::string& after)
{
    if (!isUnique(name)) {
        _owners.erase(name);
        if (!after.empty()) {
            _owners[name] = after;
            _look(name);
        }
        return;
    }
    if (before.empty() && !after.empty())
        _tryToKnow(name);
    if (before.empty() || !after.empty() || _clients.count(name) == 0)
        return;
    const Client client = _clients[name];
    _remember(name);
    const std::string& application = client.identity.application;
    const auto nameless = _nameless.find(application);
    if (nameless != _nameless.end() && nameless->second == name)
        _nameless.erase(nameless);
    if (!application.empty() && _ended)
        _ended(application, _ending.count(client.process) != 0);
}

void Applications::_remember(const std::string& connection)
{
    _remembered.push_back(connection);
    if (_remembered.size() <= kMostRemembered)
        return;
    _clients.erase(_remembered.front());
    _remembered.pop_front();
}

// The connection on which the application takes requests; empty when it does not run.
std::string Applications::_runningOf(const std::string& application)
{
    for (const auto* connections : { &_owners, &_nameless }) {
        const auto found = connections->find(application);
        if (found == connections->end())
            continue;
        // Looks it up again when it was nobody's: its program may have been absent at that moment,
        // as while an update replaces it.
        if (who(found->second).application.empty())
            _clients.erase(found->second);
        if (who(found->second).application == application)
            return found->second;
    }
    return "";
}

// Ends the search for an application that is there by now.
void Applications::_look(const std::string& application)
{
    const auto search = _searches.find(application);
    if (search == _searches.end())
        return;
    _orSettle(application, [&] {
        const std::string running = _runningOf(application);
        if (!running.empty()) {
            _settle(application, running, nullptr);
        } else if (!search->second.limit) {
            _start(application);
        }
    });
}

void Applications::_start(const std::string& application)
{
    if (_owners.count(application) != 0) {
        _startProgram(application);
    } else {
        _startByBus(application);
    }
}

void Applications::_startByBus(const std::string& application)
{
    const auto started = [this, application](const sdbus::Error* error, std::uint32_t) {
        const sdbus::Error ended(kNoReply, application + " has ended at once");
        if (_searches.count(application) == 0)
            return; // the application was found meanwhile
        if (error || _owners.count(application) == 0) {
            _settle(application, "", error ? error : &ended);
        } else {
            _look(application);
        }
    };
    _bus->callMethodAsync("StartServiceByName")
        .onInterface(kBusName)
        .withArguments(application, std::uint32_t{ 0 })
        .uponReplyInvoke(started);
}

// Whether the bus has a service of that name.
bool Applications::_isActivatable(const std::string& application)
{
    std::vector<std::string> names;
    _bus->callMethod("ListActivatableNames").onInterface(kBusName).storeResultsTo(names);
    return std::find(names.begin(), names.end(), application) != names.end();
}

// Starts the program of an application whose bus name another program holds.
void Applications::_startProgram(const std::string& application)
{
    std::string program = programOf(application);
    if (program.empty()) {
        const sdbus::Error missing(_isActivatable(application) ? kNotThere : kUnknown,
            "There is no program of the id " + application);
        _settle(application, "", &missing);
        return;
    }
    const pid_t process = processOf(_owners[application]);
    logWarning("The name " + application + " is held by process " + std::to_string(process) + " ("
        + programOfProcess(process)
        + "), which is not its program; its program is started without the name");
    pid_t child = 0;
    char* const arguments[] = { program.data(), nullptr };
    const int failure = posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ);
    if (failure != 0) {
        const sdbus::Error failed(
            kNotThere, program + ": " + std::generic_category().message(failure));
        _settle(application, "", &failed);
        return;
    }
    _searches[application].limit = std::make_unique<Timer>(kStartSeconds, [this, application] {
        const sdbus::Error late(kNoReply, application + " was started and takes no requests");
        _settle(application, "", &late);
    });
}

void Applications::_settle(
    const std::string& application, const std::string& connection, const sdbus::Error* error)
{
    auto search = _searches.extract(application);
    if (search.empty())
        return;
    for (const Found& found : search.mapped().waiting) {
        try {
            found(connection, error);
        } catch (const std::exception& failure) {
            logError("a caller who looked for " + application + " failed: " + failure.what());
        }
    }
}

} // namespace host
