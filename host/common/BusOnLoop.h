#pragma once

#include <Ecore.h>
#include <functional>
#include <sdbus-c++/sdbus-c++.h>
#include <string>

namespace host {

/// Serves a connection from the Ecore main loop, as long as it lives. Messages that arrived during
/// a synchronous call are served before the loop sleeps; however many arrive, timers and other
/// descriptors have their turn.
class BusOnLoop {
public:
    /// gone: called once with the reason when the bus goes away; must not destroy the object.
    BusOnLoop(sdbus::IConnection& connection, std::function<void(const std::string& reason)> gone);
    BusOnLoop(const BusOnLoop&) = delete;
    BusOnLoop& operator=(const BusOnLoop&) = delete;
    ~BusOnLoop();

private:
    static Eina_Bool _readyCb(void* data, Ecore_Fd_Handler*);
    static Eina_Bool _idleCb(void* data);
    static Eina_Bool _timeoutCb(void* data);
    template <typename Work>
    void _whileBusIsThere(Work work);
    void _drain();
    void _follow();

    sdbus::IConnection& _connection;
    std::function<void(const std::string& reason)> _gone;
    Ecore_Fd_Handler* _handler;
    Ecore_Idle_Enterer* _idle;
    Ecore_Timer* _timer = nullptr;
};

} // namespace host
