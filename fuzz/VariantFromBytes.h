// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <glib.h>

#include <fuzzer/FuzzedDataProvider.h>

namespace velfuzz {

// Turns fuzz bytes into the parameters a bus signal could carry: the
// signal's own type with arbitrary serialised content, a type string taken
// from the input, or a value built member by member of any type and depth
// (wrong arity, nested variants, long arrays, odd strings). The result is a
// floating-free reference the caller unrefs; it may be NULL, as a handler
// must cope with that too.
GVariant* variantFromBytes(FuzzedDataProvider& input, const char* expectedType);

// The serialised form of a value of the expected type, marked so that
// variantFromBytes reads it back unchanged (used to write seed inputs).
GBytes* seedFor(GVariant* value);

} // namespace velfuzz
