#pragma once

#include <cstdint>
#include <string>

// Device filter of a service query. Only the two groups below select anything.
enum DEV_FILTER_TYPE_e : uint32_t {
    DEV_FILTER_TYPE_GROUP_A = 0,
    DEV_FILTER_TYPE_GROUP_B = 1,
};

// Service kinds as numbered by the service.
enum SERVICE_e : uint32_t {
    SERVICE_NONE = 0,
    SERVICE_1 = 1,
    SERVICE_2 = 2,
    SERVICE_3 = 3,
    SERVICE_4 = 4,
    SERVICE_5 = 5,
    SERVICE_6 = 6,
    SERVICE_7 = 7,
    SERVICE_8 = 8,
};

// Stateless helpers for client processes.
class VelLibUtil {
public:
    // The process name as the kernel keeps it (first line of /proc/self/comm),
    // or an empty string when it cannot be read.
    static std::string getClientName();
    // Group A matches services 1, 4 and 7; group B matches 2, 5 and 8; nothing
    // else matches.
    static bool isServiceMatched(DEV_FILTER_TYPE_e filter, SERVICE_e service);
};
