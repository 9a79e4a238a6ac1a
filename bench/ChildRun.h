#pragma once

#include <map>
#include <string>
#include <vector>

namespace velbench {

struct ChildResult {
    bool finished = false;   // exited on its own with status 0
    std::map<std::string, double> values;  // its "key value" lines
    std::string output;
};

// Runs a benchmark child to its end and reaps it by PID. Its stdout is read
// as "key value" lines; stderr is inherited, or sent to /dev/null. A child
// that outlives timeoutMs is killed (by its PID) and reported unfinished.
ChildResult runChild(const std::vector<std::string>& argv, int timeoutMs, bool discardStderr);

} // namespace velbench
