#pragma once

#include "common/LineConnection.h"
#include "PhoneConversation.h"

#include <Ecore.h>
#include <memory>

/**
 * The watch's end of the link to the phone: a local socket on which each line is a message. There
 * is one connection at a time; a new one replaces it. Connections are closed at once while the
 * device's settings say that the link is down. Main loop only.
 */
class PhoneEnd {
public:
    PhoneEnd() = default;
    PhoneEnd(const PhoneEnd&) = delete;
    PhoneEnd& operator=(const PhoneEnd&) = delete;
    ~PhoneEnd() { close(); }

    /// Listens for the phone. Logs an error when it cannot.
    void open();

    /// Closes the connection and listens no more. To be called before the main loop ends.
    void close();

    /// To be called when the alarms have changed.
    void followAlarms();

    /// To be called when the link may have changed.
    void followLink();

private:
    static unsigned char _connectedCb(void* data, Ecore_Fd_Handler* handler) noexcept;
    static unsigned char _acceptAgainCb(void* data) noexcept;
    void _accept();
    void _acceptLater();

    int _listener = -1;
    Ecore_Fd_Handler* _handler = nullptr;
    Ecore_Timer* _timer = nullptr; ///< runs while no connection can be accepted
    std::unique_ptr<PhoneConversation> _conversation;
    std::unique_ptr<app::LineConnection> _connection;
};
