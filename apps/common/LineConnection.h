#pragma once

#include <functional>
#include <string>

typedef struct _Ecore_Fd_Handler Ecore_Fd_Handler;

namespace app {

/**
 * A stream socket on which each line is a message. Nothing blocks: what comes is kept until its
 * line is whole, what goes until the other end takes it. Of a line that is longer than the limit no
 * more than the limit is ever kept; while more than the limit waits to go, nothing is read, so that
 * who asks and does not listen costs no memory either. Main loop only.
 */
class LineConnection {
public:
    /// Each of them may destroy the object, and then does nothing more; none may throw.
    struct Callbacks {
        std::function<void(const std::string&)> line; ///< without its end
        std::function<void()> tooLong; ///< once for each such line
        std::function<void()> end; ///< the other end is gone, with a line begun or not
    };

    /// Takes the socket, which does not block.
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
    bool _isSkipping = false; ///< the rest of a line that is too long
    std::string _out;
    bool* _isDestroyed = nullptr; ///< set while callbacks run
};

} // namespace app
