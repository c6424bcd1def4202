#pragma once

#include <string>
#include <vector>

/// What was asked of the platform, by all threads, in the order in which it came. The doubles that
/// write here are those whose order matters to each other.
class CallJournal {
public:
    void note(const std::string& call);
    std::vector<std::string> calls() const;

    /// Those that begin so.
    std::vector<std::string> callsOf(const std::string& begin) const;
    void clear();

private:
    std::vector<std::string> _calls;
};

CallJournal& callJournal();
