#pragma once

#include <string>

struct AlarmDbData;

/** The file that the applications share. */
namespace app {

/// Lets each SQLite connection that the process opens from now on wait while the file is busy.
void waitOnBusyStore();

/**
 * Makes the store when there is none. The library makes it in steps, and takes any file for a whole
 * one; so a process that ends between two of them would leave a file in which nobody can save.
 * Every process of ours calls this before its first connection: then the file is made by one of
 * them at a time, and one that was left unfinished is made anew.
 */
void makeStore();

/// Why the store cannot be read, for the user; empty when it can. The library's reads do not tell.
std::string storeFault();

/// Stores when the alarm rings and how it is registered, and nothing else: the library's update
/// also notes, in a row that the phone is yet to hear of, that it was modified now. Does not tell
/// whether it was stored.
void storeRegistration(const AlarmDbData& alarm);

} // namespace app
