#pragma once

#include <cstdlib>
#include <ctime>

/// Sets the process's zone until the end of the scope, where TZ is unset.
class ZoneOfProcess {
public:
    explicit ZoneOfProcess(const char* zone)
    {
        setenv("TZ", zone, 1);
        tzset();
    }
    ZoneOfProcess(const ZoneOfProcess&) = delete;
    ZoneOfProcess& operator=(const ZoneOfProcess&) = delete;
    ~ZoneOfProcess()
    {
        unsetenv("TZ");
        tzset();
    }
};
