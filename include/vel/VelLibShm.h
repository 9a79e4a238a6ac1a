#pragma once

#include <string>

#include "vel/VelTypes.h"

class ImplVelLibShm;

// Read access to the device lists the service publishes: the known devices in
// a regular file, the discovered devices in a POSIX shared-memory object. Each
// read is guarded by the service's named semaphore, which this side only opens.
class VelLibShm {
public:
    // Opens the service's semaphore; without it every read fails.
    VelLibShm();
    // Closes the semaphore and removes its name, then closes both stores.
    virtual ~VelLibShm();

    // Maps both lists read-only. _name only labels the log line.
    bool initialize(std::string _name);
    // Copies the first _size bytes (records times sizeof(DEVICE)) of the list
    // into _dest. Not to be called on one reader from two threads at once.
    bool readData(DEVICE* _dest, DEVICE_LIST_TYPE _listType, int _size);

    VelLibShm(const VelLibShm&) = delete;
    VelLibShm& operator=(const VelLibShm&) = delete;

private:
    ImplVelLibShm* mpImpl;
};
