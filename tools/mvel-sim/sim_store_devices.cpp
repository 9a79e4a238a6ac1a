// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Device records for the simulator's store: built from an identifier and a
// name, or read from a file of sample devices.

#include <cstring>
#include <fstream>
#include <sstream>

#include "SimStore.h"

namespace sim {

namespace {

// Copies text into a fixed field, always leaving room for the terminator.
void copyText(char* _field, std::size_t _fieldSize, const std::string& _text)
{
    const std::size_t length = _text.size() < _fieldSize ? _text.size() : _fieldSize - 1;
    std::memcpy(_field, _text.data(), length);
    _field[length] = '\0';
}

std::string trimmed(const std::string& _text)
{
    const char* blanks = " \t\r\n";
    const std::size_t first = _text.find_first_not_of(blanks);
    if (first == std::string::npos) {
        return std::string();
    }
    return _text.substr(first, _text.find_last_not_of(blanks) - first + 1);
}

} // namespace

DEVICE makeDevice(const std::string& _deviceId, const std::string& _name)
{
    DEVICE device;
    std::memset(&device, 0, sizeof(device));
    copyText(device.deviceId, sizeof(device.deviceId), _deviceId);
    // The name lives in the bytes that belong to the service; the library
    // carries them unchanged, so a client can see it arrive.
    copyText(reinterpret_cast<char*>(device.serviceFieldsHead), sizeof(device.serviceFieldsHead), _name);
    return device;
}

bool loadDeviceFile(const std::string& _path, std::vector<DEVICE>& _devices, std::string& _error)
{
    std::ifstream in(_path);
    if (!in) {
        _error = "cannot read " + _path;
        return false;
    }
    std::string line;
    while (std::getline(in, line)) {
        const std::string text = trimmed(line);
        if (text.empty() || text[0] == '#') {
            continue;
        }
        std::istringstream fields(text);
        std::string deviceId;
        fields >> deviceId;
        std::string name;
        std::getline(fields, name);
        _devices.push_back(makeDevice(deviceId, trimmed(name)));
    }
    return true;
}

} // namespace sim
