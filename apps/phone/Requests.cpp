#include "Requests.h"

#include "common/Failure.h"

#include <cstdlib>
#include <Ecore.h>
#include <memory>
#include <optional>

namespace requests {

namespace {

const double kPatience = 10.0; // seconds
const char* const kStatus = "status";
const char* const kOut = "out";
const char* const kError = "error";

using Control = std::unique_ptr<app_control_s, int (*)(app_control_h)>;

Control makeControl()
{
    app_control_h made = nullptr;
    (void)app_control_create(&made);
    return { made, app_control_destroy };
}

std::string argumentKey(size_t at) { return "argument" + std::to_string(at); }

std::optional<std::string> extra(app_control_h control, const char* key)
{
    char* value = nullptr;
    if (app_control_get_extra_data(control, key, &value) != APP_CONTROL_ERROR_NONE)
        return std::nullopt;
    const std::unique_ptr<char, void (*)(void*)> owned(value, free);
    return owned.get();
}

void takeReply(app_control_h, app_control_h reply, app_control_result_e outcome, void* data)
{
    if (outcome == APP_CONTROL_RESULT_APP_STARTED)
        return;
    const auto status = extra(reply, kStatus);
    if (status) {
        *static_cast<std::optional<Result>*>(data) = Result{ std::atoi(status->c_str()),
            extra(reply, kOut).value_or(""), extra(reply, kError).value_or("") };
    }
    ecore_main_loop_quit();
}

Eina_Bool giveUp(void*)
{
    ecore_main_loop_quit();
    return ECORE_CALLBACK_RENEW;
}

} // namespace

const char* const kPhoneId = "com.velmora.alarm-phone";

Result ask(const std::vector<std::string>& arguments)
{
    const Control request = makeControl();
    (void)app_control_set_app_id(request.get(), kPhoneId);
    for (size_t at = 0; at < arguments.size(); ++at) {
        (void)app_control_add_extra_data(
            request.get(), argumentKey(at).c_str(), arguments[at].c_str());
    }
    std::optional<Result> result;
    if (app_control_send_launch_request(request.get(), takeReply, &result)
        != APP_CONTROL_ERROR_NONE)
        throw Failure(Failure::kFailed, "the phone cannot be reached; is this a session?");
    Ecore_Timer* timer = ecore_timer_add(kPatience, giveUp, nullptr);
    ecore_main_loop_begin();
    ecore_timer_del(timer);
    if (!result)
        throw Failure(Failure::kFailed, "the phone does not answer");
    return *result;
}

std::vector<std::string> argumentsOf(app_control_h request)
{
    std::vector<std::string> arguments;
    while (auto argument = extra(request, argumentKey(arguments.size()).c_str()))
        arguments.push_back(std::move(*argument));
    return arguments;
}

void answer(app_control_h request, const Result& result)
{
    const Control reply = makeControl();
    (void)app_control_add_extra_data(reply.get(), kStatus, std::to_string(result.status).c_str());
    (void)app_control_add_extra_data(reply.get(), kOut, result.out.c_str());
    (void)app_control_add_extra_data(reply.get(), kError, result.error.c_str());
    (void)app_control_reply_to_launch_request(reply.get(), request, APP_CONTROL_RESULT_SUCCEEDED);
}

} // namespace requests
