// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

namespace velfuzz {

// Makes every GLib warning or critical abort the run: a handler that trips
// one of GLib's checks has unpacked something it should not have.
void abortOnGLibWarnings();

// The text of the last line the library handed to the log sink, and its
// severity code.
const std::string& lastLogText();
int lastLogSeverity();
unsigned long logLineCount();

} // namespace velfuzz
