#include "HostSession.h"
#include "SoundServer.h"
#include "TempDir.h"

#include <chrono>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <pulse/pulseaudio.h>
#include <recorder.h>
#include <string>

namespace {

// A stream from the microphone that needs more than a program's options.
class Stream {
public:
    explicit Stream(pa_stream_flags_t flags)
        : _loop(pa_mainloop_new())
        , _context(pa_context_new(pa_mainloop_get_api(_loop), "stream"))
    {
        pa_context_connect(_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
        _run([this] { return pa_context_get_state(_context) == PA_CONTEXT_READY; });
        const pa_sample_spec samples = { PA_SAMPLE_FLOAT32, 25, 1 };
        _stream = pa_stream_new(_context, "stream", &samples, nullptr);
        pa_stream_connect_record(_stream, "microphone", nullptr, flags);
        _run([this] { return pa_stream_get_state(_stream) == PA_STREAM_READY; });
    }
    ~Stream()
    {
        pa_stream_unref(_stream);
        pa_context_disconnect(_context);
        pa_context_unref(_context);
        pa_mainloop_free(_loop);
    }

private:
    void _run(const std::function<bool()>& done)
    {
        while (!done())
            ASSERT_GE(pa_mainloop_iterate(_loop, 1, nullptr), 0);
    }

    pa_mainloop* const _loop;
    pa_context* const _context;
    pa_stream* _stream = nullptr;
};

class RecorderTest : public testing::Test {
protected:
    static int look(recorder_device_state_e* state)
    {
        return recorder_get_device_state(RECORDER_TYPE_AUDIO, state);
    }
    bool waitFor(int answer, recorder_device_state_e expected)
    {
        return session.waitFor([=] {
            recorder_device_state_e state = expected;
            return look(&state) == answer && state == expected;
        });
    }

    HostSession session;
};

TEST_F(RecorderTest, BadArgumentsAreRefused)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_INVALID_PARAMETER, look(nullptr));
    EXPECT_EQ(RECORDER_ERROR_INVALID_PARAMETER,
        recorder_get_device_state(static_cast<recorder_type_e>(2), &state));
    EXPECT_EQ(RECORDER_ERROR_NOT_SUPPORTED, recorder_get_device_state(RECORDER_TYPE_VIDEO, &state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_PAUSED, state);
}

TEST_F(RecorderTest, FollowsTheRecordingOfAnotherApplication)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);

    ASSERT_EQ(0, system("hostctl record start"));
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
    ASSERT_EQ(0, system("hostctl record stop"));
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_IDLE));
}

TEST_F(RecorderTest, TheFirstLookKnowsAlready)
{
    ASSERT_EQ(0, system("hostctl record start"));

    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_RECORDING, state);
    ASSERT_EQ(0, system("hostctl record stop"));
}

TEST_F(RecorderTest, ListeningToWhatIsPlayedIsNoRecording)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    const Program listener("parec -d watch.monitor");
    ASSERT_TRUE(
        session.waitFor([] { return system("pactl list short source-outputs | grep -q .") == 0; }));

    // The recording that follows is seen, so the listening was, too.
    ASSERT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    const Program recorder("parec -d microphone");
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
}

TEST_F(RecorderTest, APausedRecordingIsKnownAsOneUnlessAnotherRuns)
{
    const Stream paused(PA_STREAM_START_CORKED);

    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_PAUSED, state);
    const Program recorder("parec -d microphone");
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
}

// A desktop's volume control shows one.
TEST_F(RecorderTest, AMeterOfTheMicrophoneIsNoRecording)
{
    const Stream meter(PA_STREAM_PEAK_DETECT);

    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    const Program recorder("parec -d microphone");
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
}

TEST_F(RecorderTest, WithoutAMicrophoneItIsNotSupported)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    ASSERT_EQ(RECORDER_ERROR_NONE, look(&state));
    ASSERT_EQ(0, system("pactl unload-module module-null-source"));

    EXPECT_TRUE(waitFor(RECORDER_ERROR_NOT_SUPPORTED, RECORDER_DEVICE_STATE_IDLE));
}

TEST_F(RecorderTest, TheFirstLookAfterTheServersRestartKnowsAlready)
{
    const TempDir folder;
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    {
        const SoundServer server(folder);
        ASSERT_EQ(RECORDER_ERROR_NONE, look(&state));
        EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    }
    const SoundServer server(folder);
    const std::unique_ptr<Program> recorder = SoundServer::record();

    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_RECORDING, state);
}

TEST_F(RecorderTest, AServerThatHangsIsAskedAgainWhenItGoesOn)
{
    const TempDir folder;
    const SoundServer server(folder);
    const std::unique_ptr<Program> recorder = SoundServer::record();
    server.hold();

    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    server.goOn();

    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
}

TEST_F(RecorderTest, WithoutASoundServerItIsIdle)
{
    setenv("PULSE_SERVER", "unix:/nonexistent/socket", 1);
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
}

TEST_F(RecorderTest, ALookDoesNotWait)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    const auto timed = [&](int looks) {
        using namespace std::chrono;
        const auto start = steady_clock::now();
        for (int i = 0; i < looks; ++i)
            look(&state);
        return duration<double, std::milli>(steady_clock::now() - start).count();
    };
    const double first = timed(1);
    const double later = timed(1000);
    RecordProperty("first_look_ms", std::to_string(first));
    RecordProperty("thousand_looks_ms", std::to_string(later));
    EXPECT_LT(first, 150);
    EXPECT_LT(later, 100);
}

} // namespace
