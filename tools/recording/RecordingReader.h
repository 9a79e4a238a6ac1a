// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "RecordingFormat.h"

namespace velrec {

// Reads a whole recording from its text. Every line must be complete (end in
// '\n') and well formed; on the first one that is not, returns false with a
// one-line reason that names the line. An event's arguments must parse as a
// value of its signature.
bool parseRecording(const std::string& text, Recording& recording, std::string& error);

// Reads the file, then parses it; the reason names the file.
bool loadRecording(const std::string& path, Recording& recording, std::string& error);

// Whether this build can replay the recording: its format, version, interface
// hash and DEVICE size. On false, a one-line reason.
bool checkCompatible(const Header& header, std::string& error);

} // namespace velrec
