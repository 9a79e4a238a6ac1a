// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "LogCapture.h"

namespace linktest {

// The process name as the kernel keeps it.
std::string processName();
// "[VELLIB][<process>.<client>][<function>] " + text
std::string proxyLine(const std::string& clientName, const std::string& function, const std::string& text);

// Runs an idle callback on the default main context and waits for it: every
// event dispatched before it on the main-loop thread has then been handled.
bool flushDefaultContext(std::chrono::milliseconds timeout = std::chrono::seconds(20));

// Index of the first captured line equal to text at or after `from`, or -1.
int indexOfLine(const std::string& text, int from = 0);
// Captured lines at the given severity whose text starts with the prefix.
std::vector<veltest::LogLine> linesStartingWith(const std::string& prefix);
std::size_t countLinesAtSeverity(const std::string& fragment, int severity);

int countPosixTimers();

} // namespace linktest
