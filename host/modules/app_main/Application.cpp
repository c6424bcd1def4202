#include "Application.h"

#include "host/common/Boundary.h"
#include "host/common/Handles.h"
#include "host/common/Session.h"
#include "Language.h"

#include <app_common.h>
#include <sdbus-c++/sdbus-c++.h>

using host::ApplicationPort;

Application* Application::_running = nullptr;

Application::Application(Callbacks callbacks)
    : _callbacks(std::move(callbacks))
{
    ecore_app_no_system_modules(); // which look for a system bus and so delay every start
    ecore_init();
    _running = this;
}

Application::~Application()
{
    if (_job)
        ecore_job_del(_job);
    ecore_shutdown();
    _running = nullptr;
}

int Application::run()
{
    if (host::identity().application.empty())
        return APP_ERROR_INVALID_CONTEXT;
    const Language language;
    Ecore_Event_Handler* signals
        = ecore_event_handler_add(ECORE_EVENT_SIGNAL_EXIT, _signalCb, this);
    int result = APP_ERROR_INVALID_CONTEXT;
    if (_callbacks.create()) {
        if (!_ending && _open()) {
            ecore_main_loop_begin();
            _close();
            result = APP_ERROR_NONE;
        }
        _callbacks.terminate();
    }
    ecore_event_handler_del(signals);
    return result;
}

void Application::end()
{
    if (_running)
        _running->_ending = true;
    ecore_main_loop_quit();
}

bool Application::_open()
{
    const std::string& application = host::identity().application;
    return host::guarded((application + " cannot run").c_str(), false, [&] {
        ApplicationPort::instance().open(application,
            [this](ApplicationPort::Request request) { _receive(std::move(request)); });
        return true;
    });
}

// Passes requests that came too late for this process on to the application's next process. Callers
// who want a reply are told that it is cancelled, since the next process cannot reply to them.
void Application::_close()
{
    const std::string& application = host::identity().application;
    _ending = true;
    try {
        ApplicationPort::instance().close();
        for (const ApplicationPort::Request& request : _waiting) {
            ApplicationPort::instance().launch(application, request.entries, nullptr, request.once);
            if (request.ticket != 0) {
                ApplicationPort::instance().reply(
                    request.sender, request.ticket, APP_CONTROL_RESULT_CANCELED, {});
            }
            request.handled.returnResults();
        }
    } catch (const sdbus::Error& error) {
        host::logInfo(application + " ends without its bus: " + error.getMessage());
    }
}

void Application::_receive(ApplicationPort::Request request)
{
    _waiting.push_back(std::move(request));
    if (!_job && !_ending)
        _job = ecore_job_add(_deliverCb, this);
}

// Delivers one request per turn of the loop, so that the rest stays for the next process when the
// application ends itself.
void Application::_deliver()
{
    if (_ending)
        return;
    ApplicationPort::Request request = std::move(_waiting.front());
    _waiting.pop_front();
    if (!_waiting.empty())
        _job = ecore_job_add(_deliverCb, this);

    if (ApplicationPort::isNew(request)) {
        app_control_s received;
        received.data.entries = std::move(request.entries);
        received.sender = std::move(request.sender);
        received.ticket = request.ticket;
        _callbacks.appControl(&received);
    }
    ApplicationPort::finish(request);
}

void Application::_deliverCb(void* data)
{
    auto* application = static_cast<Application*>(data);
    application->_job = nullptr;
    application->_deliver();
}

Eina_Bool Application::_signalCb(void*, int, void*)
{
    end();
    return ECORE_CALLBACK_PASS_ON;
}
