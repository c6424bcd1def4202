#pragma once

namespace session {

class Folder;
class Processes;

/**
 * Sets PULSE_SERVER to the session's sound server. If a server answers that the caller names, or
 * else the user's, the session uses it. Otherwise it starts its own, with a sink "watch" that can
 * only be heard by its monitor, and a silent microphone. To be called while XDG_RUNTIME_DIR is
 * still the user's. Throws Interrupted.
 */
void startSound(Processes& processes, const Folder& folder);

} // namespace session
