#pragma once

/// Prints the alarms' changes, a line each, until the process is interrupted.
void watchAlarms(bool json);
