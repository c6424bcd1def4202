#include "Requests.h"

#include "common/Failure.h"
#include "common/Request.h"

#include <cstdlib>

namespace requests {

namespace {

const double kPatience = 10.0; // seconds
const char* const kStatus = "status";
const char* const kOut = "out";
const char* const kError = "error";

std::string argumentKey(size_t at) { return "argument" + std::to_string(at); }

} // namespace

const char* const kPhoneId = "com.velmora.alarm-phone";

Result ask(const std::vector<std::string>& arguments)
{
    const app::Control request = app::makeControl(kPhoneId);
    for (size_t at = 0; at < arguments.size(); ++at)
        app::addExtra(request, argumentKey(at), arguments[at]);
    std::optional<Result> result;
    const bool isSent = app::ask(
        request, kPatience, [&result](app_control_h reply, app_control_result_e) {
            if (const auto status = app::extraOf(reply, kStatus)) {
                result = Result{ std::atoi(status->c_str()), app::extraOf(reply, kOut).value_or(""),
                    app::extraOf(reply, kError).value_or("") };
            }
        });
    if (!isSent)
        throw Failure(Failure::kFailed, "the phone cannot be reached; is this a session?");
    if (!result)
        throw Failure(Failure::kFailed, "the phone does not answer");
    return *result;
}

std::vector<std::string> argumentsOf(app_control_h request)
{
    std::vector<std::string> arguments;
    while (auto argument = app::extraOf(request, argumentKey(arguments.size())))
        arguments.push_back(std::move(*argument));
    return arguments;
}

void answer(app_control_h request, const Result& result)
{
    const app::Control reply = app::makeControl();
    app::addExtra(reply, kStatus, std::to_string(result.status));
    app::addExtra(reply, kOut, result.out);
    app::addExtra(reply, kError, result.error);
    (void)app_control_reply_to_launch_request(reply.get(), request, APP_CONTROL_RESULT_SUCCEEDED);
}

} // namespace requests
