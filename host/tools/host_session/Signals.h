#pragma once

namespace session {

/// Thrown to whoever waits, or wants to start something, when the session was told to end.
struct Interrupted {};

/**
 * The signals that end a session (HUP, INT, QUIT, TERM), which are taken where somebody waits for
 * them and nowhere else. Also those of a caller that ignores them, as a shell does for a command in
 * the background. Made first of all: until then a signal ends the process, which has nothing yet.
 */
class Signals {
public:
    Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;
    ~Signals();

    /// Can be read when a signal has come, or a child has ended.
    int file() const { return _file; }

    /// Takes what has come.
    void take();

    /// The first signal that was taken; 0 = none.
    int first() const { return _first; }
    /// Whether another one came after it.
    bool cameAgain() const { return _cameAgain; }

    /// Lets this process have its signals, all by default: for a child before its program.
    static void release();

private:
    int _file;
    int _first = 0;
    bool _cameAgain = false;
};

} // namespace session
