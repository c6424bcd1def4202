#pragma once

/// Asks the alert to act on the alarm that rings, by an operation of common/Alert.h. The alarm's
/// row id; throws a Failure when nothing rings, or it could not be done.
int askAlert(const char* operation);
