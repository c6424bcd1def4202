#pragma once

namespace host {

constexpr int kDefaultVolume = 11;

/// The volume level of a sound type (sound_type_e), 0 to 15, from the session's settings; the
/// default where it is not set. Any thread. Throws std::exception when the settings cannot be read.
int storedVolume(int type);

/// Stores the level in the settings. Main thread. Throws std::exception when that fails.
void storeVolume(int type, int level);

} // namespace host
