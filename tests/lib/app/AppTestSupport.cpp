// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "AppTestSupport.h"

#include <cstring>
#include <fstream>

namespace apptest {

namespace {

constexpr std::chrono::seconds kWait(10);

std::string processName()
{
    std::ifstream comm("/proc/self/comm");
    std::string name;
    std::getline(comm, name);
    return name;
}

} // namespace

std::string adjustedName(const std::string& clientName)
{
    const std::string process = processName();
    if (!process.empty() && clientName.find(process) == std::string::npos) {
        return "[" + process + "." + clientName + "]";
    }
    return "[" + clientName + "]";
}

std::string appLine(const std::string& function, const std::string& text, const std::string& clientName)
{
    return "[VELLIBAPP]" + adjustedName(clientName) + "[" + function + "] " + text;
}

std::string callBackLine(const std::string& text)
{
    return "[CBAPP] " + text;
}

RecordingCallBack& recorder(int index)
{
    static RecordingCallBack first("first");
    static RecordingCallBack second("second");
    static RecordingCallBack third("third");
    switch (index) {
    case 0:
        return first;
    case 1:
        return second;
    default:
        return third;
    }
}

VelCallBackApp& silentCallBack()
{
    static VelCallBackApp silent;
    return silent;
}

void waitForMainLoopThread()
{
    EXPECT_TRUE(veltest::LogCapture::waitFor("] run Thread", kWait));
}

std::vector<std::string> textsWith(const std::string& fragment)
{
    std::vector<std::string> texts;
    for (const veltest::LogLine& line : veltest::LogCapture::matching(fragment)) {
        texts.push_back(line.text);
    }
    return texts;
}

std::string idOf(const DEVICE& device)
{
    return std::string(device.deviceId, strnlen(device.deviceId, sizeof(device.deviceId)));
}

std::vector<std::string> idsOf(const std::vector<DEVICE>& devices)
{
    std::vector<std::string> ids;
    for (const DEVICE& device : devices) {
        ids.push_back(idOf(device));
    }
    return ids;
}

void AppClientTest::TearDown()
{
    if (mSim.process().running()) {
        mSim.stop();
        // The library must have taken the loss in before the bus goes and the
        // process starts to exit.
        if (mApp != nullptr) {
            veltest::LogCapture::waitFor("D-Bus service name is vanished.", kWait);
        }
    }
    if (HasFailure()) {
        veltest::LogCapture::dump();
        std::fprintf(stderr, "--- simulator log ---\n%s\n", mSim.log().c_str());
    }
}

void AppClientTest::startService(const std::vector<std::string>& options)
{
    ASSERT_TRUE(mBus.start());
    ASSERT_TRUE(mSim.start(options));
}

void AppClientTest::startAndConnect(std::initializer_list<VelCallBackApp*> callbacks)
{
    startService();
    if (::testing::Test::HasFatalFailure()) {
        return;
    }
    connectApp(callbacks);
}

VelComProxyApp* AppClientTest::connectApp(std::initializer_list<VelCallBackApp*> callbacks, CLIENT_TYPE_e clientType)
{
    for (VelCallBackApp* callback : callbacks) {
        mApp = VelComProxyApp::getInstance(clientType, kClientName, callback);
    }
    EXPECT_NE(mApp, nullptr);
    if (mApp == nullptr) {
        return nullptr;
    }
    EXPECT_TRUE(mApp->doInitialize());
    const std::string registration = "call registerMe (uint32 " + std::to_string(clientType) + ",";
    EXPECT_TRUE(simLogged(registration)) << "the service never saw the registration";
    return mApp;
}

void AppClientTest::control(const char* method, GVariant* parameters)
{
    GVariant* reply = mSim.control("com.qor.vel_sim.App", method, parameters);
    ASSERT_NE(reply, nullptr) << method;
    g_variant_unref(reply);
}

void AppClientTest::setCompletion(unsigned result, unsigned delayMs)
{
    control("SetCompletion", g_variant_new("(uu)", result, delayMs));
}

void AppClientTest::setPaired(const std::vector<std::string>& deviceIds)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("as"));
    for (const std::string& id : deviceIds) {
        g_variant_builder_add(&builder, "s", id.c_str());
    }
    control("SetPaired", g_variant_new("(as)", &builder));
}

void AppClientTest::setMaxPaired(bool reached)
{
    control("SetMaxPaired", g_variant_new("(b)", reached));
}

std::vector<DEVICE> AppClientTest::publishDevices(DEVICE_LIST_TYPE listType, const std::vector<std::string>& deviceIds,
                                                  bool notify)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("as"));
    for (const std::string& id : deviceIds) {
        g_variant_builder_add(&builder, "s", id.c_str());
    }
    std::vector<DEVICE> records;
    GVariant* reply = mSim.control("com.qor.vel_sim.App", "PublishDevices",
                                   g_variant_new("(uasb)", static_cast<unsigned>(listType), &builder, notify));
    EXPECT_NE(reply, nullptr) << "PublishDevices";
    if (reply == nullptr) {
        return records;
    }
    GVariant* list = g_variant_get_child_value(reply, 0);
    for (gsize i = 0; i < g_variant_n_children(list); ++i) {
        GVariant* bytes = g_variant_get_child_value(list, i);
        gsize length = 0;
        const void* data = g_variant_get_fixed_array(bytes, &length, 1);
        EXPECT_EQ(length, sizeof(DEVICE));
        DEVICE record;
        std::memset(&record, 0, sizeof(record));
        std::memcpy(&record, data, std::min<gsize>(length, sizeof(record)));
        records.push_back(record);
        g_variant_unref(bytes);
    }
    g_variant_unref(list);
    g_variant_unref(reply);
    return records;
}

void AppClientTest::notice(unsigned notice, const std::string& info1, int info2)
{
    control("Notice", g_variant_new("(usi)", notice, info1.c_str(), info2));
}

void AppClientTest::requestDone(unsigned appRequest, unsigned result, const std::string& deviceId,
                                unsigned technology)
{
    control("RequestDone", g_variant_new("(uusu)", appRequest, result, deviceId.c_str(), technology));
}

void AppClientTest::funcOpModeDone(unsigned function, unsigned result)
{
    control("FuncOpModeDone", g_variant_new("(uu)", function, result));
}

void AppClientTest::techActiveInfo(const std::vector<TECH_ACTIVE_INFO_s>& infos)
{
    GVariantBuilder builder;
    g_variant_builder_init(&builder, G_VARIANT_TYPE("a(ub)"));
    for (const TECH_ACTIVE_INFO_s& info : infos) {
        g_variant_builder_add(&builder, "(ub)", static_cast<unsigned>(info.technology), info.active);
    }
    control("TechActiveInfo", g_variant_new("(a(ub))", &builder));
}

void AppClientTest::emitRaw(const std::string& signal, GVariant* parameters)
{
    ASSERT_TRUE(mSim.emitSignal(signal, parameters)) << signal;
}

bool AppClientTest::simLogged(const std::string& fragment, std::size_t times)
{
    return mSim.waitForLog(fragment, kWait, times);
}

} // namespace apptest
