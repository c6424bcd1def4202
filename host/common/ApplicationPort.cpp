#include "host/common/ApplicationPort.h"

#include "host/common/Boundary.h"
#include "host/common/Peers.h"
#include "host/common/Session.h"
#include "host/common/Signals.h"
#include "host/common/Wire.h"

#include <app_control.h>
#include <chrono>
#include <com.velmora.host.Application-adaptor.h>
#include <com.velmora.host.Applications-proxy.h>
#include <filesystem>
#include <glib.h>
#include <map>
#include <random>
#include <system_error>
#include <unistd.h>

namespace host {

namespace fs = std::filesystem;

namespace {

const char* const kInterface = "com.velmora.host.Application";
const char* const kDaemonInterface = "com.velmora.host.Applications";
const char* const kNoReply = "org.freedesktop.DBus.Error.NoReply";

const int kMostTries = 3; ///< to reach an application that ends just when it is called
const std::uint64_t kKnownMicroseconds = 200000;

// How long a trace is kept: much longer than anybody sends a request again.
const std::chrono::hours kLongestTrace(24);

std::string traces() { return runtimePath() + "handled/"; }

// The file that says that a request with this text was handled. A database would cost an alert more
// time than all else that is done for it here.
std::string traceOf(const std::string& once)
{
    const CText name(g_compute_checksum_for_string(G_CHECKSUM_SHA256, once.c_str(), -1));
    return traces() + name.get();
}

// Notes that a request was handled. Without a trace an alert may come twice, which is better than
// one that counts as missed.
void leaveTrace(const std::string& once)
{
    try {
        makeDirectory(traces());
        makePrivateFile(traceOf(once));
    } catch (const std::system_error& error) {
        logWarning(std::string("A request may be handled twice: ") + error.what());
    }
}

void removeOldTraces()
{
    const auto oldest = fs::file_time_type::clock::now() - kLongestTrace;
    std::error_code error;
    for (const fs::directory_entry& trace : fs::directory_iterator(traces(), error)) {
        if (trace.last_write_time(error) < oldest)
            fs::remove(trace.path(), error);
    }
}

// Whether the connection belongs to the application's own program.
bool isOf(const std::string& connection, const std::string& application)
{
    const pid_t process = connection.empty() ? 0 : processOf(connection);
    try {
        return process != 0 && identityOfProcess(process).application == application;
    } catch (const std::system_error& error) {
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed", error.what());
    }
}

// The connection on which the application takes requests; starts the application unless it runs.
// The bus is asked before hostd, so that two applications that launch each other do not wait for
// one another; hostd is asked only when another program holds the name.
std::string connectionOf(const std::string& application)
{
    for (int tries = 0; tries < kMostTries; ++tries) {
        startService(application);
        std::string owner = ownerOf(application);
        if (isOf(owner, application))
            return owner;
        if (!owner.empty() && processOf(owner) != 0)
            return DaemonProxy<com::velmora::host::Applications_proxy>().Find(application);
    }
    throw sdbus::Error(kNoReply, application + " ends as soon as it is started");
}

void tellDaemon(const char* method)
{
    sdbus::createProxy(bus(), kDaemonName, kDaemonPath)
        ->callMethod(method)
        .onInterface(kDaemonInterface)
        .dontExpectReply();
}

} // namespace

class ApplicationPort::Object final : public BusObject<com::velmora::host::Application_adaptor> {
public:
    Object()
        : BusObject(kApplicationPath)
    {
        serveBusOnLoop();
    }

    // A ticket for the answer. It is random, so that nobody but the receiver of the request can
    // send one.
    uint64_t expect(Answer answer)
    {
        uint64_t ticket = 0;
        while (ticket == 0 || _answers.count(ticket) != 0)
            ticket = std::uniform_int_distribution<uint64_t>()(_random);
        _answers[ticket] = std::move(answer);
        return ticket;
    }

    void answer(uint64_t ticket, int result, const Entries& entries)
    {
        const auto found = _answers.extract(ticket);
        if (!found.empty())
            found.mapped()(result, entries);
    }

    // The proxy of a connection. It is kept, because the end of a proxy is the end of its pending
    // calls.
    sdbus::IProxy& target(const std::string& connection)
    {
        auto& proxy = _targets[connection];
        if (!proxy)
            proxy = sdbus::createProxy(bus(), connection, kApplicationPath);
        return *proxy;
    }

    Receiver receiver;
    bool isClosed = false;

private:
    void Launch(
        sdbus::Result<>&& handled, WireEntries request, std::string once, uint64_t ticket) override
    {
        if (isClosed)
            throw sdbus::Error(kApplicationEnded, "the application ends");
        if (!receiver)
            throw sdbus::Error("org.freedesktop.DBus.Error.Failed", "not an application");
        if (sizeOf(fromWire(request)) > kLongestDelivery) {
            throw sdbus::Error("org.freedesktop.DBus.Error.LimitsExceeded",
                "A request may have " + std::to_string(kLongestRequest) + " bytes");
        }
        receiver({ fromWire(request), callerName(), ticket, std::move(once), std::move(handled) });
    }

