// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "VelLibShmRelease.h"

#include "ImplVelLibShm.h"
#include "vel/VelLibShm.h"

void VelLibShmRelease::releaseKeepingNames(VelLibShm* _reader)
{
    if (_reader == nullptr) {
        return;
    }
    _reader->mpImpl->mKeepsNames = true;
    delete _reader;
}
