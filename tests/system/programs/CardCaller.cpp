// An application that asks for the upcoming alarm's card as any does: by the library.

#include <AlarmContextualManager.h>
#include <AlarmDbData.h>
#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    const std::string what = argc == 2 ? argv[1] : "";
    AlarmContextualManager& cards = AlarmContextualManager::getInstance();
    if (what == "post") {
        AlarmDbData alarm;
        alarm.id = 4711; // whatever it says, the service knows which alarm is next
        cards.postUpcomingAlarm(alarm);
    } else if (what == "delete") {
        cards.deleteUpcomingNoti();
    } else {
        fputs("card-caller: it must be post or delete\n", stderr);
        return 2;
    }
    return 0;
}
