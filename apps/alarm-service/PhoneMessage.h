#pragma once

#include <AlarmDbData.h>
#include <AlarmMessage.h>
#include <string>
#include <vector>

/// A message that the phone may send, with everything that its kind has to carry.
struct PhoneMessage {
    AlarmMessage::Type type = AlarmMessage::FirstConnectionReq;
    int phone = 0; ///< the pairing, where the phone says hello
    int number = 0; ///< of the watch's message, where the phone answers one
    int sequence = 0; ///< how often the phone's alarms have changed
    std::vector<AlarmDbData> alarms; ///< phone alarms
};

/**
 * Reads a message. The library's parser takes any JSON; what the watch would have to answer or to
 * store wrongly is refused here, as a whole: the result says why in one line, or is empty. Then
 * message is filled.
 */
std::string readPhoneMessage(const std::string& text, PhoneMessage& message);
