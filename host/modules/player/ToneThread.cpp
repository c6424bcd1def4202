#include "ToneThread.h"

#include "host/common/Boundary.h"

#include <chrono>
#include <player.h>
#include <string>
#include <thread>

namespace {

const std::chrono::seconds kLongestWait(1);
const std::chrono::seconds kLookPeriod(1); ///< between two looks for the sound server

} // namespace

ToneThread::ToneThread(Maker make, Tone::Events events)
    : _maker(std::move(make))
    , _events(std::move(events))
{
}

void ToneThread::open(const Opened& opened)
{
    std::thread([self = shared_from_this()] { self->_run(); }).detach();
    _post([this, opened] {
        _opened = opened;
        _open();
    });
}

void ToneThread::cancel()
{
    std::unique_lock<std::mutex> lock(_mutex);
    _isCancelled = true;
    if (_tone)
        _tone->cancel();
    _wake.notify_one();
    if (!_isLate)
        _progress.wait_for(lock, kLongestWait, [this] { return _isOver; });
}

bool ToneThread::play()
{
    return _call([this] { return _setPlaying(true); });
}

bool ToneThread::pause()
{
    return _call([this] { return _setPlaying(false); });
}

bool ToneThread::seek(int milliseconds, bool isAccurate)
{
    return _call(
        [=] { return (_tone && _tone->seek(milliseconds, isAccurate)) || _hasLostServer(); });
}

void ToneThread::settle(const Settled& settled)
{
    _post([this, settled] {
        // A jump that fails is over, too, so that its caller can go on. The reason is reported as
        // the failure of the tone.
        if (_tone)
            (void)_tone->settle();
        _tell(settled);
    });
}

void ToneThread::repeat(std::uint32_t pass)
{
    _post([this, pass] {
        if (_tone)
            _tone->repeat(pass);
    });
}

void ToneThread::_post(Task task)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _tasks.push_back(std::move(task));
    _wake.notify_one();
}

bool ToneThread::_call(const std::function<bool()>& work)
{
    enum class Answer { None, No, Yes };
    const auto answer = std::make_shared<Answer>(Answer::None);
    std::unique_lock<std::mutex> lock(_mutex);
    _tasks.push_back([this, work, answer] {
        const bool isDone = work();
        const std::lock_guard<std::mutex> answering(_mutex);
        *answer = isDone ? Answer::Yes : Answer::No;
    });
    _wake.notify_one();
    if (!_isLate) {
        _isLate = !_progress.wait_for(
            lock, kLongestWait, [&] { return *answer != Answer::None || _isOver; });
    }
    return *answer != Answer::No;
}

void ToneThread::_tell(const Task& news)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    if (!_isCancelled)
        news();
}

void ToneThread::_failed(int error)
{
    const std::lock_guard<std::mutex> lock(_mutex);
    _isLost = _isLost || error == PLAYER_ERROR_SERVICE_DISCONNECTED;
    if (!_isCancelled)
        _events.failed(error);
}

void ToneThread::_run()
{
    auto nextLook = std::chrono::steady_clock::now() + kLookPeriod;
    std::unique_lock<std::mutex> lock(_mutex);
    while (!_isCancelled) {
        const bool hasTask
            = _wake.wait_until(lock, nextLook, [this] { return _isCancelled || !_tasks.empty(); });
        if (_isCancelled)
            break;
        Task task;
        if (hasTask) {
            task = std::move(_tasks.front());
            _tasks.pop_front();
        }
        lock.unlock();
        if (task) {
            task();
        } else {
            if (_hasLostServer() || (_tone && _tone->isOutdated()))
                _open();
            nextLook = std::chrono::steady_clock::now() + kLookPeriod;
        }
        lock.lock();
        _isLate = false;
        _progress.notify_all();
    }
    lock.unlock();
    _drop();
    lock.lock();
    _tasks.clear();
    _isOver = true;
    _progress.notify_all();
}

// Makes and opens the tone. If the sound server ends meanwhile, _run looks for it again, as after a
// loss later on.
void ToneThread::_open()
{
    const bool wasLost = _hasLostServer();
    _drop();
    int error = _make();
    if (error == PLAYER_ERROR_NONE && _isPlaying && !_setPlaying(true))
        error = PLAYER_ERROR_INVALID_OPERATION;
    if (error == PLAYER_ERROR_SERVICE_DISCONNECTED || (error != PLAYER_ERROR_NONE && !_opened)) {
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _isLost = true;
        }
        if (!wasLost)
            _failed(error);
    } else if (_opened) {
        _tell([&] { _opened(error); });
        _opened = nullptr;
    }
}

int ToneThread::_make()
{
    Tone::Events events;
    events.ended = [this](std::uint32_t pass) { _tell([&] { _events.ended(pass); }); };
    events.failed = [this](int error) { _failed(error); };
    return host::guarded("A tone cannot be played", PLAYER_ERROR_INVALID_OPERATION, [&]() -> int {
        std::unique_ptr<Tone> tone = _maker(events);
        {
            const std::lock_guard<std::mutex> lock(_mutex);
            _isLost = false;
            _tone = std::move(tone);
            if (_isCancelled)
                return PLAYER_ERROR_INVALID_OPERATION;
        }
        return _tone->open();
    });
}

void ToneThread::_drop()
{
    std::unique_ptr<Tone> tone; // destroyed after the lock is released
    const std::lock_guard<std::mutex> lock(_mutex);
    tone.swap(_tone);
}

bool ToneThread::_setPlaying(bool isPlaying)
{
    const bool isDone = _tone && (isPlaying ? _tone->play() : _tone->pause());
    if (!isDone && !_hasLostServer())
        return false;
    _isPlaying = isPlaying;
    return true;
}

bool ToneThread::_hasLostServer()
{
    const std::lock_guard<std::mutex> lock(_mutex);
    return _isLost;
}
