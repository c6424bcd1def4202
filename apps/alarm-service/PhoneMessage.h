#pragma once

#include <AlarmDbData.h>
#include <AlarmMessage.h>
#include <string>
#include <vector>

/// A message that the phone may send, with what its kind has to carry.
struct PhoneMessage {
    AlarmMessage::Type type = AlarmMessage::FirstConnectionReq;
    int phone = 0; ///< the pairing, where the phone says hello
    int number = 0; ///< of the watch's message, where the phone answers one
    int sequence = 0; ///< how often the phone's alarms have changed
    size_t listed = 0; ///< how many alarms it carries
};

/// In bytes; the most and longest alarms fit, however their texts are escaped.
inline const size_t kLongestPhoneMessage = 8 << 20;

/**
 * Reads a message, with a look at each alarm. The library's parser takes any JSON, and more; what
 * the watch would have to answer or to store wrongly is refused here, as a whole: throws Failure,
 * whose text says why.
 */
PhoneMessage readPhoneMessage(const std::string& text);

/// Reads the phone alarms of the text of that message. The library logs each.
std::vector<AlarmDbData> readPhoneAlarms(const std::string& text, const PhoneMessage& message);
