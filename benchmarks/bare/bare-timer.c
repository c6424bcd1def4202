/*
 * The least that can ring an alarm: at each of the next COUNT half seconds it has the bus start
 * bare-alert, and prints by how many microseconds that was late.
 */
#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/timerfd.h>
#include <systemd/sd-bus.h>
#include <time.h>
#include <unistd.h>

static const int64_t kSecond = 1000000000;

static int64_t nextHalfSecond(void)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return ((int64_t)now.tv_sec + (now.tv_nsec < kSecond / 2 ? 0 : 1)) * kSecond + kSecond / 2;
}

static int waitUntil(int timer, int64_t instant)
{
    struct itimerspec when = { 0 };
    when.it_value.tv_sec = instant / kSecond;
    when.it_value.tv_nsec = instant % kSecond;
    uint64_t expirations = 0;
    if (timerfd_settime(timer, TFD_TIMER_ABSTIME, &when, NULL) != 0)
        return -1;
    return read(timer, &expirations, sizeof expirations) == sizeof expirations ? 0 : -1;
}

static int ring(sd_bus* bus, int64_t* began)
{
    sd_bus_message* answer = NULL;
    int result = sd_bus_call_method(
        bus, "com.velmora.BareAlert", "/", "com.velmora.BareAlert", "Ring", NULL, &answer, "");
    if (result >= 0)
        result = sd_bus_message_read(answer, "x", began);
    sd_bus_message_unref(answer);
    return result < 0 ? -1 : 0;
}

int main(int argc, char** argv)
{
    const long count = argc == 2 ? strtol(argv[1], NULL, 10) : 0;
    if (count <= 0) {
        fprintf(stderr, "usage: bare-timer COUNT\n");
        return 2;
    }
    sd_bus* bus = NULL;
    const int timer = timerfd_create(CLOCK_REALTIME, 0);
    if (timer < 0 || sd_bus_open_user(&bus) < 0)
        return EXIT_FAILURE;
    for (long i = 0; i < count; ++i) {
        const int64_t instant = nextHalfSecond();
        int64_t began = 0;
        if (waitUntil(timer, instant) != 0 || ring(bus, &began) != 0)
            return EXIT_FAILURE;
        printf("%" PRId64 "\n", (began - instant) / 1000);
        fflush(stdout);
    }
    sd_bus_unref(bus);
    close(timer);
    return EXIT_SUCCESS;
}
