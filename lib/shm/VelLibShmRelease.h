// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

class VelLibShm;

// The end of a reader that is replaced while the service runs. A reader's
// destructor removes the semaphore's and the discovered list's names, which
// by then may belong to a service that started after the reader was made;
// this ends the reader and keeps every name.
class VelLibShmRelease {
public:
    static void releaseKeepingNames(VelLibShm* _reader);
};
