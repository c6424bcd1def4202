#include "AlertRequest.h"

#include "common/Failure.h"
#include "common/Text.h"

#include <AlertState.h>
#include <app_control.h>
#include <cstdlib>
#include <Ecore.h>
#include <memory>
#include <optional>

namespace {

const double kPatience = 20.0; // seconds; a save may take its time

struct Answer {
    app_control_result_e result = APP_CONTROL_RESULT_FAILED;
    std::string alarm;
    std::string reason;
};

std::string extra(app_control_h control, const char* key)
{
    char* value = nullptr;
    if (app_control_get_extra_data(control, key, &value) != APP_CONTROL_ERROR_NONE)
        return "";
    const std::unique_ptr<char, void (*)(void*)> owned(value, free);
    return value;
}

void takeAnswer(app_control_h, app_control_h reply, app_control_result_e result, void* data)
{
    auto& answer = *static_cast<std::optional<Answer>*>(data);
    if (answer || result == APP_CONTROL_RESULT_APP_STARTED)
        return;
    answer = Answer{ result, extra(reply, companion::kAlarmExtra),
        extra(reply, companion::kReasonExtra) };
    ecore_main_loop_quit();
}

Eina_Bool giveUp(void*)
{
    ecore_main_loop_quit();
    return ECORE_CALLBACK_CANCEL;
}

std::unique_ptr<app_control_s, int (*)(app_control_h)> requestFor(const char* operation)
{
    app_control_h request = nullptr;
    (void)app_control_create(&request);
    (void)app_control_set_app_id(request, companion::kAlertId);
    (void)app_control_set_operation(request, operation);
    return { request, app_control_destroy };
}

} // namespace

int askAlert(const char* operation)
{
    const auto request = requestFor(operation);
    std::optional<Answer> answer;
    if (app_control_send_launch_request(request.get(), takeAnswer, &answer)
        != APP_CONTROL_ERROR_NONE)
        throw Failure(Failure::kFailed, "the alert application cannot be reached");
    ecore_timer_add(kPatience, giveUp, nullptr);
    ecore_main_loop_begin();

    if (!answer)
        throw Failure(Failure::kFailed, "the alert application does not answer");
    if (answer->result != APP_CONTROL_RESULT_SUCCEEDED) {
        throw Failure(Failure::kFailed,
            answer->reason.empty() ? "the alert application ended without an answer"
                                   : printable(answer->reason));
    }
    return static_cast<int>(strtol(answer->alarm.c_str(), nullptr, 10));
}
