#include "PhoneEnd.h"

#include "common/LocalSocket.h"
#include "common/PhoneLink.h"
#include "PhoneMirror.h"

#include <AlarmSyncUtil.h>
#include <dlog.h>
#include <Ecore.h>
#include <unistd.h>

namespace {

const char* const kTag = "alarm-service";
const size_t kLongestLine = 1 << 20;

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

void PhoneEnd::followSettings()
{
    if (_connection && !AlarmSyncUtil::isBtConnected()) {
        dlog_print(DLOG_INFO, kTag, "the phone is away");
        _connection.reset();
    }
    mirror::followRinging();
}

unsigned char PhoneEnd::_connectedCb(void* data, Ecore_Fd_Handler*)
{
    static_cast<PhoneEnd*>(data)->_accept();
    return ECORE_CALLBACK_RENEW;
}

void PhoneEnd::_accept()
{
    const int socket = app::acceptFrom(_listener);
    if (socket < 0)
        return;
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
    callbacks.tooLong = [] {
        dlog_print(DLOG_WARN, kTag, "a phone message is refused: it is longer than %zu bytes",
            kLongestLine);
    };
    callbacks.end = [this] {
        dlog_print(DLOG_INFO, kTag, "the phone is away");
        _connection.reset();
        mirror::followRinging();
    };
    _connection = std::make_unique<app::LineConnection>(socket, kLongestLine, callbacks);
}
