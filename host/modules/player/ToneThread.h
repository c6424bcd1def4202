#pragma once

#include "Tone.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

/**
 * A tone on a thread of its own, because a hanging sound server blocks whoever talks to it. Callers
 * wait for about a second at most, for all calls together; what they asked for is done when the
 * server goes on. A tone that loses its server, or had none, is opened again when there is one. Any
 * thread. The thread holds the object, too, until it is done with the tone.
 */
class ToneThread : public std::enable_shared_from_this<ToneThread> {
public:
    using Maker = std::function<std::unique_ptr<Tone>(const Tone::Events& events)>;
    using Opened = std::function<void(int error)>; ///< 0 or a PLAYER_ERROR_* code
    using Settled = std::function<void()>;

    /// events and the other callbacks run on other threads and must not wait for the tone.
    ToneThread(Maker make, Tone::Events events);

    /// Called once, before the other functions. Throws std::system_error when no thread can be
    /// started.
    void open(const Opened& opened);
    /// No callback runs any more when this returns, and the tone is silent unless the server hangs.
    void cancel();

    /// False when the tone cannot do it; true also when it will be done later.
    bool play();
    bool pause();
    bool seek(int milliseconds, bool isAccurate);

    /// Calls settled when the last jump is done, or never will be.
    void settle(const Settled& settled);

    /// Passed on to the tone's repeat; does not wait.
    void repeat(std::uint32_t pass);

private:
    using Task = std::function<void()>;

    void _post(Task task);
    bool _call(const std::function<bool()>& work);
    void _tell(const Task& news);
    void _failed(int error);

    // The following functions run on the thread:
    void _run();
    void _open();
    int _make();
    void _drop();
    bool _setPlaying(bool isPlaying);
    bool _hasLostServer();

    const Maker _maker;
    const Tone::Events _events; ///< called with the mutex held, and not once cancelled
    Opened _opened; ///< empty once it was called; used by the thread only
    bool _isPlaying = false; ///< used by the thread only

    std::mutex _mutex; ///< guards what follows; not held during calls to the tone
    std::condition_variable _wake;
    std::condition_variable _progress;
    std::deque<Task> _tasks;
    std::unique_ptr<Tone> _tone; ///< only the thread changes it; null until it is made
    bool _isLost = false; ///< the tone has lost the sound server
    bool _isLate = false; ///< a caller has given up waiting for the task that runs
    bool _isCancelled = false;
    bool _isOver = false;
};
