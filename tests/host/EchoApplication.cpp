// An application for the tests. It writes what happens to it, a line each, into the runtime
// directory's file <application id>.log:
//
//   <pid> create | refuse | terminate | result <code of the main function>
//   <pid> request <operation> <extra "text">, and "done <text>" when it is through with it
//
// and does what the request's other extras say, in this order:
//
//   show     writes "shows", the text of this message id of the alarm's, and ICU's default locale
//   reply    replies with this text as extra "text"; twice, so that the second is seen to be
//            nothing
//   caller   writes "caller <application id or error code>"
//   launch   sends a request with text "from:<own id>" to this application, with the
//            same "caller"
//   post     posts a notification with this title
//   wait     waits until this file is there, without serving its main loop
//   crash    takes this file away and dies, when the file is there
//   exit     ends
//
// When it is created it looks for files in the runtime directory: with "refuse" it does not start,
// with "exit" it asks to end, with "self" it sends itself a request.

#include "host/common/Boundary.h"
#include "host/common/Session.h"

#include <app_control.h>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <libintl.h>
#include <memory>
#include <notification.h>
#include <service_app.h>
#include <string>
#include <unistd.h>
#include <utils_i18n.h>

namespace {

const useconds_t kPause = 1000;

// One write a line, because the log outlives the process and the next one goes on with it.
void note(const std::string& text)
{
    static const std::string path = host::runtimePath() + host::identity().application + ".log";
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const std::string line = std::to_string(getpid()) + " " + text + "\n";
    (void)!write(file, line.data(), line.size());
    close(file);
}

bool isAsked(const char* name) { return access((host::runtimePath() + name).c_str(), F_OK) == 0; }

std::string taken(char* text)
{
    const host::CText owner(text);
    return text ? text : "";
}

std::string extra(app_control_h request, const char* key)
{
    char* value = nullptr;
    app_control_get_extra_data(request, key, &value);
    return taken(value);
}

std::string caller(app_control_h request)
{
    char* id = nullptr;
    const int code = app_control_get_caller(request, &id);
    return code == APP_CONTROL_ERROR_NONE ? taken(id) : std::to_string(code);
}

std::string operation(app_control_h request)
{
    char* value = nullptr;
    app_control_get_operation(request, &value);
    return taken(value);
}

void launch(const std::string& application, const std::string& callerWanted = {})
{
    app_control_h request = nullptr;
    app_control_create(&request);
    app_control_set_operation(request, APP_CONTROL_OPERATION_DEFAULT);
    app_control_set_app_id(request, application.c_str());
    const std::string text = "from:" + host::identity().application;
    app_control_add_extra_data(request, "text", text.c_str());
    if (!callerWanted.empty())
        app_control_add_extra_data(request, "caller", callerWanted.c_str());
    const int code = app_control_send_launch_request(request, nullptr, nullptr);
    if (code != APP_CONTROL_ERROR_NONE)
        note("launch failed " + std::to_string(code));
    app_control_destroy(request);
}

void reply(app_control_h request, const std::string& text)
{
    app_control_h answer = nullptr;
    app_control_create(&answer);
    app_control_add_extra_data(answer, "text", text.c_str());
    for (int i = 0; i < 2; ++i)
        app_control_reply_to_launch_request(answer, request, APP_CONTROL_RESULT_SUCCEEDED);
    app_control_destroy(answer);
}

void show(const std::string& message)
{
    const char* const domain = "alarm-merid";
    bindtextdomain(domain, (host::homePath() + "ro/com.velmora.alarm/res/locale").c_str());
    const char* locale = "";
    i18n_ulocale_get_default(&locale);
    note(std::string("shows ") + dgettext(domain, message.c_str()) + " " + locale);
}

void post(const std::string& title)
{
    notification_h noti = notification_create(NOTIFICATION_TYPE_NOTI);
    notification_set_text(noti, NOTIFICATION_TEXT_TYPE_TITLE, title.c_str(), nullptr,
        NOTIFICATION_VARIABLE_TYPE_NONE);
    note("post " + std::to_string(notification_post(noti)));
    notification_free(noti);
}

bool createCb(void*)
{
    if (isAsked("refuse")) {
        note("refuse");
        return false;
    }
    note("create");
    if (isAsked("self"))
        launch(host::identity().application);
    if (isAsked("exit"))
        service_app_exit();
    return true;
}

void terminateCb(void*) { note("terminate"); }

void requestCb(app_control_h request, void*)
{
    note("request " + operation(request) + " " + extra(request, "text"));
    if (!extra(request, "show").empty())
        show(extra(request, "show"));
    if (!extra(request, "reply").empty())
        reply(request, extra(request, "reply"));
    if (!extra(request, "caller").empty())
        note("caller " + caller(request));
    if (!extra(request, "launch").empty())
        launch(extra(request, "launch"), extra(request, "caller"));
    if (!extra(request, "post").empty())
        post(extra(request, "post"));
    const std::string gate = extra(request, "wait");
    while (!gate.empty() && access(gate.c_str(), F_OK) != 0)
        usleep(kPause);
    const std::string bomb = extra(request, "crash");
    if (!bomb.empty() && unlink(bomb.c_str()) == 0)
        kill(getpid(), SIGKILL);
    if (!extra(request, "exit").empty())
        service_app_exit();
    note("done " + extra(request, "text"));
}

} // namespace

int main(int argc, char** argv)
{
    service_app_lifecycle_callback_s callbacks = { createCb, terminateCb, requestCb };
    const int result = service_app_main(argc, argv, &callbacks, nullptr);
    note("result " + std::to_string(result));
    return result == 0 ? 0 : 1;
}
