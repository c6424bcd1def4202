#include "AlarmJsonBuilder.h"
#include "AlarmJsonParser.h"
#include "DlogDouble.h"

#include <cstdint>
#include <cstdlib>
#include <glib.h>

// Any text is read without harm, and what was read comes back from a message that is built of it.

namespace {
void require(bool condition)
{
    if (!condition)
        abort();
}

void dropWarning(const char* /*domain*/, GLogLevelFlags /*level*/, const char* /*text*/, void*) {}

std::string messageOf(AlarmMessage::Type type, std::vector<AlarmDbData>& alarms)
{
    AlarmJsonBuilder builder;
    builder.setMessageType(type);
    builder.addAlarmList(alarms);
    std::string text;
    builder.getJsonMessage(text);
    return text;
}

void requireSame(const AlarmDbData& read, const AlarmDbData& again)
{
    require(read.uuid == again.uuid);
    require(read.name == again.name);
    require(read.hour == again.hour && read.min == again.min);
    require(read.mobileCreateTime == again.mobileCreateTime);
    require(read.mobileModifiedTime == again.mobileModifiedTime);
    require(read.mobileAlertTime == again.mobileAlertTime);
    require(read.enable == again.enable);
    require(read.repeatWeekly == again.repeatWeekly && read.repeat_once == again.repeat_once);
    require(read.isDeleted == again.isDeleted);
}

void readAnyMembers(AlarmJsonParser& parser)
{
    std::string text;
    int number = 0;
    bool flag = false;
    for (const char* name : { "msgId", "list", "uuid" }) {
        parser.getStringValue(name, text);
        parser.getIntegerValue(name, number);
        parser.getBooleanValue(name, flag);
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/)
{
    g_log_set_default_handler(dropWarning, nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    dlogDouble().lines.clear();
    AlarmJsonParser parser(std::string(reinterpret_cast<const char*>(data), size));
    readAnyMembers(parser);
    std::vector<AlarmDbData> read;
    parser.getAlarmList(read);
    if (parser.getMessageType() < 0) {
        require(read.empty());
        return 0;
    }

    const std::string message = messageOf(parser.getMessageType(), read);
    // JSON-GLib makes bytes that are no UTF-8 of half a surrogate pair, and then refuses them.
    if (g_utf8_validate(message.data(), static_cast<gssize>(message.size()), nullptr) == FALSE)
        return 0;
    AlarmJsonParser again(message);
    std::vector<AlarmDbData> readAgain;
    again.getAlarmList(readAgain);
    require(again.getMessageType() == parser.getMessageType());
    require(readAgain.size() == read.size());
    for (size_t i = 0; i < read.size(); ++i)
        requireSame(read[i], readAgain[i]);
    return 0;
}
