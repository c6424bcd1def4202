#pragma once

namespace session {

/// Thrown when a process is to be started or waited for, but the session was told to end.
struct Interrupted {};

/**
 * The signals that end a session (HUP, INT, QUIT, TERM). They are taken by take() and nowhere else,
 * even if the caller ignores them, as a shell does for a command in the background. To be made
 * first: until then a signal ends the process, which has nothing to clean up yet.
 */
class Signals {
public:
    Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;
    ~Signals();

    /// A descriptor that is readable when a signal has come or a child has ended.
    int file() const { return _file; }

    /// Takes the signals that have come.
    void take();

    /// The first signal that was taken; 0 = none.
    int first() const { return _first; }
    /// Whether another signal came after the first.
    bool cameAgain() const { return _cameAgain; }

    /// In a child, before its program: unblocks all signals.
    static void release();

private:
    int _file;
    int _first = 0;
    bool _cameAgain = false;
};

} // namespace session
