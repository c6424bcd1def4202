#pragma once

#include <string>

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

} // namespace app
