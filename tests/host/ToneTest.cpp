#include "host/modules/player/Tone.h"

#include "host/common/Engine.h"
#include "Listener.h"
#include "TempDir.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <player.h>
#include <string>
#include <vector>

namespace {

const int kNone = PLAYER_ERROR_NONE;

/// A tone of the length, open; it knows which of its passes ended.
class ToneTest : public testing::Test {
protected:
    void open(double seconds)
    {
        const std::string path = dir.file("tone.wav");
        writeWav(path, sine(880, seconds));
        Tone::Events events;
        events.ended = [this](std::uint32_t pass) {
            const std::lock_guard<std::mutex> lock(mutex);
            ended.push_back(pass);
        };
        events.failed = [](int error) { ADD_FAILURE() << "error " << error; };
        auto* const make = host::engineFunction<ToneMaker>(kToneEngine, kToneMaker);
        tone.reset(make("file://" + path, "alarm", events));
        ASSERT_EQ(kNone, tone->open());
    }

    TempDir dir;
    std::mutex mutex;
    std::vector<std::uint32_t> ended; ///< under the mutex
    std::unique_ptr<Tone> tone; ///< goes first
};

// The sound is read to its end long before it is heard, and so while a jump begins.
TEST_F(ToneTest, APassThatEndsWhileAJumpBeginsIsNotTakenForTheNextOne)
{
    open(0.5);
    for (int jump = 0; jump < 1000; ++jump) {
        ASSERT_TRUE(tone->seek(jump % 400, true));
        ASSERT_TRUE(tone->settle());
    }

    const std::lock_guard<std::mutex> lock(mutex);
    EXPECT_GT(ended.size(), 0u);
    std::sort(ended.begin(), ended.end());
    EXPECT_EQ(ended.end(), std::adjacent_find(ended.begin(), ended.end()));
}

TEST_F(ToneTest, NothingThatIsCancelledSettles)
{
    open(0.5);
    ASSERT_TRUE(tone->settle());

    tone->cancel();

    EXPECT_FALSE(tone->settle());
}

} // namespace