    void Reply(const uint64_t& ticket, const int32_t& result, const WireEntries& reply) override
    {
        answer(ticket, result, fromWire(reply));
    }

    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _targets;
    std::map<uint64_t, Answer> _answers;
    std::random_device _random;
};

ApplicationPort::ApplicationPort()
    : _object(std::make_unique<Object>())
{
}

// Requests that arrived since the port was closed are answered with an error, not with silence.
ApplicationPort::~ApplicationPort()
{
    try {
        while (_object->isClosed && bus().processPendingRequest()) {
        }
    } catch (const sdbus::Error&) {
        // The session has ended.
    }
}

ApplicationPort& ApplicationPort::instance()
{
    bus(); // made first, so that it outlives the port
    static ApplicationPort port;
    return port;
}

void ApplicationPort::open(const std::string& application, Receiver receiver)
{
    _object->receiver = std::move(receiver);
    _application = application;
    try {
        bus().requestName(application);
        _hasName = true;
    } catch (const sdbus::Error&) {
        const std::string holder = ownerOf(application);
        if (isOf(holder, application))
            throw; // it runs already
        logError("The name " + application + " is held by process "
            + std::to_string(processOf(holder)) + ", which is another program");
        _daemon = std::make_unique<DaemonWatch>(bus(), [](const std::string& owner) {
            if (!owner.empty())
                tellDaemon("Ready");
        });
        tellDaemon("Ready");
    }
}

void ApplicationPort::close()
{
    tellDaemon("Ending");
    if (_hasName)
        bus().releaseName(_application);
    while (bus().processPendingRequest()) {
    }
    _object->receiver = nullptr;
    _object->isClosed = true;
}

bool ApplicationPort::isNew(const Request& request)
{
    return request.once.empty() || access(traceOf(request.once).c_str(), F_OK) != 0;
}

void ApplicationPort::finish(const Request& request)
{
    if (!request.once.empty())
        leaveTrace(request.once);
    try {
        request.handled.returnResults();
    } catch (const sdbus::Error& error) {
        logWarning(
            "The sender of a request cannot be told that it was handled: " + error.getMessage());
    }
    if (!request.once.empty())
        removeOldTraces();
}

void ApplicationPort::launch(
    const std::string& application, const Entries& request, Answer answer, const std::string& once)
{
    // An application that launches itself before it has its bus name does not wait for the name.
    const std::string connection = !_object->isClosed && application == identity().application
        ? bus().getUniqueName()
        : connectionOf(application);
    const uint64_t ticket = answer ? _object->expect(std::move(answer)) : 0;
    _send(connection, { application, toWire(request), once, ticket, 1 });
    _becomeKnown();
}

void ApplicationPort::_send(const std::string& connection, const Sending& sending)
{
    _object->target(connection)
        .callMethodAsync("Launch")
        .onInterface(kInterface)
        .withTimeout(UINT64_MAX) // the application may take as long as it likes
        .withArguments(sending.request, sending.once, sending.ticket)
        .uponReplyInvoke([this, sending](const sdbus::Error* error) {
            if (error)
                _failed(sending, *error);
        });
}

// A request that an application has not taken because it ends goes to its next process.
void ApplicationPort::_failed(Sending sending, const sdbus::Error& error)
{
    std::string reason = error.getMessage();
    if (hasEnded(error) && sending.tries++ < kMostTries) {
        try {
            _send(connectionOf(sending.application), sending);
            return;
        } catch (const sdbus::Error& again) {
            reason = again.getMessage();
        }
    }
    logError("launching " + sending.application + " failed: " + reason);
    _object->answer(sending.ticket, APP_CONTROL_RESULT_FAILED, {});
}

// Has hostd look up who this process is: a process that has ended when somebody asks could not be
// looked up any more.
void ApplicationPort::_becomeKnown()
{
    if (_isKnown || identity().application.empty())
        return;
    _isKnown = true;
    try {
        std::string package;
        std::string application;
        sdbus::createProxy(bus(), kDaemonName, kDaemonPath)
            ->callMethod("Identify")
            .onInterface(kDaemonInterface)
            .withTimeout(kKnownMicroseconds)
            .withArguments(bus().getUniqueName())
            .storeResultsTo(package, application);
    } catch (const sdbus::Error& error) {
        logWarning(
            "hostd may not learn which application has sent a request: " + error.getMessage());
    }
}

void ApplicationPort::reply(
    const std::string& sender, uint64_t ticket, int result, const Entries& entries)
{
    auto target = sdbus::createProxy(bus(), sender, kApplicationPath);
    target->callMethod("Reply")
        .onInterface(kInterface)
        .withArguments(ticket, int32_t{ result }, toWire(entries))
        .dontExpectReply();
}

} // namespace host
