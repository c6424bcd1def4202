#pragma once

namespace host {

/// Sets those of the device's settings that have no value yet to the values of a new device. Throws
/// std::exception when the store cannot be written.
void seedSettings();

} // namespace host
