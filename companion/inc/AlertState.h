#pragma once

#include "AlarmCompanion.h"

/** How the applications reach the alert, and how it tells them what rings. */
namespace companion {

extern const char* const kAlertId; ///< its application id

/// Operations of a launch request: they act on the alarm that began to ring last. The alert
/// replies with the extras below, and with APP_CONTROL_RESULT_FAILED when it could not do it.
extern const char* const kSnoozeOperation;
extern const char* const kDismissOperation;

extern const char* const kAlarmExtra; ///< the alarm's row id; absent when nothing rings
extern const char* const kReasonExtra; ///< of a failed result: one line for the user

/// The package's preference with the row id of the alarm that began to ring last, -1 when none
/// rings. Others that ring have preferences of their own, written before it.
extern const char* const kRingingKey;

/// What the preference says; -1 when there is none.
int ringingAlarm();

/// Writes the preferences that say otherwise. The newest may have no row id yet: -1.
void setRingingAlarms(const std::vector<int>& ids);

} // namespace companion
