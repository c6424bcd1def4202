#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

const int kRate = 44100;

using Samples = std::vector<std::int16_t>;

/// A sine of the pitch at half of full scale.
inline Samples sine(double hertz, double seconds)
{
    Samples samples(static_cast<size_t>(seconds * kRate));
    for (size_t at = 0; at < samples.size(); ++at) {
        samples[at] = static_cast<std::int16_t>(
            std::lround(16384 * std::sin(2 * M_PI * hertz * static_cast<double>(at) / kRate)));
    }
    return samples;
}

/// Writes a sound file, one channel, uncompressed.
inline void writeWav(const std::string& path, const Samples& samples)
{
    const auto number = [](std::uint32_t value, int bytes) {
        std::string text;
        for (; bytes > 0; --bytes, value >>= 8)
            text += static_cast<char>(value & 0xff);
        return text;
    };
    const auto length = static_cast<std::uint32_t>(samples.size() * 2);
    std::ofstream file(path, std::ios::binary);
    file << "RIFF" << number(36 + length, 4) << "WAVEfmt " << number(16, 4) << number(1, 2)
         << number(1, 2) << number(kRate, 4) << number(kRate * 2, 4) << number(2, 2)
         << number(16, 2) << "data" << number(length, 4);
    file.write(reinterpret_cast<const char*>(samples.data()), length);
}

inline int peak(const Samples& samples)
{
    int highest = 0;
    for (const std::int16_t sample : samples)
        highest = std::max(highest, std::abs(static_cast<int>(sample)));
    return highest;
}

/// The pitch of what is one steady sine, by its rising zero crossings.
inline double pitch(const Samples& samples)
{
    size_t first = 0;
    size_t last = 0;
    int count = 0;
    for (size_t at = 1; at < samples.size(); ++at) {
        if (samples[at - 1] >= 0 || samples[at] < 0)
            continue;
        if (count++ == 0)
            first = at;
        last = at;
    }
    return count < 2 ? 0
                     : (count - 1) * static_cast<double>(kRate) / static_cast<double>(last - first);
}

/// The longest stretch of samples that are softer than level.
inline double longestSilence(const Samples& samples, int level)
{
    size_t longest = 0;
    size_t run = 0;
    for (const std::int16_t sample : samples) {
        run = std::abs(sample) < level ? run + 1 : 0;
        longest = std::max(longest, run);
    }
    return static_cast<double>(longest) / kRate;
}

/// Without the silence before and behind it.
inline Samples trimmed(const Samples& samples, int level = 500)
{
    const auto isLoud = [=](std::int16_t sample) { return std::abs(sample) >= level; };
    const auto first = std::find_if(samples.begin(), samples.end(), isLoud);
    const auto last = std::find_if(samples.rbegin(), samples.rend(), isLoud).base();
    return first < last ? Samples(first, last) : Samples();
}

/// Hears it again until it is as expected; answers what was heard last. A busy machine tears a hole
/// into a sound now and then; what is wrong with the sound itself is wrong each time.
inline Samples hearUntil(
    const std::function<Samples()>& hear, const std::function<bool(const Samples& heard)>& expected)
{
    Samples heard = hear();
    for (int more = 19; more > 0 && !expected(heard); --more)
        heard = hear();
    return heard;
}

/// Measures seconds again until they are below the limit; answers the least. A busy machine delays
/// what is soon enough now and then; what is late by itself is late each time.
inline double leastSeconds(double limit, const std::function<double()>& measure)
{
    double least = measure();
    for (int more = 4; more > 0 && least >= limit; --more)
        least = std::min(least, measure());
    return least;
}

/// Hears what the session's sound server plays.
class Listener {
public:
    Listener()
        : _pipe(popen("exec parec -d watch.monitor --raw --format=s16le --rate=44100 --channels=1 "
                      "--latency-msec=10 --process-time-msec=5 2>/dev/null",
            "r"))
        , _thread([this] { _listen(); })
    {
        // From its first sample on it misses nothing.
        if (!waitFor([](const Samples& heard) { return !heard.empty(); }))
            throw std::runtime_error("nothing is to be heard of the session's sound server");
    }
    ~Listener()
    {
        _isEnding = true;
        _thread.join();
        pclose(_pipe);
    }

    /// What was heard since the last call.
    Samples take()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return std::exchange(_heard, {});
    }

    /// Listens on until what was heard since the last take is as expected; false after 20
    /// seconds.
    bool waitFor(const std::function<bool(const Samples& heard)>& expected)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        return _more.wait_for(lock, std::chrono::seconds(20), [&] { return expected(_heard); });
    }

    /// What is heard within the next seconds.
    Samples listen(double seconds)
    {
        take();
        waitFor([=](const Samples& heard) {
            return static_cast<double>(heard.size()) >= seconds * kRate;
        });
        return take();
    }

    /// Nothing but sound, for so long; else what was heard last.
    Samples listenWithoutGap(double seconds, double gap, int level)
    {
        return hearUntil([&] { return listen(seconds); },
            [&](const Samples& heard) { return longestSilence(heard, level) < gap; });
    }

    /// Whether a part that is sound, for so long, has the pitch.
    bool hearsPitch(double seconds, double hertz, double tolerance, int level)
    {
        const auto hasPitch = [=](const Samples& heard) {
            return std::abs(pitch(trimmed(heard, level)) - hertz) < tolerance;
        };
        return hasPitch(hearUntil([&] { return listen(seconds); }, hasPitch));
    }

    bool waitForSound(int level = 500)
    {
        return waitFor([=](const Samples& heard) { return peak(heard) >= level; });
    }

    /// True once it has been silent for half a second.
    bool waitForSilence(int level = 500)
    {
        return waitFor([=](const Samples& heard) {
            const size_t last = kRate / 2;
            return heard.size() > last
                && peak({ heard.end() - static_cast<std::ptrdiff_t>(last), heard.end() }) < level;
        });
    }

private:
    void _listen()
    {
        std::array<std::int16_t, 441> part;
        while (!_isEnding) {
            const size_t count = fread(part.data(), sizeof part[0], part.size(), _pipe);
            if (count == 0)
                return;
            const std::lock_guard<std::mutex> lock(_mutex);
            _heard.insert(_heard.end(), part.begin(), part.begin() + count);
            _more.notify_all();
        }
    }

    FILE* const _pipe;
    std::atomic<bool> _isEnding{ false };
    std::mutex _mutex;
    std::condition_variable _more;
    Samples _heard;
    std::thread _thread;
};
