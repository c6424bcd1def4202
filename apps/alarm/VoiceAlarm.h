#pragma once

#include <AlarmDbData.h>
#include <ctime>

struct VoiceRequest;

/** An alarm between the voice assistant and the store. */

/// Makes alarm what the request to add one asks for at the instant now. Throws a Failure when its
/// time is over, or is too far away for the alarm service.
void setAsAsked(AlarmDbData& alarm, const VoiceRequest& request, time_t now);

/// Whether the stored alarm will ring when the new one does: as often, or at the same instant.
bool ringsInsteadOf(const AlarmDbData& made, const AlarmDbData& stored, time_t now);

/// The record of which the library says in a reply what is true of a stored alarm at the instant
/// now, whatever of it is stored.
AlarmDbData recordForReply(AlarmDbData alarm, time_t now);
