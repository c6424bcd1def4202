#pragma once

#include "Tone.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

/**
 * A tone on a thread of its own, as a sound server that hangs holds up whoever talks to it. Callers
 * wait for about a second at most, for all calls together; what they asked for is done when the
 * server goes on. A tone that loses its server, or had none, is opened anew when there is one.
 * Any thread. Held by its thread, too, until that is done with the tone.
 */
class ToneThread : public std::enable_shared_from_this<ToneThread> {
public:
    using Maker = std::function<std::unique_ptr<Tone>(const Tone::Events& events)>;
    using Opened = std::function<void(int error)>; ///< 0 or a PLAYER_ERROR_* code
    using Settled = std::function<void()>;

    /// Whatever is told is told on other threads and must not wait for the tone.
    ToneThread(Maker make, Tone::Events events);

    /// Once, and before the other calls. Throws std::system_error when there is no thread.
    void open(const Opened& opened);
    /// Nothing is told any more when this returns, and it is silent unless the server hangs.
    void cancel();

    /// False when it cannot; true when it will be done later.
    bool play();
    bool pause();
    bool seek(int milliseconds, bool isAccurate);

    /// Tells when the last jump is done, or never will be.
    void settle(const Settled& settled);

    /// As the tone's; does not wait.
    void repeat(std::uint32_t pass);

private:
    using Task = std::function<void()>;

    void _post(Task task);
    bool _call(const std::function<bool()>& work);
    void _tell(const Task& news);
    void _failed(int error);

    // The thread's:
    void _run();
    void _open();
    int _make();
    void _drop();
    bool _setPlaying(bool isPlaying);
    bool _hasLostServer();

    const Maker _maker;
    const Tone::Events _events; ///< under the mutex, unless cancelled
    Opened _opened; ///< the thread's; empty when it is told
    bool _isPlaying = false; ///< the thread's

    std::mutex _mutex; ///< guards what follows; never held while the tone works
    std::condition_variable _wake;
    std::condition_variable _progress;
    std::deque<Task> _tasks;
    std::unique_ptr<Tone> _tone; ///< only the thread changes it; null until it is made
    bool _isLost = false; ///< the tone has no server any more
    bool _isLate = false; ///< somebody has waited in vain for what is being done
    bool _isCancelled = false;
    bool _isOver = false;
};
