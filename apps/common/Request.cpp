#include "common/Request.h"

#include <AlertState.h>
#include <Ecore.h>
#include <HeapText.h>

namespace app {

namespace {

// The platform calls it once for each request that is answered, even after nobody waits any more.
void replyCb(app_control_h, app_control_h reply, app_control_result_e result, void* data)
{
    if (result == APP_CONTROL_RESULT_APP_STARTED)
        return;
    const std::unique_ptr<std::weak_ptr<ReadReply>> waiting(
        static_cast<std::weak_ptr<ReadReply>*>(data));
    if (const std::shared_ptr<ReadReply> read = waiting->lock()) {
        (*read)(reply, result);
        ecore_main_loop_quit();
    }
}

Eina_Bool giveUpCb(void*)
{
    ecore_main_loop_quit();
    return ECORE_CALLBACK_RENEW;
}

} // namespace

Control makeControl(const char* application)
{
    app_control_h made = nullptr;
    (void)app_control_create(&made);
    if (application)
        (void)app_control_set_app_id(made, application);
    return { made, app_control_destroy };
}

void addExtra(const Control& control, const std::string& key, const std::string& value)
{
    (void)app_control_add_extra_data(control.get(), key.c_str(), value.c_str());
}

std::optional<std::string> extraOf(app_control_h control, const std::string& key)
{
    char* value = nullptr;
    if (app_control_get_extra_data(control, key.c_str(), &value) != APP_CONTROL_ERROR_NONE)
        return std::nullopt;
    return companion::takeText(value);
}

void reply(app_control_h request, const std::string& refusal, const Control& made)
{
    if (!refusal.empty())
        addExtra(made, companion::kReasonExtra, refusal);
    (void)app_control_reply_to_launch_request(made.get(), request,
        refusal.empty() ? APP_CONTROL_RESULT_SUCCEEDED : APP_CONTROL_RESULT_FAILED);
}

bool ask(const Control& request, double seconds, const ReadReply& read)
{
    const auto waiting = std::make_shared<ReadReply>(read);
    auto data = std::make_unique<std::weak_ptr<ReadReply>>(waiting);
    if (app_control_send_launch_request(request.get(), replyCb, data.get())
        != APP_CONTROL_ERROR_NONE)
        return false;
    (void)data.release(); // the callback's own
    Ecore_Timer* timer = ecore_timer_add(seconds, giveUpCb, nullptr);
    ecore_main_loop_begin();
    ecore_timer_del(timer);
    return true;
}

} // namespace app
