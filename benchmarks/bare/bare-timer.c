/*
 * The least that can ring an alarm: in each of the next COUNT seconds, that many MILLISECONDS after
 * it began, it has the bus start the bare alert of that NAME, and prints by how many microseconds
 * that was late.
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

static int64_t nextInstant(int64_t part)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return ((int64_t)now.tv_sec + (now.tv_nsec < part ? 0 : 1)) * kSecond + part;
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

static int ring(sd_bus* bus, const char* name, int64_t* began)
{
    sd_bus_message* answer = NULL;
    int result
        = sd_bus_call_method(bus, name, "/", "com.velmora.BareAlert", "Ring", NULL, &answer, "");
    if (result >= 0)
        result = sd_bus_message_read(answer, "x", began);
    sd_bus_message_unref(answer);
    return result < 0 ? -1 : 0;
}

int main(int argc, char** argv)
{
    const int64_t part = argc == 4 ? strtol(argv[2], NULL, 10) * (kSecond / 1000) : -1;
    const long count = argc == 4 ? strtol(argv[3], NULL, 10) : 0;
    if (part < 0 || part >= kSecond || count <= 0) {
        fprintf(stderr, "usage: bare-timer NAME MILLISECONDS COUNT\n");
        return 2;
    }
    sd_bus* bus = NULL;
    const int timer = timerfd_create(CLOCK_REALTIME, 0);
    if (timer < 0 || sd_bus_open_user(&bus) < 0)
        return EXIT_FAILURE;
    for (long i = 0; i < count; ++i) {
        const int64_t instant = nextInstant(part);
        int64_t began = 0;
        if (waitUntil(timer, instant) != 0 || ring(bus, argv[1], &began) != 0)
            return EXIT_FAILURE;
        printf("%" PRId64 "\n", (began - instant) / 1000);
        fflush(stdout);
    }
    sd_bus_unref(bus);
    close(timer);
    return EXIT_SUCCESS;
}
