// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <string>

#include "RecordingFormat.h"

// A recording is a file from outside: every event is checked against the
// interface this build serves before a replay emits anything.

namespace velrec {

// The body signature the interface gives the event's member for its kind
// (in-arguments of a call, out-arguments of a reply, a signal's arguments).
// False with `field` and a one-line reason when the member is not one of the
// interface's, or the signature is not the interface's.
bool checkMember(const Event& event, std::string& field, std::string& reason);

// The store snapshot against its notice: only list notices carry one, of the
// list they announce, and the announced count fits the records.
bool checkStore(const Event& event, std::string& field, std::string& reason);

// Deepest nesting of brackets in a text, outside quoted strings; used to
// refuse text that would make a recursive parser go too deep.
std::size_t nestingDepth(const std::string& text);

} // namespace velrec
