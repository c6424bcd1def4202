#include "host/common/DaemonLink.h"

#include "host/common/Boundary.h"
#include "host/common/Bus.h"

#include <algorithm>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace host {

namespace {

const std::chrono::milliseconds kPatience(200);
const std::chrono::milliseconds kPrompt(20);
const std::uint64_t kForever = UINT64_MAX;
const int kMessagesPerTurn
    = 32; ///< so that a flood of messages does not keep the link from its tasks

const char* const kLine = "the connection to hostd"; ///< where a failure is logged

const DaemonLink::Answer kNoAnswer = { false, "", "it does not answer", nullptr };

int newWake()
{
    const int wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wake < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    return wake;
}

} // namespace

DaemonLink& DaemonLink::instance()
{
    // Other threads may still call while the process ends.
    static auto& link = *new DaemonLink;
    return link;
}

DaemonLink::DaemonLink()
    : _connection(connectToBus())
    , _client(_connection->getUniqueName())
    , _daemon(*_connection,
          [this](const std::string& owner) {
              _isHanging = false;
              if (owner.empty())
                  return;
              _seeIfPrompt();
              _renew();
          })
    , _proxy(sdbus::createProxy(*_connection, kDaemonName, kDaemonPath))
    , _patience(kPatience)
    , _wake(newWake())
    , _thread([this] { _serve(); })
{
}

int DaemonLink::_ask(Request request, const Answered& answered)
{
    const auto waiting = std::make_shared<Waiting>();
    waiting->request = std::move(request);
    waiting->answered = std::packaged_task<int(const Answer&)>(answered);
    std::future<int> result = waiting->answered.get_future();
    _post([this, waiting] { _begin(waiting); });
    return result.get();
}

void DaemonLink::run(const std::function<void()>& task)
{
    const auto work = std::make_shared<std::packaged_task<void()>>(task);
    _post([work] { (*work)(); });
    work->get_future().get();
}

// Asks hostd first whether it listens. A request that lies with a hanging daemon would be carried
// out when that goes on, although the caller may have undone it by then.
void DaemonLink::_begin(const std::shared_ptr<Waiting>& waiting)
{
    waiting->begin = Clock::now();
    waiting->end = waiting->begin + _patience;
    _waiting.push_back(waiting);
    if (_isHanging || _patience == Clock::duration::zero()) {
        _end(waiting, kNoAnswer);
        guarded(kLine, [this] { _seeIfPrompt(); });
        return;
    }
    _sendIfPossible(waiting, _ping, [this, waiting](const Answer& answer) {
        const bool isWaiting
            = std::find(_waiting.begin(), _waiting.end(), waiting) != _waiting.end();
        if (!isWaiting)
            return;
        if (answer.isThere) {
            _sendIfPossible(
                waiting, waiting->request, [=](const Answer& done) { _end(waiting, done); });
        } else {
            _end(waiting, answer);
        }
    });
}

// Sends a request; one that cannot even be sent, such as for a text that is not UTF-8, is over.
void DaemonLink::_sendIfPossible(const std::shared_ptr<Waiting>& waiting, const Request& request,
    std::function<void(const Answer& answer)> answered)
{
    try {
        _send(request, std::move(answered));
    } catch (const sdbus::Error& error) {
        const bool isRefused = error.getName() == "org.freedesktop.DBus.Error.InvalidArgs";
        _end(waiting, { isRefused, error.getName(), error.getMessage(), nullptr });
    }
}

// Takes its argument by value, since it may be the list's own element, which is erased.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void DaemonLink::_end(std::shared_ptr<Waiting> waiting, const Answer& answer)
{
    const auto found = std::find(_waiting.begin(), _waiting.end(), waiting);
    if (found == _waiting.end())
        return;
    _waiting.erase(found);
    const Clock::duration waited = Clock::now() - waiting->begin;
    _patience = std::max(Clock::duration::zero(), _patience - waited);
    if (answer.isThere && waited < kPrompt)
        _becomePatient();
    if (!answer.isThere) {
        _isRenewalDue = true;
        _report("hostd cannot be reached: " + answer.text);
    }
    waiting->answered(answer);
}

void DaemonLink::_endLate()
{
    if (_waiting.empty() || Clock::now() < _firstEnd())
        return;
    _isHanging = true;
    while (!_waiting.empty())
        _end(_waiting.front(), kNoAnswer);
}

