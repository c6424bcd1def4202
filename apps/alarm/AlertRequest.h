#pragma once

/// Asks the alert to snooze or dismiss the alarm that rings, by an operation of common/Alert.h, and
/// waits until it has. Returns the alarm's row id. Throws a Failure when nothing rings or the alert
/// fails. The main loop must not be running.
int askAlert(const char* operation);
