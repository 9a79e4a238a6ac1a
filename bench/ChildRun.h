// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace velbench {

struct ChildResult {
    bool finished = false;                 // exited on its own with status 0
    std::map<std::string, double> values;  // its "key value" lines
    std::string output;
};

// One benchmark child: started with its stdout on a pipe, read while it runs,
// and always reaped by its PID. Stderr is inherited, or sent to /dev/null.
// With `feedInput` its stdin is a pipe held open here until closeInput(), so
// a child can wait for its end as the word to go on (or to leave).
class ChildRun {
public:
    ChildRun(const std::vector<std::string>& argv, bool discardStderr, bool feedInput = false);
    ~ChildRun();

    ChildRun(const ChildRun&) = delete;
    ChildRun& operator=(const ChildRun&) = delete;

    bool started() const;
    pid_t pid() const;
    void closeInput();
    // Reads until a line equal to `line` has arrived; false on timeout or end.
    bool waitForLine(const std::string& line, int timeoutMs);
    // Closes its input, reads to the end and reaps the child; one that
    // outlives timeoutMs is killed by its PID and reported unfinished.
    ChildResult finish(int timeoutMs);

private:
    // False at the end of the output or when the deadline has passed.
    bool readSome(std::uint64_t deadlineNs);

    std::string mName;
    pid_t mPid = -1;
    int mOutput = -1;
    int mInput = -1;
    std::string mBuffer;
    std::size_t mScanned = 0;
    bool mReaped = false;
};

// Runs a benchmark child to its end: ChildRun started and finished.
ChildResult runChild(const std::vector<std::string>& argv, int timeoutMs, bool discardStderr);

} // namespace velbench
