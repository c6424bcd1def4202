#pragma once

namespace session {

class Folder;
class Processes;

/**
 * Puts the session's sound server into the environment, as PULSE_SERVER. A session in reach of a
 * server that answers uses that one: the one that the caller names, or the user's. Any other starts
 * its own: a sink "watch" that nobody hears but through its monitor, and a silent microphone.
 * To be called while XDG_RUNTIME_DIR is still the user's. Throws Interrupted.
 */
void startSound(Processes& processes, const Folder& folder);

} // namespace session
