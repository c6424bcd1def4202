#pragma once

#include <string>

/** The file that the applications share. */
namespace app {

/// Where the store lies; empty when there is no data folder.
std::string storePath();

/**
 * Makes the store when there is none. The library makes it in steps, and takes any file for a whole
 * one; so a process that ends between two of them would leave a file in which nobody can save.
 * Every process of ours calls this before its first connection: then the file is made by one of
 * them at a time, and one that was left unfinished is made anew.
 */
void makeStore();

} // namespace app
