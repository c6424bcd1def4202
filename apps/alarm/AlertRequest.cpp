#include "AlertRequest.h"

#include "common/Failure.h"
#include "common/Request.h"
#include "common/Text.h"

#include <AlertState.h>
#include <cstdlib>

namespace {

const double kPatience = 20.0; // seconds; the alert may have to wait for the store

struct Answer {
    app_control_result_e result = APP_CONTROL_RESULT_FAILED;
    std::string alarm;
    std::string reason;
};

} // namespace

int askAlert(const char* operation)
{
    const app::Control request = app::makeControl(companion::kAlertId);
    (void)app_control_set_operation(request.get(), operation);
    std::optional<Answer> answer;
    const bool isSent
        = app::ask(request, kPatience, [&answer](app_control_h reply, app_control_result_e result) {
              answer = Answer{ result, app::extraOf(reply, companion::kAlarmExtra).value_or(""),
                  app::extraOf(reply, companion::kReasonExtra).value_or("") };
          });
    if (!isSent)
        throw Failure(Failure::kFailed, "the alert application cannot be reached");
    if (!answer)
        throw Failure(Failure::kFailed, "the alert application does not answer");
    if (answer->result != APP_CONTROL_RESULT_SUCCEEDED) {
        throw Failure(Failure::kFailed,
            answer->reason.empty() ? "the alert application ended without an answer"
                                   : printable(answer->reason));
    }
    return static_cast<int>(strtol(answer->alarm.c_str(), nullptr, 10));
}
