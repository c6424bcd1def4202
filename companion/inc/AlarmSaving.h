#pragma once

#include "AlarmCompanion.h"

#include <chrono>
#include <memory>
#include <vector>

namespace companion {

class SaveTurn;
class StoreConnection;

/**
 * Changes of alarms that are stored together, or not at all: one transaction on the connection with
 * which the library writes. So what it writes is read back before it is committed, and it is always
 * known whether that is stored.
 *
 * Registrations follow the rows. A fresh one is made before its row is written, and the former one
 * is cancelled once the row that names the fresh one is on the disk; what is not committed takes
 * its fresh ones back. So when a save fails, the alarms ring as before. Of a process that is
 * killed, registrations may be left that no row names: the alert cancels them when they come due.
 *
 * Processes that save wait in line; others read meanwhile what was there before. So it is to be
 * short. The process itself must not save or write otherwise while it lives, in an Edit neither: it
 * would wait for itself until its patience is over. An AlarmReading that lives keeps it from
 * committing in the same way.
 */
class AlarmSaving {
public:
    static constexpr std::chrono::milliseconds kPatience{ 10000 };

    /// Waits for its turn and for the file, that long together.
    explicit AlarmSaving(std::chrono::milliseconds patience = kPatience);
    AlarmSaving(const AlarmSaving&) = delete;
    AlarmSaving& operator=(const AlarmSaving&) = delete;
    /// Undoes what was not committed.
    ~AlarmSaving();

    /// Whether changes can be made: Yes, or why not. Every change answers it when it is not Yes,
    /// and so does commit().
    Saved state() const { return _state; }

    // As the functions of AlarmCompanion.h; nothing is on the disk before commit(). A change that
    // answers NoSuchAlarm, Unreadable or NotRegistered has written nothing, and others may follow.
    [[nodiscard]] Saved add(AlarmDbData& alarm, const Edit& edit);
    [[nodiscard]] Saved change(int id, const Edit& edit, AlarmDbData& alarm);
    [[nodiscard]] Saved remove(int id, AlarmDbData& alarm);

    /// Stores and announces the changes, then cancels the registrations that they replaced.
    [[nodiscard]] Saved commit();

    // For whoever keeps records that come from elsewhere, such as the phone's.

    /// What edit makes of before, registered as it is to ring here: a phone alarm only when the
    /// phone's alarms ring, and a one-shot of a later week not yet. False, and the id -1, when the
    /// alarm service refused it. To be stored by insert() or replace(), or to be given up.
    bool make(const AlarmDbData& before, const Edit& edit, AlarmDbData& after);

    /// A modification time that no stored alarm has, nor any alarm had.
    int takeModTime();

    /// Whether other processes are told of a change. They need not hear of a mere registration.
    enum class News { Announced, Silent };

    // Each stores a record as it is, with its registration and the phone's times, and without a
    // word to the phone.
    Saved insert(AlarmDbData& alarm);
    Saved replace(const AlarmDbData& before, AlarmDbData after, News news = News::Announced);
    Saved erase(const AlarmDbData& alarm, News news = News::Announced);

    /// The phone's alarms, deleted ones too, as this transaction sees them. None, and the state
    /// Unreadable, when they cannot be read.
    std::vector<AlarmDbData> phoneAlarms();

private:
    enum class Phone { Unchanged, IsToHear };

    Saved _find(int id, AlarmDbData& alarm);
    Saved _write(const AlarmDbData& before, AlarmDbData& after, Phone phone, News news);
    Saved _settle(bool isWritten, int former, int fresh, News news);
    std::optional<AlarmDbData> _row(int id);
    Saved _giveUp(Saved why);

    Saved _state = Saved::Yes;
    std::unique_ptr<SaveTurn> _turn;
    std::unique_ptr<StoreConnection> _store;
    bool _mayCommit = false;
    bool _isNews = false;
    int _modTime = 0; ///< the last that was taken
    std::vector<int> _unnamed; ///< registrations that were made and are in no row yet
    std::vector<int> _named; ///< registrations that were made for the rows that were written
    std::vector<int> _former; ///< registrations that no row names any more
};

/// Returns when the save that another process is at, if any, is done. False when that takes longer,
/// or the store cannot be written at all. A save registers an alarm before it stores it, so its
/// alert may come first.
bool waitForSave(std::chrono::milliseconds patience);

} // namespace companion
