/*
 * The least that the bus can start for an alarm: owns NAME, answers with the time of its call, and
 * ends.
 */
#include <stdlib.h>
#include <systemd/sd-bus.h>
#include <time.h>

static int ringCb(sd_bus_message* call, void* data, sd_bus_error* error)
{
    (void)data;
    (void)error;
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    const int result
        = sd_bus_reply_method_return(call, "x", (int64_t)now.tv_sec * 1000000000 + now.tv_nsec);
    sd_bus_flush(sd_bus_message_get_bus(call));
    exit(result < 0 ? EXIT_FAILURE : EXIT_SUCCESS);
}

static const sd_bus_vtable kMethods[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Ring", "", "x", ringCb, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

int main(void)
{
    sd_bus* bus = NULL;
    if (sd_bus_open_user(&bus) < 0
        || sd_bus_add_object_vtable(bus, NULL, "/", "com.velmora.BareAlert", kMethods, NULL) < 0
        || sd_bus_request_name(bus, NAME, 0) < 0)
        return EXIT_FAILURE;
    for (;;) {
        const int result = sd_bus_process(bus, NULL);
        if (result < 0 || (result == 0 && sd_bus_wait(bus, UINT64_MAX) < 0))
            return EXIT_FAILURE;
    }
}
