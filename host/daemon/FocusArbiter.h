#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace host {

/// A sound stream of a process: the connection, and the number that the process chose.
struct FocusStream {
    std::string client;
    std::uint32_t number = 0;

    bool operator==(const FocusStream& other) const
    {
        return client == other.client && number == other.number;
    }
    bool operator<(const FocusStream& other) const
    {
        return std::tie(client, number) < std::tie(other.client, other.number);
    }
};

/// The reason of a change, as it is reported to the streams that it affects.
struct FocusCause {
    int reason = 0; ///< sound_stream_focus_change_reason_e
    int behavior = 0;
    std::string info;
};

/// A stream has lost or regained the parts in mask because of what another stream did.
struct FocusChange {
    FocusStream stream;
    int mask = 0;
    bool held = false;
    FocusCause cause;
};

/// A part that a stream held or waited for when the daemon ended or hung.
struct FocusClaim {
    std::uint32_t number = 0;
    int part = 0; ///< a mask of one bit
    int reason = 0; ///< of the stream, as in FocusCause
    std::uint64_t since = 0; ///< when it took the part
    bool isHeld = false; ///< the stream believes to hold it
};

enum class FocusAnswer { Done, InvalidState, Policy };

/**
 * Decides who holds which part of the sound focus. Each part has a stack of streams: the top one
 * holds it, the others wait to get it back. Changes that a call causes for other streams are
 * appended to changes.
 */
class FocusArbiter {
public:
    /// now: by the clock of FocusClaim::since.
    FocusAnswer acquire(const FocusStream& stream, int mask, const FocusCause& cause,
        std::uint64_t now, std::vector<FocusChange>& changes);
    FocusAnswer release(const FocusStream& stream, int mask, int behavior, const std::string& info,
        std::vector<FocusChange>& changes);
    /// The parts that the stream holds.
    int held(const FocusStream& stream) const;
    /// All streams that hold a part or wait for one.
    std::set<FocusStream> streams() const;

    /// Replaces all that the client's streams hold or wait for by the claims, ordered by when the
    /// parts were taken. No stream is told that it regained a part until settle, because other
    /// clients may have claims, too.
    void renew(const std::string& client, const std::vector<FocusClaim>& claims,
        std::vector<FocusChange>& changes);
    void settle(std::vector<FocusChange>& changes);

    void forget(const FocusStream& stream, std::vector<FocusChange>& changes);
    void forgetClient(const std::string& client, std::vector<FocusChange>& changes);

private:
    struct Holder {
        FocusStream stream;
        int reason = 0;
        std::uint64_t since = 0;
        bool isTold = false; ///< its client knows that it holds the part

        bool isAbove(const Holder& other) const;
    };
    using Part = std::vector<Holder>;

    void _tellLosers(
        size_t at, const FocusCause& cause, size_t first, std::vector<FocusChange>& changes);
    template <typename IsGone>
    void _remove(int mask, const IsGone& isGone, int behavior, const std::string& info,
        std::vector<FocusChange>& changes);

    std::array<Part, 2> _parts; ///< playback, recording
    bool _isSettled = true;
};

} // namespace host
