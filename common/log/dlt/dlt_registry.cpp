// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "dlt_registry.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

namespace veldlt {

namespace {

constexpr const char* kAppId = "VELL";
constexpr const char* kAppDescription = "vel_library";
// The wrapper's own lines carry no context; they get one of their own.
constexpr const char* kOwnLinesId = "VLOG";
constexpr const char* kOwnLinesDescription = "vel_log_wrapper";

struct KnownContext {
    const char* id;
    const char* description;
};

// The library's contexts, so that DLT viewers show the same descriptions as
// the modules register.
constexpr KnownContext kKnownContexts[] = {
    {"VELL", "vel_library"},
    {"LIBA", "vel_library_application"},
    {"LIBC", "vel_library_coreengine"},
    {"LIBL", "vel_library_controller"},
    {"CB_A", "vel_callback_app"},
    {"CB_C", "vel_callback_coreengine"},
    {"CBAG", "vel_callback_agent"},
    {"LIBR", "vel_agent_recovery"},
    {"VELT", "VelTimer"},
    {"LIBS", "vel_library_semaphore"},
    {"VSHM", "orna_sharedmemory"},
    {kOwnLinesId, kOwnLinesDescription},
};

// How long lines buffered in libdlt may delay the exit of the process.
constexpr std::uint32_t kExitFlushMs = 1000;

constexpr int kSlotCount = 32;
ContextSlot gSlots[kSlotCount];
// Slots [0, gSlotsInUse) are registered and complete.
std::atomic<int> gSlotsInUse{0};
// Serialises registration and the exit handler.
std::mutex gRegistrationMutex;
bool gAppRegistered = false;
bool gAppIsOurs = false;
// A context DLT refused is not asked for again on every line.
std::atomic<std::uint32_t> gRefusedKeys[kSlotCount];
std::atomic<int> gRefusedCount{0};

std::atomic<bool> gClosing{false};
std::atomic<int> gCallsInFlight{0};

std::uint32_t keyOfId(const char* id)
{
    char bytes[DLT_ID_SIZE] = {0, 0, 0, 0};
    std::memcpy(bytes, id, strnlen(id, DLT_ID_SIZE));
    std::uint32_t key = 0;
    std::memcpy(&key, bytes, sizeof(key));
    return key;
}

std::uint32_t keyOf(const DltContext* libraryContext)
{
    std::uint32_t key = 0;
    if (libraryContext != nullptr) {
        std::memcpy(&key, libraryContext->contextID, sizeof(key));
    }
    return key != 0 ? key : keyOfId(kOwnLinesId);
}

ContextSlot* findSlot(std::uint32_t key)
{
    const int inUse = gSlotsInUse.load(std::memory_order_acquire);
    for (int i = 0; i < inUse; ++i) {
        if (gSlots[i].key.load(std::memory_order_relaxed) == key) {
            return &gSlots[i];
        }
    }
    return nullptr;
}

bool wasRefused(std::uint32_t key)
{
    const int refused = gRefusedCount.load(std::memory_order_acquire);
    for (int i = 0; i < refused; ++i) {
        if (gRefusedKeys[i].load(std::memory_order_relaxed) == key) {
            return true;
        }
    }
    return false;
}

void noteRefused(std::uint32_t key)
{
    const int refused = gRefusedCount.load(std::memory_order_relaxed);
    if (refused < kSlotCount) {
        gRefusedKeys[refused].store(key, std::memory_order_relaxed);
        gRefusedCount.store(refused + 1, std::memory_order_release);
    }
}

const char* descriptionFor(const char* id)
{
    for (const KnownContext& known : kKnownContexts) {
        if (std::strncmp(known.id, id, DLT_ID_SIZE) == 0) {
            return known.description;
        }
    }
    return id;
}

// Runs on libdlt's receiver thread whenever DLT changes a context's level
// (a viewer or dlt-control). Takes no lock: registration may be waiting on
// libdlt while this runs.
void onLevelChanged(char contextId[DLT_ID_SIZE], std::uint8_t level, std::uint8_t)
{
    std::uint32_t key = 0;
    std::memcpy(&key, contextId, sizeof(key));
    for (ContextSlot& slot : gSlots) {
        if (slot.key.load(std::memory_order_acquire) == key) {
            slot.level.store(static_cast<std::int8_t>(level), std::memory_order_relaxed);
        }
    }
}

void unregisterAtExit()
{
    gClosing.store(true);
    // Lines already inside libdlt finish first; a thread stuck there for more
    // than a second is not waited for.
    for (int waited = 0; gCallsInFlight.load() > 0 && waited < 1000; ++waited) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::lock_guard<std::mutex> lock(gRegistrationMutex);
    const int inUse = gSlotsInUse.load(std::memory_order_acquire);
    for (int i = 0; i < inUse; ++i) {
        dlt_unregister_context(&gSlots[i].dlt);
    }
    if (gAppIsOurs) {
        dlt_unregister_app();
    }
    // libdlt's own exit handler, which runs next, keeps resending what it
    // buffered until the daemon took it or a timeout passed (10 s by
    // default). A daemon that is gone never takes it: exit would hang.
    dlt_set_resend_timeout_atexit(dlt_get_log_state() == 1 ? kExitFlushMs : 0);
}

// Registers the application once per process. A host that already logs to
// DLT keeps its own application id; the library's contexts join it.
bool registerApp_l()
{
    if (gAppRegistered) {
        return true;
    }
    char current[DLT_ID_SIZE + 1] = {0};
    if (dlt_get_appid(current) >= DLT_RETURN_OK && current[0] != '\0') {
        gAppIsOurs = false;
    } else if (dlt_register_app(kAppId, kAppDescription) < DLT_RETURN_OK) {
        return false;
    } else {
        gAppIsOurs = true;
    }
    gAppRegistered = true;
    // After libdlt set up its own exit handler, so that this one runs first.
    std::atexit(unregisterAtExit);
    return true;
}

ContextSlot* registerSlot(std::uint32_t key)
{
    std::lock_guard<std::mutex> lock(gRegistrationMutex);
    if (ContextSlot* slot = findSlot(key)) {
        return slot;
    }
    const int inUse = gSlotsInUse.load(std::memory_order_relaxed);
    if (inUse == kSlotCount || wasRefused(key) || !registerApp_l()) {
        return nullptr;
    }
    ContextSlot& slot = gSlots[inUse];
    char id[DLT_ID_SIZE + 1] = {0};
    std::memcpy(id, &key, DLT_ID_SIZE);
    slot.level.store(-128, std::memory_order_relaxed);
    // The key first: a level change may arrive while the context registers.
    slot.key.store(key, std::memory_order_release);
    if (dlt_register_context_llccb(&slot.dlt, id, descriptionFor(id), onLevelChanged) < DLT_RETURN_OK ||
        slot.dlt.log_level_ptr == nullptr) {
        slot.key.store(0, std::memory_order_relaxed);
        noteRefused(key);
        return nullptr;
    }
    // The level libdlt holds now, unless a change already arrived.
    int unknown = -128;
    slot.level.compare_exchange_strong(unknown, *slot.dlt.log_level_ptr);
    gSlotsInUse.store(inUse + 1, std::memory_order_release);
    return &slot;
}

} // namespace

DltUse::DltUse()
{
    gCallsInFlight.fetch_add(1);
    mOpen = !gClosing.load();
}

DltUse::~DltUse()
{
    gCallsInFlight.fetch_sub(1);
}

ContextSlot* slotFor(const DltContext* libraryContext)
{
    const std::uint32_t key = keyOf(libraryContext);
    if (ContextSlot* slot = findSlot(key)) {
        return slot;
    }
    DltUse use;
    if (!use.open()) {
        return nullptr;
    }
    return registerSlot(key);
}

void emit(ContextSlot& slot, DltLogLevelType level, const char* text)
{
    DltContextData data;
    if (dlt_user_log_write_start(&slot.dlt, &data, level) > 0) {
        dlt_user_log_write_string(&data, text);
        dlt_user_log_write_finish(&data);
    }
}

} // namespace veldlt
