#pragma once

#include <array>
#include <cstddef>

struct sqlite3;

namespace host {

/**
 * Tells whether a database has been written to by any process, for a fraction of what a query
 * costs: by the header of its write-ahead log's index, which is mapped into every process that has
 * the database open and changes with every commit.
 */
class CommitMark {
public:
    /// The connection has read from the database before, and outlives the mark.
    explicit CommitMark(sqlite3* connection);

    /// True when something may have been committed since the last call, and the first time. What is
    /// read after a call holds until the next one that answers true.
    bool moved();

private:
    // The header's two copies.
    using Header = std::array<unsigned char, 96>;

    const volatile unsigned char* _index = nullptr; ///< null when there is no write-ahead log
    Header _seen = {};
};

} // namespace host
