#pragma once

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace host {

/// A sound stream of some process: its connection and the number that it chose.
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

/// Who acts, and what those concerned are told of it.
struct FocusCause {
    int reason = 0; ///< sound_stream_focus_change_reason_e
    int behavior = 0;
    std::string info;
};

/// A stream that lost or regained the parts of mask, because another did what cause says.
struct FocusChange {
    FocusStream stream;
    int mask = 0;
    bool held = false;
    FocusCause cause;
};

/// One part that a stream held or waited for when the daemon ended or hung.
struct FocusClaim {
    std::uint32_t number = 0;
    int part = 0; ///< a mask of one bit
    int reason = 0; ///< of the stream
    std::uint64_t since = 0; ///< when it took the part
    bool isHeld = false; ///< it takes itself for the holder
};

enum class FocusAnswer { Done, InvalidState, Policy };

/**
 * Who holds which part of the sound focus. Each part has a stack of streams: the uppermost holds
 * it, the others wait to get it back. What a call changes for other streams is appended to changes.
 */
class FocusArbiter {
public:
    /// now: of the clock that the claims are by.
    FocusAnswer acquire(const FocusStream& stream, int mask, const FocusCause& cause,
        std::uint64_t now, std::vector<FocusChange>& changes);
    FocusAnswer release(const FocusStream& stream, int mask, int behavior, const std::string& info,
        std::vector<FocusChange>& changes);
    /// The parts that the stream holds.
    int held(const FocusStream& stream) const;
    /// The streams that hold a part or wait for it.
    std::set<FocusStream> streams() const;

    /// Puts the claims in the place of all that the client's streams have, in the order in which
    /// the parts were taken. Other clients may have claims, too: until settle nobody is told that
    /// it regained a part.
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
        bool isTold = false; ///< its client knows it as the holder

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
