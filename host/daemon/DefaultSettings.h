#pragma once

namespace host {

/// Sets those of the device's settings that have no value yet to the values of a new device. Throws
/// std::exception when the store cannot be written.
void seedSettings();

/// Writes the device's zone as a setting, for who watches it, where that says otherwise. Throws as
/// seedSettings().
void announceZone();

} // namespace host
