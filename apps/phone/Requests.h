#pragma once

#include <app_control.h>
#include <string>
#include <vector>

/** How the command reaches the phone: a launch request with its arguments, and the reply. */
namespace requests {

extern const char* const kPhoneId; ///< the application id of the phone

/// Exit status, standard output, and one line of an error.
struct Result {
    int status = 0;
    std::string out;
    std::string error;
};

/// Asks the phone and waits for its result. Throws a Failure when it does not come. The loop of
/// Ecore must not run.
Result ask(const std::vector<std::string>& arguments);

/// The phone's side.
std::vector<std::string> argumentsOf(app_control_h request);
void answer(app_control_h request, const Result& result);

} // namespace requests
