#include "PhoneEnd.h"

#include "common/LocalSocket.h"
#include "common/PhoneLink.h"
#include "PhoneMessage.h"

#include <AlarmSyncUtil.h>
#include <cerrno>
#include <cstring>
#include <dlog.h>
#include <Ecore.h>
#include <unistd.h>

namespace {

const char* const kTag = "alarm-service";
const double kTryAgain = 1; // seconds

} // namespace

void PhoneEnd::open()
{
    _listener = app::listenIn(app::phoneSocketFolder(), app::kPhoneSocket);
    if (_listener < 0) {
        dlog_print(DLOG_ERROR, kTag, "the phone cannot connect: there is no socket");
        return;
    }
    _handler
        = ecore_main_fd_handler_add(_listener, ECORE_FD_READ, _connectedCb, this, nullptr, nullptr);
}

void PhoneEnd::close()
{
    _connection.reset();
    if (_timer)
        ecore_timer_del(_timer);
    _timer = nullptr;
    if (_handler)
        ecore_main_fd_handler_del(_handler);
    _handler = nullptr;
    if (_listener >= 0)
        ::close(_listener);
    _listener = -1;
}

void PhoneEnd::followAlarms()
{
    if (_connection)
        _conversation->sendChanges();
}

void PhoneEnd::followLink()
{
    if (_connection && !AlarmSyncUtil::isBtConnected()) {
        dlog_print(DLOG_INFO, kTag, "the phone is away");
        _connection.reset();
    }
}

unsigned char PhoneEnd::_connectedCb(void* data, Ecore_Fd_Handler*) noexcept
{
    static_cast<PhoneEnd*>(data)->_accept();
    return ECORE_CALLBACK_RENEW;
}

void PhoneEnd::_accept()
{
    const int socket = app::acceptFrom(_listener);
    if (socket < 0) {
        if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
            _acceptLater();
        return;
    }
    if (!AlarmSyncUtil::isBtConnected()) {
        dlog_print(DLOG_WARN, kTag, "somebody connects while the phone's link is down");
        ::close(socket);
        return;
    }
    dlog_print(DLOG_INFO, kTag, "the phone is connected");
    _connection.reset();
    _conversation = std::make_unique<PhoneConversation>(
        [this](const std::string& message) { _connection->send(message); });
    app::LineConnection::Callbacks callbacks;
    callbacks.line = [this](const std::string& line) { _conversation->take(line); };
    callbacks.tooLong = [this] {
        _conversation->refuse(
            "it is longer than " + std::to_string(kLongestPhoneMessage) + " bytes");
    };
    callbacks.end = [this] {
        dlog_print(DLOG_INFO, kTag, "the phone is away");
        _connection.reset();
    };
    _connection = std::make_unique<app::LineConnection>(socket, kLongestPhoneMessage, callbacks);
}

// A connection that waits to be accepted would wake the loop again and again, so the listener
// rests.
void PhoneEnd::_acceptLater()
{
    dlog_print(DLOG_ERROR, kTag, "the phone cannot connect now: %s", strerror(errno));
    ecore_main_fd_handler_active_set(_handler, static_cast<Ecore_Fd_Handler_Flags>(0));
    _timer = ecore_timer_add(kTryAgain, _acceptAgainCb, this);
}

unsigned char PhoneEnd::_acceptAgainCb(void* data) noexcept
{
    auto* self = static_cast<PhoneEnd*>(data);
    self->_timer = nullptr;
    ecore_main_fd_handler_active_set(self->_handler, ECORE_FD_READ);
    return ECORE_CALLBACK_CANCEL;
}