DaemonLink::Clock::time_point DaemonLink::_firstEnd() const
{
    const auto first = std::min_element(_waiting.begin(), _waiting.end(),
        [](const auto& one, const auto& other) { return one->end < other->end; });
    return (*first)->end;
}

void DaemonLink::_send(const Request& request, std::function<void(const Answer& answer)> answered)
{
    sdbus::MethodCall call = _proxy->createMethodCall(request.interface, request.method);
    if (request.write)
        request.write(call);
    _proxy->callMethod(
        call,
        [this, answered = std::move(answered)](sdbus::MethodReply& reply,
            const sdbus::Error* error) { guarded(kLine, [&] { answered(_read(reply, error)); }); },
        kForever);
}

// An answer that the bus gives in place of a daemon that ends or cannot be started is none of
// hostd's.
DaemonLink::Answer DaemonLink::_read(sdbus::MethodReply& reply, const sdbus::Error* error)
{
    Answer answer;
    if (error) {
        answer.error = error->getName();
        answer.text = error->getMessage();
    } else {
        answer.values = &reply;
    }
    answer.isThere = reply.getSender() == _daemon.owner();
    if (!answer.isThere)
        return answer;
    if (_isHanging)
        _seeIfPrompt();
    _isHanging = false;
    if (_isRenewalDue)
        _renew();
    return answer;
}

// Pings hostd until it is prompt: a slow daemon may answer each request in time, and yet hold up a
// ring by all of them together.
void DaemonLink::_seeIfPrompt()
{
    if (_isSeeing)
        return;
    _send(_ping, [this, begin = Clock::now()](const Answer& answer) {
        _isSeeing = false;
        if (!answer.isThere)
            return;
        if (Clock::now() - begin < kPrompt) {
            _becomePatient();
        } else {
            _seeIfPrompt();
        }
    });
    _isSeeing = true;
}

void DaemonLink::_becomePatient()
{
    _patience = kPatience;
    if (_isReported)
        logInfo("hostd answers again");
    _isReported = false;
}

void DaemonLink::_renew()
{
    _isRenewalDue = false;
    for (const auto& renew : _renewals)
        guarded(kLine, renew);
}

void DaemonLink::_report(const std::string& text)
{
    if (!_isReported)
        logWarning(text);
    _isReported = true;
}

void DaemonLink::_post(std::function<void()> task)
{
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _tasks.push_back(std::move(task));
    }
    const std::uint64_t one = 1;
    (void)!write(_wake, &one, sizeof one);
}

void DaemonLink::_runTasks()
{
    std::uint64_t count = 0;
    (void)!read(_wake, &count, sizeof count);
    std::deque<std::function<void()>> tasks;
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        tasks.swap(_tasks);
    }
    for (const auto& task : tasks)
        guarded(kLine, task);
}

void DaemonLink::_serve()
{
    bool isBusThere = true;
    while (true) {
        _runTasks();
        isBusThere = isBusThere && _processMessages();
        _endLate();
        _sleep(isBusThere);
    }
}

// False when the bus is gone. Nothing is answered from then on, but nobody waits for it either.
bool DaemonLink::_processMessages()
{
    try {
        for (int i = 0; i < kMessagesPerTurn && _connection->processPendingRequest(); ++i) {
        }
        return true;
    } catch (const sdbus::Error& error) {
        logWarning("the connection to hostd has ended: " + error.getMessage());
        return false;
    }
}

void DaemonLink::_sleep(bool isBusThere)
{
    pollfd files[2] = { { _wake, POLLIN, 0 }, { -1, 0, 0 } };
    int milliseconds = -1;
    if (isBusThere) {
        const sdbus::IConnection::PollData bus = _connection->getEventLoopPollData();
        files[1] = { bus.fd, bus.events, 0 };
        milliseconds = bus.getPollTimeout();
    }
    if (!_waiting.empty()) {
        const auto left
            = std::chrono::duration_cast<std::chrono::milliseconds>(_firstEnd() - Clock::now());
        const int end = std::max(0, static_cast<int>(left.count()) + 1);
        milliseconds = milliseconds < 0 ? end : std::min(milliseconds, end);
    }
    poll(files, 2, milliseconds);
}

} // namespace host
