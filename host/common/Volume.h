#pragma once

namespace host {

constexpr int kDefaultVolume = 11;

/// The level of a sound type (sound_type_e), 0 to 15, as the session's settings keep it; the
/// default where they have none. Any thread. Throws std::exception when they cannot be read.
int storedVolume(int type);

/// Puts it on disk. Main thread. Throws std::exception when that fails.
void storeVolume(int type, int level);

} // namespace host
