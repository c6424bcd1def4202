#pragma once

#include <cstdint>

/// When an alarm rings next: for hostd, which rings it, and for the applications, which tell when.
struct NextOccurrenceCase {
    const char* name;
    const char* zone;
    std::int64_t now;
    struct {
        int hour, minute, second;
    } time;
    int weekSet;
    struct {
        int year, month, day;
    } firstDay; // 0, 0, 0 = any
    std::int64_t expected;
};

const NextOccurrenceCase kNextOccurrenceCases[] = {
#include "NextOccurrenceCases.inc"
};
