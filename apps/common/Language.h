#pragma once

namespace app {

/// Shows texts in the device's language, for a command; an application's main function does it by
/// itself. To be called before the first text.
void useDeviceLanguage();

} // namespace app
