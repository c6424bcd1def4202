#pragma once

#include <sdbus-c++/IConnection.h>
#include <stdexcept>
#include <string>
#include <vector>

/// The subcommands of hostctl. Each takes the words behind its name, and throws UsageError for
/// words that it does not know and std::exception for what failed; the text says what would be
/// right.
namespace hostctl {

using Arguments = std::vector<std::string>;

class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The session's bus. Throws std::runtime_error when there is none.
sdbus::IConnection& bus();

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
