#pragma once

#include <functional>
#include <string>

typedef struct _Ecore_Fd_Handler Ecore_Fd_Handler;

namespace app {

/**
 * A stream socket on which each line is a message. Nothing blocks: bytes that arrive are kept until
 * their line is complete, bytes to send until the other end takes them. Memory is bounded both
 * ways: no more than the limit is kept of a line, and nothing is read while more than the limit
 * waits to be sent, for an other end that asks and never listens. Main loop only.
 */
class LineConnection {
public:
    /// A callback may destroy the connection, if that is the last thing it does. None may throw.
    struct Callbacks {
        std::function<void(const std::string&)> line; ///< a message without its line's end
        std::function<void()> tooLong; ///< once for each line that exceeds the limit
        std::function<void()>
            end; ///< the other end has closed; a line that it had begun is dropped
    };

    /// Takes over the socket, which must not block. The limit is in bytes.
    LineConnection(int socket, size_t limit, Callbacks callbacks);
    LineConnection(const LineConnection&) = delete;
    LineConnection& operator=(const LineConnection&) = delete;
    ~LineConnection();

    void send(const std::string& line) { sendBytes(line + '\n'); }
    void sendBytes(const std::string& bytes);

private:
    static unsigned char _readyCb(void* data, Ecore_Fd_Handler* handler) noexcept;
    void _write();
    bool _read();
    void _take(const char* bytes, size_t size);
    void _setInterest();

    int _socket;
    size_t _limit;
    Callbacks _callbacks;
    Ecore_Fd_Handler* _handler;
    std::string _in;
    bool _isSkipping = false; ///< while the rest of a line that is too long is dropped
    std::string _out;
    bool* _isDestroyed
        = nullptr; ///< while callbacks run: what the destructor sets for their caller
};

} // namespace app
