#include "AlarmJsonBuilder.h"
#include "AlarmJsonParser.h"
#include "DlogDouble.h"

#include <cstdint>
#include <cstdlib>
#include <glib.h>
#include <string>
#include <vector>

// Any texts are read without harm, and what was read comes back from a message that is built of it.
// A zero byte, which no message holds, parts two messages for one parser.

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
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t zero = input.find('\0');
    AlarmJsonParser parser(input.substr(0, zero));
    readAnyMembers(parser);
    if (zero != std::string::npos) {
        parser.setJsonMessage(input.substr(zero + 1));
        readAnyMembers(parser);
    }
    std::vector<AlarmDbData> read;
    parser.getAlarmList(read);
    if (parser.getMessageType() < 0) {
        require(read.empty());
        return 0;
    }

    const std::string message = messageOf(parser.getMessageType(), read);
    AlarmJsonParser again(message);
    std::vector<AlarmDbData> readAgain;
    again.getAlarmList(readAgain);
    require(again.getMessageType() == parser.getMessageType());
    require(readAgain.size() == read.size());
    for (size_t i = 0; i < read.size(); ++i)
        requireSame(read[i], readAgain[i]);
    return 0;
}
