#include "host/common/ApplicationPort.h"

#include "host/common/Log.h"
#include "host/common/Session.h"
#include "host/common/Wire.h"

#include <app_control.h>
#include <chrono>
#include <com.velmora.host.Application-adaptor.h>
#include <fcntl.h>
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

// Much longer than anybody sends a request again.
const std::chrono::hours kLongestTrace(24);

std::string traces() { return runtimePath() + "handled/"; }

// A file for each text that was handled: a store would cost the alert more time than all else that
// is done for it here.
std::string traceOf(const std::string& once)
{
    const std::unique_ptr<char, void (*)(void*)> name(
        g_compute_checksum_for_string(G_CHECKSUM_SHA256, once.c_str(), -1), g_free);
    return traces() + name.get();
}

void removeOldTraces()
{
    const auto oldest = fs::file_time_type::clock::now() - kLongestTrace;
    std::error_code error;
    for (const fs::directory_entry& trace : fs::directory_iterator(traces())) {
        if (trace.last_write_time(error) < oldest)
            fs::remove(trace.path(), error);
    }
}

} // namespace

class ApplicationPort::Object final
    : public sdbus::AdaptorInterfaces<com::velmora::host::Application_adaptor> {
public:
    Object()
        : AdaptorInterfaces(bus(), kApplicationPath)
    {
        registerAdaptor();
        serveBusOnLoop();
    }

    ~Object() { unregisterAdaptor(); }

    // Random, so that nobody but the receiver of the request can answer it.
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

    // Kept, because a proxy ends its pending calls with itself.
    sdbus::IProxy& target(const std::string& application)
    {
        auto& proxy = _targets[application];
        if (!proxy)
            proxy = sdbus::createProxy(bus(), application, kApplicationPath);
        return *proxy;
    }

    Receiver receiver;

private:
    void Launch(
        sdbus::Result<>&& handled, WireEntries request, std::string once, uint64_t ticket) override
    {
        if (!receiver)
            throw sdbus::Error("org.freedesktop.DBus.Error.Failed", "not an application");
        receiver({ fromWire(request), _sender(), ticket, std::move(once), std::move(handled) });
    }

    void Reply(const uint64_t& ticket, const int32_t& result, const WireEntries& reply) override
    {
        answer(ticket, result, fromWire(reply));
    }

    std::string _sender()
    {
        const sdbus::Message* message = getObject().getCurrentlyProcessedMessage();
        return message ? message->getSender() : "";
    }

    std::map<std::string, std::unique_ptr<sdbus::IProxy>> _targets;
    std::map<uint64_t, Answer> _answers;
    std::random_device _random;
};

ApplicationPort::ApplicationPort()
    : _object(std::make_unique<Object>())
{
}

ApplicationPort::~ApplicationPort() = default;

ApplicationPort& ApplicationPort::instance()
{
    bus(); // made first, so that it outlives the port
    static ApplicationPort port;
    return port;
}

void ApplicationPort::open(const std::string& application, Receiver receiver)
{
    _object->receiver = std::move(receiver);
    bus().requestName(application);
    _application = application;
}

void ApplicationPort::close()
{
    bus().releaseName(_application);
    while (bus().processPendingRequest()) {
    }
    _object->receiver = nullptr;
    _isClosed = true;
}

bool ApplicationPort::isNew(const Request& request)
{
    return request.once.empty() || access(traceOf(request.once).c_str(), F_OK) != 0;
}

void ApplicationPort::finish(const Request& request)
try {
    // Where no trace can be left, an alert that may come twice is better than none.
    if (!request.once.empty()) {
        makeDirectory(traces());
        const int trace = creat(traceOf(request.once).c_str(), 0600);
        if (trace >= 0)
            ::close(trace);
    }
    request.handled.returnResults();
    if (!request.once.empty())
        removeOldTraces();
} catch (const std::exception& error) {
    logWarning(std::string("That a request was handled cannot be told: ") + error.what());
}

void ApplicationPort::launch(
    const std::string& application, const Entries& request, Answer answer, const std::string& once)
{
    // The bus answers this one itself, so that two applications that launch each other do not wait
    // for one another. Nor does one wait that launches itself before it has its name.
    if (_isClosed || application != identity().application) {
        uint32_t started = 0;
        sdbus::createProxy(bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus")
            ->callMethod("StartServiceByName")
            .onInterface("org.freedesktop.DBus")
            .withArguments(application, uint32_t{ 0 })
            .storeResultsTo(started);
    }

    const uint64_t ticket = answer ? _object->expect(std::move(answer)) : 0;
    _object->target(application)
        .callMethodAsync("Launch")
        .onInterface(kInterface)
        .withTimeout(UINT64_MAX) // how long its callback takes is the application's affair
        .withArguments(toWire(request), once, ticket)
        .uponReplyInvoke([this, application, ticket](const sdbus::Error* error) {
            if (!error)
                return;
            logError("launching " + application + " failed: " + error->getMessage());
            _object->answer(ticket, APP_CONTROL_RESULT_FAILED, {});
        });
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
