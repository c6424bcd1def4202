#include "host/daemon/RequestSender.h"

#include "host/common/Peers.h"
#include "host/common/Wire.h"

namespace host {

namespace {

const int kMostTries = 3; ///< to reach an application that ends just when it is launched

} // namespace

RequestSender::RequestSender(Applications& applications)
    : _applications(applications)
{
}

void RequestSender::send(Request request, Answered answered)
{
    _find(std::make_shared<Sending>(Sending{ std::move(request), std::move(answered) }));
}

void RequestSender::_find(const std::shared_ptr<Sending>& sending)
{
    ++sending->tries;
    try {
        _applications.find(sending->request.application,
            [this, sending](const std::string& connection, const sdbus::Error* error) {
                const auto& isWanted = sending->request.isWanted;
                if (error) {
                    sending->answered(error);
                } else if (!isWanted || isWanted()) {
                    _call(sending, connection);
                }
            });
    } catch (const std::exception& error) {
        const sdbus::Error failed("org.freedesktop.DBus.Error.Failed", error.what());
        sending->answered(&failed);
    }
}

void RequestSender::_call(const std::shared_ptr<Sending>& sending, const std::string& connection)
{
    const Request& request = sending->request;
    try {
        auto& call = _calls[sending.get()];
        call = sdbus::createProxy(bus(), connection, kApplicationPath);
        call->callMethodAsync("Launch")
            .onInterface("com.velmora.host.Application")
            .withArguments(toWire(request.entries), request.once, std::uint64_t{ 0 })
            .uponReplyInvoke([this, sending](const sdbus::Error* error) {
                _end(sending.get());
                if (error && hasEnded(*error) && sending->tries < kMostTries) {
                    _find(sending);
                } else {
                    sending->answered(error);
                }
            });
    } catch (const sdbus::Error& error) {
        _end(sending.get());
        sending->answered(&error);
    }
}

void RequestSender::_end(const Sending* sending)
{
    auto call = _calls.extract(sending);
    if (call.empty())
        return;
    _ended.push_back(std::move(call.mapped()));
    _sweep = std::make_unique<Timer>(0, [this] { _ended.clear(); });
}

} // namespace host
