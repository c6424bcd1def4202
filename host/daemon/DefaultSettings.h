#pragma once

namespace host {

/// Gives the device's settings that have no value yet the ones that a new device has. Throws
/// std::exception when the store cannot be written.
void seedSettings();

} // namespace host
