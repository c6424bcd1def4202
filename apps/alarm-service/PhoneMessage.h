#pragma once

#include <AlarmDbData.h>
#include <AlarmMessage.h>
#include <string>
#include <vector>

/// A message that the phone may send, with what its kind has to carry.
struct PhoneMessage {
    AlarmMessage::Type type = AlarmMessage::FirstConnectionReq;
    int phone = 0; ///< the number of the pairing; in the two kinds that say hello
    int number = 0; ///< the number of the watch's message that this one answers; in answers
    int sequence = 0; ///< how often the phone's alarms have changed
    size_t listed = 0; ///< how many alarms it carries
};

/// In bytes. A list of the most alarms with the longest texts fits, however these are escaped.
inline const size_t kLongestPhoneMessage = 8 << 20;

/**
 * Reads a message strictly: it must be JSON as RFC 8259 has it, and have what its kind and each of
 * its alarms need, within their ranges. Throws a Failure that says why the message is refused as a
 * whole; for a text that is not JSON, with the position of the fault.
 */
PhoneMessage readPhoneMessage(const std::string& text);

/// The alarms of a message that was read from the text. They are as the library's own parser reads
/// them, which logs each.
std::vector<AlarmDbData> readPhoneAlarms(const std::string& text, const PhoneMessage& message);
