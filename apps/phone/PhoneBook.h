#pragma once

#include <AlarmDbData.h>
#include <string>
#include <vector>

/**
 * The phone's alarms, and what it knows of its watch, kept in a file. Alarms are numbered from 1 in
 * the order in which they were made. A deleted alarm keeps its number and place, so that a later
 * message of the watch about it finds it deleted. A change that cannot be stored is not made: it
 * throws a Failure.
 */
class PhoneBook {
public:
    /// Reads the file, if there is one.
    PhoneBook();

    const std::vector<AlarmDbData>& alarms() const { return _state.alarms; }

    /// The alarm of that number; null when there is none or it is deleted.
    const AlarmDbData* find(int number) const;

    /// How many there are, without the deleted ones.
    unsigned count() const;

    /// Adds an alarm with a new uuid and the present as its times of creation and change. Returns
    /// its number.
    int add(AlarmDbData alarm);

    /// Replaces the alarm of that number, with a time of change later than before.
    void change(int number, AlarmDbData alarm);

    /// Takes over alarms that the watch has changed, but for those that the phone has changed
    /// later. If there are any of these, sequence() goes up, which makes the watch ask for the
    /// list.
    void merge(const std::vector<AlarmDbData>& alarms);

    /// Makes a new pairing, so that the next connection is a first one.
    void pair();

    /// Notes that the watch has answered the first connection.
    void meet();

    int pairing() const { return _state.pairing; } ///< 0: never paired
    int sequence() const { return _state.sequence; } ///< how often the alarms were changed here
    bool hasMet() const { return _state.hasMet; } ///< the watch has answered since the pairing

private:
    struct State {
        std::vector<AlarmDbData> alarms;
        int pairing = 0;
        int sequence = 0;
        bool hasMet = false;
    };

    void _save(State changed);

    std::string _path;
    State _state; ///< what the file holds
};
