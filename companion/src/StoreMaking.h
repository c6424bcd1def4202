#pragma once

namespace companion {

/// Makes the store when there is none, and anew when it was left unfinished; for who has the turn.
/// The library makes the file in steps, and takes any file for a whole one: a process that ends
/// between two of them leaves a file in which nobody can save.
void makeStoreInTurn();

} // namespace companion
