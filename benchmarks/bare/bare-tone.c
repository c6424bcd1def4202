/* The least that can play a tone: prints the time of its beginning, and plays until it is ended. */
#include <gst/gst.h>
#include <stdint.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    struct timespec began;
    clock_gettime(CLOCK_REALTIME, &began);
    gst_init(&argc, &argv);
    gchar* uri = argc == 2 ? gst_filename_to_uri(argv[1], NULL) : NULL;
    if (!uri) {
        fprintf(stderr, "usage: bare-tone FILE\n");
        return 2;
    }
    GstElement* player = gst_element_factory_make("playbin", NULL);
    g_object_set(
        player, "uri", uri, "audio-sink", gst_element_factory_make("pulsesink", NULL), NULL);
    gst_element_set_state(player, GST_STATE_PLAYING);
    printf("%d %lld.%09ld\n", (int)getpid(), (long long)began.tv_sec, began.tv_nsec);
    fflush(stdout);
    for (;;)
        pause();
}
