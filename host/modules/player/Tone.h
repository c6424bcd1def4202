#pragma once

#include <cstdint>
#include <functional>
#include <string>

/**
 * One opened sound, which goes to the sound server, or, without one, to nowhere in the same time.
 * One thread, which a server that hangs holds up; cancel is for any, and does not wait.
 */
class Tone {
public:
    /// Called from the tone's own threads; must not wait for the tone.
    struct Events {
        /// The last of this pass through the sound is on its way; no other tone has its number.
        std::function<void(std::uint32_t pass)> ended;
        std::function<void(int error)> failed; ///< a PLAYER_ERROR_* code, after open
    };

    Tone() = default;
    Tone(const Tone&) = delete;
    Tone& operator=(const Tone&) = delete;
    virtual ~Tone() = default;

    /// Waits until the first sound is ready to be heard, paused; 0 or a PLAYER_ERROR_* code.
    virtual int open() = 0;
    /// Open and settle return, now and later. Its end makes it silent.
    virtual void cancel() = 0;

    /// False when they cannot.
    virtual bool play() = 0;
    virtual bool pause() = 0;

    /// Jumps, silently if it plays. False when it cannot.
    virtual bool seek(int milliseconds, bool isAccurate) = 0;
    /// Waits until the last jump is done. False when it never will be, also after cancel, and when
    /// it takes too long.
    virtual bool settle() = 0;

    /// Goes on with the beginning when the pass has ended, without a gap; does nothing once a jump
    /// or a repeat has begun another one.
    virtual void repeat(std::uint32_t pass) = 0;

    /// Whether it goes to nowhere although there is a sound server by now.
    virtual bool isOutdated() = 0;
};

/// What the engine "tone" makes them with; the caller owns it. role: the media role that gives the
/// sound server the volume.
using ToneMaker = Tone*(const std::string& uri, const std::string& role, Tone::Events events);
/// Loads what a tone usually needs, which takes longer than the rest of its way to the first sound.
using ToneLoader = void();
constexpr const char* kToneEngine = "tone";
constexpr const char* kToneLoader = "loadTones";
constexpr const char* kToneMaker = "makeTone";
