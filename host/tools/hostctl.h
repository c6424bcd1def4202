#pragma once

#include <cstdint>
#include <sdbus-c++/IConnection.h>
#include <stdexcept>
#include <string>
#include <vector>

/// The subcommands of hostctl. Each takes the words after its name. Throws UsageError for words
/// that it does not know, with a text that says what would be right, and std::exception when it
/// fails.
namespace hostctl {

using Arguments = std::vector<std::string>;

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The session's bus. Throws std::runtime_error when there is none.
sdbus::IConnection& bus();

/// Throws UsageError when there are arguments; right: the whole command.
void refuseUnlessEmpty(const Arguments& arguments, const std::string& right);

/// The instant in the device's zone, by a format of strftime.
std::string local(std::int64_t instant, const char* format);
/// The text as a JSON string.
std::string quoted(const std::string& text);
/// The text as one line for a terminal, whoever wrote it: with ? for characters that control the
/// terminal or the direction of the text, and U+FFFD for what is not UTF-8.
std::string shown(const std::string& text);

void key(const Arguments& arguments);
void preference(const Arguments& arguments);
void locale(const Arguments& arguments);
void clock(const Arguments& arguments);
void zone(const Arguments& arguments);
void alarms(const Arguments& arguments);
void tray(const Arguments& arguments);
void launch(const Arguments& arguments);
void supervise(const Arguments& arguments);
void volume(const Arguments& arguments);
void vibration(const Arguments& arguments);
void device(const Arguments& arguments);
void record(const Arguments& arguments);
void focus(const Arguments& arguments);

} // namespace hostctl
