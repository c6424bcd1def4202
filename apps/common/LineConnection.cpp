#include "common/LineConnection.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <Ecore.h>
#include <sys/socket.h>
#include <unistd.h>

namespace app {

LineConnection::LineConnection(int socket, size_t limit, Callbacks callbacks)
    : _socket(socket)
    , _limit(limit)
    , _callbacks(std::move(callbacks))
    , _handler(ecore_main_fd_handler_add(socket, ECORE_FD_READ, _readyCb, this, nullptr, nullptr))
{
}

LineConnection::~LineConnection()
{
    if (_isDestroyed)
        *_isDestroyed = true;
    ecore_main_fd_handler_del(_handler);
    close(_socket);
}

void LineConnection::sendBytes(const std::string& bytes)
{
    _out += bytes;
    _setInterest(); // the loop tells when the socket takes bytes, or has been closed
}

unsigned char LineConnection::_readyCb(void* data, Ecore_Fd_Handler* handler) noexcept
{
    auto* connection = static_cast<LineConnection*>(data);
    bool isDestroyed = false;
    connection->_isDestroyed = &isDestroyed;
    if (ecore_main_fd_handler_active_get(handler, ECORE_FD_WRITE))
        connection->_write();
    const bool isAlive
        = !ecore_main_fd_handler_active_get(handler, ECORE_FD_READ) || connection->_read();
    if (isDestroyed)
        return ECORE_CALLBACK_RENEW;
    connection->_isDestroyed = nullptr;
    connection->_setInterest();
    if (!isAlive) {
        const std::function<void()> end
            = connection->_callbacks.end; // a copy: the call may destroy the object
        end();
    }
    return ECORE_CALLBACK_RENEW;
}

// After an error nothing can be sent any more, and the next read finds the connection's end.
void LineConnection::_write()
{
    const ssize_t count = ::send(_socket, _out.data(), _out.size(), MSG_NOSIGNAL);
    if (count >= 0) {
        _out.erase(0, static_cast<size_t>(count));
    } else if (errno != EAGAIN && errno != EINTR) {
        _out.clear();
    }
}

bool LineConnection::_read()
{
    std::array<char, 65536> bytes;
    const ssize_t count = recv(_socket, bytes.data(), bytes.size(), 0);
    if (count < 0)
        return errno == EAGAIN || errno == EINTR;
    if (count == 0)
        return false;
    _take(bytes.data(), static_cast<size_t>(count));
    return true;
}

void LineConnection::_take(const char* bytes, size_t size)
{
    const bool* isDestroyed = _isDestroyed;
    const char* const end = bytes + size;
    while (bytes != end) {
        const auto* lineEnd = static_cast<const char*>(memchr(bytes, '\n', end - bytes));
        const char* const partEnd = lineEnd ? lineEnd : end;
        if (!_isSkipping && _in.size() + (partEnd - bytes) > _limit) {
            _isSkipping = true;
            std::string().swap(_in);
            _callbacks.tooLong();
            if (*isDestroyed)
                return;
        } else if (!_isSkipping) {
            _in.append(bytes, partEnd);
        }
        bytes = lineEnd ? lineEnd + 1 : end;
        if (!lineEnd)
            return;
        std::string line;
        line.swap(_in);
        if (_isSkipping) {
            _isSkipping = false;
        } else {
            _callbacks.line(line);
            if (*isDestroyed)
                return;
        }
    }
}

void LineConnection::_setInterest()
{
    const int read = _out.size() < _limit ? ECORE_FD_READ : 0;
    const int write = _out.empty() ? 0 : ECORE_FD_WRITE;
    ecore_main_fd_handler_active_set(_handler, static_cast<Ecore_Fd_Handler_Flags>(read | write));
}

} // namespace app
