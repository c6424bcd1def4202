#include "Device.h"

#include "common/LocalSocket.h"
#include "common/PhoneLink.h"
#include "common/Request.h"

#include <AlarmJsonBuilder.h>
#include <AlarmJsonParser.h>
#include <AlarmSyncUtil.h>
#include <Ecore.h>
#include <exception>
#include <vconf.h>

namespace {

const char* const kServiceId = "com.velmora.alarm-service";
const char* const kVendorKey = "db/wms/host_status/vendor";
const int kBluetooth = 1;
const double kPause = 0.1; // seconds
const size_t kLongestLine = 16 << 20;

void setLink(bool isUp)
{
    (void)vconf_set_int(VCONFKEY_VAP_CONNECTIVITY_TYPE, isUp ? kBluetooth : 0);
    (void)vconf_set_bool(VCONFKEY_WMS_WMANAGER_CONNECTED, isUp);
}

// On a watch, a message that arrives from the phone starts the service.
void wakeService()
{
    (void)app_control_send_launch_request(app::makeControl(kServiceId).get(), nullptr, nullptr);
}

} // namespace

Device::~Device() { _drop(); }

void Device::pair(const std::string& vendor)
{
    _book.pair();
    disconnect();
    (void)vconf_set_str(kVendorKey, vendor.c_str());
}

void Device::connect()
{
    if (_connection || (_timer && AlarmSyncUtil::isBtConnected()))
        return;
    setLink(true);
    if (!_timer)
        _timer = ecore_timer_add(kPause, _tryCb, this);
    _try();
}

void Device::disconnect()
{
    if (_connection)
        _log.addNote("the link is down");
    _drop();
    setLink(false);
}

int Device::add(const AlarmDbData& alarm)
{
    const int number = _book.add(alarm);
    _tell(number);
    return number;
}

void Device::change(int number, const AlarmDbData& alarm)
{
    _book.change(number, alarm);
    _tell(number);
}

void Device::send(const std::string& bytes)
{
    const bool isLine = bytes.find('\n') + 1 == bytes.size() && bytes.size() < 1000;
    _log.addSent(isLine ? bytes.substr(0, bytes.size() - 1)
                        : std::to_string(bytes.size()) + " bytes of a file");
    _connection->sendBytes(bytes);
}

unsigned char Device::_tryCb(void* data)
{
    auto* device = static_cast<Device*>(data);
    device->_attempt([device] { device->_try(); });
    return ECORE_CALLBACK_RENEW;
}

// No exception may reach the main loop. A message that was not answered because of one is sent
// again by the watch on the next connection.
template <typename Action>
void Device::_attempt(Action action)
{
    try {
        action();
    } catch (const std::exception& error) {
        _log.addNote(error.what());
    }
}

void Device::_drop()
{
    if (_timer)
        ecore_timer_del(_timer);
    _timer = nullptr;
    _connection.reset();
    _isHeard = false;
}

// While the link is down the watch closes every connection.
void Device::_try()
{
    if (!AlarmSyncUtil::isBtConnected())
        return;
    const int socket = app::connectIn(app::phoneSocketFolder(), app::kPhoneSocket);
    if (socket < 0) {
        wakeService();
        return;
    }
    ecore_timer_del(_timer);
    _timer = nullptr;
    app::LineConnection::Callbacks callbacks;
    callbacks.line = [this](const std::string& line) { _attempt([&] { _hear(line); }); };
    callbacks.tooLong
        = [this] { _attempt([this] { _log.addNote("the watch's message is too long"); }); };
    callbacks.end = [this] {
        _drop();
        _timer = ecore_timer_add(kPause, _tryCb, this);
        _attempt([this] { _log.addNote("the link is lost"); });
    };
    _connection = std::make_unique<app::LineConnection>(socket, kLongestLine, callbacks);
    _log.addNote("the link is up");
    _say(_book.hasMet() ? AlarmMessage::SequenceReq : AlarmMessage::FirstConnectionReq);
}

void Device::_hear(const std::string& text)
{
    _log.addReceived(text);
    AlarmJsonParser parser(text);
    std::vector<AlarmDbData> alarms;
    parser.getAlarmList(alarms);
    int number = 0;
    parser.getIntegerValue("number", number);
    switch (parser.getMessageType()) {
    case AlarmMessage::FirstConnectionRsp:
        _book.meet();
        _isHeard = true;
        break;
    case AlarmMessage::SequenceRsp:
        _isHeard = true;
        break;
    case AlarmMessage::AlarmListReq:
        _sayList(number);
        break;
    case AlarmMessage::ReconnectWatchChangeReq:
        _book.merge(alarms);
        _say(AlarmMessage::ReconnectWatchChangeRsp, number);
        break;
    case AlarmMessage::WatchUpdateInd:
        _book.merge(alarms);
        _say(AlarmMessage::WatchUpdateAck, number);
        break;
    default:
        break;
    }
}

void Device::_sayList(int number)
{
    std::vector<AlarmDbData> alarms;
    for (const AlarmDbData& alarm : _book.alarms()) {
        if (!alarm.isDeleted)
            alarms.push_back(alarm);
    }
    _say(AlarmMessage::AlarmListRsp, number, &alarms);
}

void Device::_tell(int number)
{
    if (!_connection)
        return;
    const std::vector<AlarmDbData> alarms = { _book.alarms()[static_cast<size_t>(number) - 1] };
    _say(AlarmMessage::MobileUpdateInd, std::nullopt, &alarms);
}

void Device::_say(
    AlarmMessage::Type type, std::optional<int> number, const std::vector<AlarmDbData>* alarms)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(type);
    if (type == AlarmMessage::FirstConnectionReq || type == AlarmMessage::SequenceReq)
        builder.addIntegerMember("phone", _book.pairing());
    if (number)
        builder.addIntegerMember("number", *number);
    builder.addIntegerMember("sequence", _book.sequence());
    if (alarms) {
        std::vector<AlarmDbData> list = *alarms;
        builder.addAlarmList(list);
    }
    std::string text;
    builder.getJsonMessage(text);
    _log.addSent(text);
    _connection->send(text);
}
