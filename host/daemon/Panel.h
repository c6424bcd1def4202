#pragma once

#include "host/daemon/RequestSender.h"
#include "host/daemon/TrayStore.h"

namespace host {

/// The launch request that the user sends by a tap on the notification, or on its button number 1,
/// 2, and so on; 0 = on the notification itself. Throws sdbus::Error, after logging it, when there
/// is no such request, or when it is not for an installed application of the notification's own
/// package.
RequestSender::Request requestOfPress(const Notification& notification, int button);

} // namespace host
