#pragma once

#include <Elementary.h>
#include <functional>
#include <string>
#include <vector>

/// Watches the pipe of the objects that a test links, which is Ecore's own, one at a time. Making
/// and deleting it goes to the journal.
struct EcorePipeProbe {
    /// Every message, byte by byte.
    std::vector<std::string> written;
    Ecore_Pipe* pipe = nullptr;
    Ecore_Pipe_Cb handler = nullptr;

    /// Two threads have written at once, which mixes their messages.
    bool overlapped = false;

    bool refusesPipe = false;
    bool refusesWrite = false;
    /// Run inside the calls, before Ecore's own.
    std::function<void()> onWrite;
    std::function<void()> onDelete;

    /// Runs the main loop until every message has been handled. The pipe must be there.
    static void handleMessages();
};

EcorePipeProbe& ecorePipeProbe();
