#pragma once

#include <AlarmDbData.h>
#include <string>
#include <vector>

/**
 * The phone's own alarms and what it knows of its watch, in a file of its own. Alarms are numbered
 * from 1 in the order in which they were made. A deleted one keeps its place, so that a change of
 * the watch that comes later finds it deleted. A change that cannot be stored throws a Failure and
 * is not done.
 */
class PhoneBook {
public:
    /// Reads the file, if there is one.
    PhoneBook();

    const std::vector<AlarmDbData>& alarms() const { return _state.alarms; }

    /// The alarm of a number; null when there is none.
    const AlarmDbData* find(int number) const;

    /// How many there are, without the deleted ones.
    unsigned count() const;

    /// Adds an alarm, of which only uuid and times are made here; the result is its number.
    int add(AlarmDbData alarm);

    /// Puts a changed alarm in the place of the one of that number.
    void change(int number, AlarmDbData alarm);

    /// Takes what the watch says of some alarms. Each side's later change counts; when that was the
    /// phone's, the watch is to fetch it, so it counts as another change.
    void merge(const std::vector<AlarmDbData>& alarms);

    /// Forgets the watch: the next connection is a first one.
    void pair();
    void meet();

    int pairing() const { return _state.pairing; } ///< 0: never paired
    int sequence() const { return _state.sequence; } ///< how often the alarms were changed here
    bool hasMet() const { return _state.hasMet; } ///< since it was paired

private:
    struct State {
        std::vector<AlarmDbData> alarms;
        int pairing = 0;
        int sequence = 0;
        bool hasMet = false;
    };

    void _save(State changed);

    std::string _path;
    State _state; ///< as the file has it
};
