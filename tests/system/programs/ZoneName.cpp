// Prints the device's zone, by nothing but the library.

#include <AlarmIcuDataModel.h>
#include <cstdio>
#include <cstdlib>
#include <memory>

int main()
{
    const std::unique_ptr<char, void (*)(void*)> zone(
        AlarmIcuDataModel::getCurrentTimeZone(), free);
    puts(zone.get());
}
