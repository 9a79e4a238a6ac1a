#pragma once

// Vocabulary shared with the MVEL service: the numbers that travel in the bus
// methods and signals, and the records published in the device store. Every
// enumeration is 32 bits wide and may carry values this header does not name;
// the library passes such values through unchanged.

#include <cstddef>
#include <cstdint>

enum CLIENT_TYPE_e : uint32_t {
    CLIENT_TYPE_APPLICATION_FIRST = 100,
    CLIENT_TYPE_APPLICATION_LAST = 105,
    CLIENT_TYPE_CORE_ENGINE_FIRST = 200,
    CLIENT_TYPE_CORE_ENGINE_LAST = 203,
    CLIENT_TYPE_CONTROLLER = 400,
};

enum TECHNOLOGY_e : uint32_t {
    // The service reads 28 as "no technology named".
    TECHNOLOGY_NONE = 28,
};

// Outcome of a request; defined by the service and passed through untouched.
enum ORNA_RESULT_e : uint32_t {
};

enum APP_REQUEST_e : uint32_t {
    APPREQ_CONNECT_SERVICE = 0,
    APPREQ_DISCONNECT_SERVICE = 1,
    APPREQ_REMOVE_DEVICE = 3,
    APPREQ_REJECT_TECHNOLOGY_SELECTION = 5,
    APPREQ_SET_PRIORITIZED_DEVICE = 6,
    APPREQ_RECONNECT_SUSPEND = 7,
    APPREQ_CHECK_MAX_PAIRED = 8,
    APPREQ_CHECK_PAIRED = 9,
};

enum APP_INFO_e : uint32_t {
    APPINFO_RESPONSE_UPDATE = 0,
};

enum ORNA_NOTICE_e : uint32_t {
    NOTICE_KNOWN_DEVICES_UPDATED = 0,
    NOTICE_DISCOVERED_DEVICES_UPDATED = 1,
    NOTICE_GET_TECHNOLOGY_SELECTION = 3,
    NOTICE_INCOMING_SERVICE_REQUEST_LIMIT_EXCEEDED = 4,
    NOTICE_LINK_LOSS = 7,
};

enum ORNA_FUNC_ITEM_e : uint32_t {
    FUNC_ITEM_RESTORE_FACTORY_SETTINGS = 2,
};

enum DEVICE_LIST_TYPE : uint32_t {
    KNOWN_DEVICE_LIST = 0,
    DISCOVERED_DEVICE_LIST = 1,
};

struct TECH_ACTIVE_INFO_s {
    TECHNOLOGY_e technology;
    bool active;
};

// One device exactly as the service lays it out in the device store. Only
// deviceId is read by the library; every other byte is carried unchanged.
struct DEVICE {
    uint8_t serviceFieldsHead[4608];
    char deviceId[256];
    uint8_t serviceFieldsTail[12492 - 4608 - 256];
};

static_assert(sizeof(DEVICE) == 12492, "DEVICE must keep the service's record size");
static_assert(offsetof(DEVICE, deviceId) == 4608, "deviceId must stay where the service writes it");

constexpr unsigned int VEL_MAX_DEVICE_COUNT = 10;
constexpr std::size_t VEL_DEVICE_LIST_BYTES = VEL_MAX_DEVICE_COUNT * sizeof(DEVICE);
static_assert(VEL_DEVICE_LIST_BYTES == 124920, "a whole device list is ten records");
