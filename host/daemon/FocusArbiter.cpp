#include "host/daemon/FocusArbiter.h"

#include <algorithm>
#include <sound_manager.h>

namespace host {

namespace {

const int kBothParts = SOUND_STREAM_FOCUS_FOR_BOTH;

int bitOf(size_t part) { return 1 << part; }

bool isUninterruptible(int reason)
{
    return reason == SOUND_STREAM_FOCUS_CHANGED_BY_EMERGENCY
        || reason == SOUND_STREAM_FOCUS_CHANGED_BY_VOIP
        || reason == SOUND_STREAM_FOCUS_CHANGED_BY_CALL;
}

// Adds a part to the change of the stream for this event, or adds that change.
void addChange(std::vector<FocusChange>& changes, size_t first, const FocusStream& stream, int bit,
    bool held, const FocusCause& cause)
{
    const auto same = std::find_if(changes.begin() + static_cast<std::ptrdiff_t>(first),
        changes.end(), [&](const FocusChange& change) {
            return change.stream == stream && change.held == held
                && change.cause.reason == cause.reason;
        });
    if (same != changes.end()) {
        same->mask |= bit;
    } else {
        changes.push_back({ stream, bit, held, cause });
    }
}

} // namespace

// Nobody takes a part from a call: the earlier call keeps it, whichever stream believes to have
// taken it since.
bool FocusArbiter::Holder::isAbove(const Holder& other) const
{
    if (isUninterruptible(reason) != isUninterruptible(other.reason))
        return isUninterruptible(reason);
    return isUninterruptible(reason) ? since < other.since : since > other.since;
}

FocusAnswer FocusArbiter::acquire(const FocusStream& stream, int mask, const FocusCause& cause,
    std::uint64_t now, std::vector<FocusChange>& changes)
{
    if ((held(stream) & mask) != 0)
        return FocusAnswer::InvalidState;
    for (size_t at = 0; at < _parts.size(); ++at) {
        const Part& part = _parts[at];
        if ((mask & bitOf(at)) != 0 && !part.empty() && isUninterruptible(part.back().reason))
            return FocusAnswer::Policy;
    }

    const size_t first = changes.size();
    for (size_t at = 0; at < _parts.size(); ++at) {
        if ((mask & bitOf(at)) == 0)
            continue;
        Part& part = _parts[at];
        part.erase(std::remove_if(part.begin(), part.end(),
                       [&](const Holder& holder) { return holder.stream == stream; }),
            part.end());
        part.push_back({ stream, cause.reason, now, true });
        _tellLosers(at, cause, first, changes);
    }
    return FocusAnswer::Done;
}

FocusAnswer FocusArbiter::release(const FocusStream& stream, int mask, int behavior,
    const std::string& info, std::vector<FocusChange>& changes)
{
    if ((held(stream) & mask) != mask)
        return FocusAnswer::InvalidState;
    _remove(
        mask, [&](const FocusStream& holder) { return holder == stream; }, behavior, info, changes);
    return FocusAnswer::Done;
}

int FocusArbiter::held(const FocusStream& stream) const
{
    int mask = 0;
    for (size_t at = 0; at < _parts.size(); ++at) {
        if (!_parts[at].empty() && _parts[at].back().stream == stream && _parts[at].back().isTold)
            mask |= bitOf(at);
    }
    return mask;
}

void FocusArbiter::renew(const std::string& client, const std::vector<FocusClaim>& claims,
    std::vector<FocusChange>& changes)
{
    _isSettled = _isSettled && claims.empty();
    const size_t first = changes.size();
    for (size_t at = 0; at < _parts.size(); ++at) {
        Part& part = _parts[at];
        part.erase(std::remove_if(part.begin(), part.end(),
                       [&](const Holder& holder) { return holder.stream.client == client; }),
            part.end());
        for (const FocusClaim& claim : claims) {
            if (claim.part != bitOf(at))
                continue;
            const Holder holder
                = { { client, claim.number }, claim.reason, claim.since, claim.isHeld };
            part.insert(std::find_if(part.begin(), part.end(),
                            [&](const Holder& other) { return other.isAbove(holder); }),
                holder);
        }
        if (!part.empty())
            _tellLosers(at, { part.back().reason, SOUND_BEHAVIOR_NONE, "" }, first, changes);
    }
}

void FocusArbiter::settle(std::vector<FocusChange>& changes)
{
    _isSettled = true;
    const size_t first = changes.size();
    for (size_t at = 0; at < _parts.size(); ++at) {
        Part& part = _parts[at];
        if (part.empty() || part.back().isTold)
            continue;
        part.back().isTold = true;
        // The former holder is not known any more, so the cause is the system.
        addChange(changes, first, part.back().stream, bitOf(at), true,
            { SOUND_STREAM_FOCUS_CHANGED_BY_SYSTEM, SOUND_BEHAVIOR_NONE, "" });
    }
}

std::set<FocusStream> FocusArbiter::streams() const
{
    std::set<FocusStream> found;
    for (const Part& part : _parts) {
        for (const Holder& holder : part)
            found.insert(holder.stream);
    }
    return found;
}

void FocusArbiter::forget(const FocusStream& stream, std::vector<FocusChange>& changes)
{
    _remove(
        kBothParts, [&](const FocusStream& holder) { return holder == stream; },
        SOUND_BEHAVIOR_NONE, "", changes);
}

void FocusArbiter::forgetClient(const std::string& client, std::vector<FocusChange>& changes)
{
    _remove(
        kBothParts, [&](const FocusStream& holder) { return holder.client == client; },
        SOUND_BEHAVIOR_NONE, "", changes);
}

void FocusArbiter::_tellLosers(
    size_t at, const FocusCause& cause, size_t first, std::vector<FocusChange>& changes)
{
    Part& part = _parts[at];
    for (Holder& holder : part) {
        if (&holder == &part.back() || !holder.isTold)
            continue;
        holder.isTold = false;
        addChange(changes, first, holder.stream, bitOf(at), false, cause);
    }
}

template <typename IsGone>
void FocusArbiter::_remove(int mask, const IsGone& isGone, int behavior, const std::string& info,
    std::vector<FocusChange>& changes)
{
    const size_t first = changes.size();
    for (size_t at = 0; at < _parts.size(); ++at) {
        Part& part = _parts[at];
        if ((mask & bitOf(at)) == 0 || part.empty())
            continue;
        const Holder before = part.back();
        part.erase(std::remove_if(part.begin(), part.end(),
                       [&](const Holder& holder) { return isGone(holder.stream); }),
            part.end());
        if (_isSettled && isGone(before.stream) && !part.empty()) {
            part.back().isTold = true;
            addChange(changes, first, part.back().stream, bitOf(at), true,
                { before.reason, behavior, info });
        }
    }
}

} // namespace host
