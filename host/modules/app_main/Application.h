#pragma once

#include "host/common/ApplicationPort.h"

#include <app_control.h>
#include <deque>
#include <Ecore.h>
#include <functional>

/**
 * The running application: its main loop, and the launch requests that wait for their turn on it. A
 * request that comes while the application ends is sent to its next process.
 */
class Application {
public:
    struct Callbacks {
        std::function<bool()> create;
        std::function<void()> terminate;
        std::function<void(app_control_h request)> appControl;
    };

    explicit Application(Callbacks callbacks);
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    ~Application();

    /// Runs until the application ends. 0, or an app_error_e when the application could not run.
    int run();

    /// Ends the process's application. Requests that still wait go to its next process.
    static void end();

private:
    bool _open();
    void _close();
    void _receive(host::ApplicationPort::Request request);
    void _deliver();
    static void _deliverCb(void* data);
    static Eina_Bool _signalCb(void* data, int type, void* event);

    static Application* _running;

    Callbacks _callbacks;
    std::deque<host::ApplicationPort::Request> _waiting;
    Ecore_Job* _job = nullptr;
    bool _ending = false;
};
