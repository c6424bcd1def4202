#include "host/common/ApplicationPort.h"

#include "host/common/Bus.h"
#include "host/common/Log.h"
#include "host/common/Session.h"

#include <app_control.h>
#include <cerrno>
#include <com.velmora.host.Application-adaptor.h>
#include <fcntl.h>
#include <glib.h>
#include <map>
#include <system_error>
#include <unistd.h>

namespace host {

namespace {

const char* const kInterface = "com.velmora.host.Application";

using WireEntries = std::vector<sdbus::Struct<std::string, std::string>>;

WireEntries toWire(const Entries& entries)
{
    WireEntries wire;
    for (const auto& [key, value] : entries)
        wire.emplace_back(key, value);
    return wire;
}

Entries fromWire(const WireEntries& wire)
{
    Entries entries;
    for (const auto& entry : wire)
        entries.emplace_back(entry.get<0>(), entry.get<1>());
    return entries;
}

// Whether this text has not been seen in this session, by any process. Each leaves a file behind: a
// store would cost the alert more time than all else that is done for it here.
bool isFirstDelivery(const std::string& once)
try {
    static const std::string folder = runtimePath() + "delivered/";
    makeDirectory(folder);
    const std::unique_ptr<char, void (*)(void*)> name(
        g_compute_checksum_for_string(G_CHECKSUM_SHA256, once.c_str(), -1), g_free);
    const int file = open((folder + name.get()).c_str(), O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0)
        close(file);
    // Where nothing can be written, an alert that may come twice is better than none.
    return file >= 0 || errno != EEXIST;
} catch (const std::system_error&) {
    return true;
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

    uint64_t expect(Answer answer)
    {
        _answers[++_lastTicket] = std::move(answer);
        return _lastTicket;
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
        const WireEntries& request, const std::string& once, const uint64_t& ticket) override
    {
        if (!receiver)
            throw sdbus::Error("org.freedesktop.DBus.Error.Failed", "not an application");
        if (once.empty() || isFirstDelivery(once))
            receiver({ fromWire(request), _sender(), ticket });
    }

    // Only the process that the request was sent to answers it, so a ticket is proof enough.
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
    uint64_t _lastTicket = 0;
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

void ApplicationPort::launch(const std::string& application, const Entries& request, Answer answer)
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
        .withArguments(toWire(request), std::string(), ticket)
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
