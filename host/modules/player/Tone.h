#pragma once

#include <cstdint>
#include <functional>
#include <string>

/**
 * A sound that is played on the sound server, or, without one, nowhere but at the same pace. Used
 * by one thread, which blocks when the server hangs; only cancel may be called by any thread, and
 * does not block.
 */
class Tone {
public:
    /// Callbacks, on the tone's own threads; they must not wait for the tone.
    struct Events {
        /// The last data of this pass through the sound are on their way; the number is unique
        /// among all tones.
        std::function<void(std::uint32_t pass)> ended;
        std::function<void(int error)> failed; ///< with a PLAYER_ERROR_* code, after open
    };

    Tone() = default;
    Tone(const Tone&) = delete;
    Tone& operator=(const Tone&) = delete;
    virtual ~Tone() = default;

    /// Waits until the tone is paused with its first data ready; 0 or a PLAYER_ERROR_* code.
    virtual int open() = 0;
    /// Makes open and settle return, now and later. The tone becomes silent when it is destroyed.
    virtual void cancel() = 0;

    /// False when the tone cannot be played or paused.
    virtual bool play() = 0;
    virtual bool pause() = 0;

    /// Jumps to the position, without a noise when the tone plays. False when it cannot.
    virtual bool seek(int milliseconds, bool isAccurate) = 0;
    /// Waits until the last jump is done. False when it never will be, also after cancel, or takes
    /// too long.
    virtual bool settle() = 0;

    /// When this pass has ended, goes on with the beginning without a gap. Does nothing when a jump
    /// or a repeat has begun another pass.
    virtual void repeat(std::uint32_t pass) = 0;

    /// Whether the tone plays nowhere although there is a sound server by now.
    virtual bool isOutdated() = 0;
};

/// The function of the engine "tone" that makes a tone, which the caller owns. role: the media role
/// by which the sound server gives the tone its volume.
using ToneMaker = Tone*(const std::string& uri, const std::string& role, Tone::Events events);
/// Loads the plugins that a tone usually needs, which takes longer than the rest of its start.
using ToneLoader = void();
constexpr const char* kToneEngine = "tone";
constexpr const char* kToneLoader = "loadTones";
constexpr const char* kToneMaker = "makeTone";
