#pragma once

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

/// The number of `what` that the command line gives by -n, `usual` without it. Ends the process
/// when the command line is wrong.
inline size_t parseCount(int argc, char** argv, size_t usual, const char* what)
{
    size_t count = usual;
    for (int option = 0; count != 0 && (option = getopt(argc, argv, "n:")) != -1;)
        count = option == 'n' ? strtoul(optarg, nullptr, 10) : 0;
    if (count == 0 || optind != argc) {
        fprintf(stderr, "usage: %s [-n %s]\n", argv[0], what);
        exit(2);
    }
    return count;
}
