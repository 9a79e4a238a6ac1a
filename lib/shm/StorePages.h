// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

#include <unistd.h>

#include <cstddef>

namespace libshm {

// A mapping of a store may be longer than the store; touching a page past the
// store's last page raises SIGBUS, while the tail of the last page reads as
// zeros. True when the first _length bytes of a mapping stay within the pages
// a store of _storeSize bytes has.
inline bool staysWithinStorePages(size_t _length, size_t _storeSize)
{
    const long pageSize = sysconf(_SC_PAGESIZE);
    const size_t page = pageSize > 0 ? static_cast<size_t>(pageSize) : 4096;
    const size_t pages = _storeSize / page + (_storeSize % page != 0 ? 1 : 0);
    return _length <= pages * page;
}

} // namespace libshm
