#pragma once

#include <app_control.h>
#include <string>
#include <vector>

/** How the command reaches the phone: by a launch request with its arguments, which is replied to.
 */
namespace requests {

extern const char* const kPhoneId; ///< the application id of the phone

/// A command's exit status, what it prints, and its error in one line; no error is empty.
struct Result {
    int status = 0;
    std::string out;
    std::string error;
};

/// Asks the phone and waits for its result. Throws a Failure when none comes. The main loop must
/// not be running.
Result ask(const std::vector<std::string>& arguments);

/// The arguments that a request to the phone has.
std::vector<std::string> argumentsOf(app_control_h request);

/// Replies to a request to the phone.
void answer(app_control_h request, const Result& result);

} // namespace requests
