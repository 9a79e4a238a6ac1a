// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "vel/mvel_interface.h"

namespace {

struct ArgSpec {
    const char* name;
    const char* signature;
};

struct MemberSpec {
    const char* name;
    std::vector<ArgSpec> in;
    std::vector<ArgSpec> out;
};

const std::vector<MemberSpec> kMethods{
    {"registerMe", {{"type", "u"}, {"name", "s"}}, {{"result", "b"}}},
    {"actionFromApp", {{"action", "u"}, {"deviceId", "s"}, {"technology", "u"}, {"deviceIdToReplace", "s"}}, {{"result", "b"}}},
    {"informFromApp", {{"appInfo", "u"}, {"param", "s"}}, {}},
    {"informFromCore",
     {{"coreInfo", "u"}, {"request", "u"}, {"result", "u"}, {"deviceId", "s"}, {"technology", "u"}, {"strInfo", "s"}, {"boolInfo", "b"}},
     {}},
    {"actionFromCore",
     {{"clientType", "u"}, {"request", "u"}, {"coreInfo", "s"}, {"boolInfo", "b"}, {"strInfo", "s"}},
     {{"strResult", "s"}, {"wifiCredentialsList", "a(ssyuuss)"}}},
    {"actionFromBt", {{"requestType", "u"}, {"requestData", "s"}}, {{"strResult", "s"}, {"intResult", "u"}}},
    {"informMediumOpMode", {{"medium", "u"}, {"item", "u"}, {"mode", "u"}, {"wifiType", "u"}}, {}},
    {"sendControlMode", {{"mode", "u"}, {"technology", "u"}, {"item", "u"}}, {}},
    {"sendDeviceStatus",
     {{"technology", "u"}, {"mediumStatus", "u"}, {"sessionStatus", "u"}, {"result", "u"}, {"usbInfo", "(uuuuuuusssu)"}},
     {}},
    {"sendBTInfo", {{"btInfoType", "u"}, {"isOn", "b"}, {"additionalInfo", "s"}}, {}},
    {"sendBTDeviceInfo", {{"macAddress", "s"}, {"aliasName", "s"}, {"connectionStatus", "u"}}, {}},
    {"sendBTServiceInfo",
     {{"macAddress", "s"}, {"serviceType", "u"}, {"connectionStatus", "u"}, {"uuid", "s"}, {"interfaceName", "s"}},
     {}},
    {"sendBTDeviceList", {{"deviceListType", "u"}, {"btDeviceList", "a(ssua(uuss))"}}, {}},
    {"informFromBT", {{"responseType", "u"}, {"macAddress", "s"}, {"resultType", "u"}, {"serviceType", "u"}}, {}},
};

const std::vector<MemberSpec> kSignals{
    {"appRequestDone", {{"appRequest", "u"}, {"result", "u"}, {"deviceId", "s"}, {"technology", "u"}}, {}},
    {"checkFuncOpModeDone", {{"function", "u"}, {"result", "u"}}, {}},
    {"noticeToApp", {{"notice", "u"}, {"info1", "s"}, {"info2", "i"}}, {}},
    {"noticeToCore", {{"noticeType", "u"}, {"noticeInfo1", "s"}, {"noticeInfo2", "s"}}, {}},
    {"actionToCore",
     {{"action", "u"}, {"technology", "u"}, {"deviceId", "s"}, {"vendorId", "u"}, {"productId", "u"}, {"portNum", "u"},
      {"serial", "s"}, {"devpath", "s"}, {"macAddress", "s"}, {"cond", "u"}, {"reason", "u"}},
     {}},
    {"actionToCoreWireless",
     {{"action", "u"}, {"technology", "u"}, {"deviceId", "s"}, {"deviceSppNodePath", "s"}, {"information", "s"},
      {"cond", "u"}, {"reason", "u"}},
     {}},
    {"checkCapability",
     {{"deviceId", "s"}, {"technology", "u"}, {"deviceSppNodepath", "s"}, {"macBT", "s"}, {"wifiCredentialsList", "a(ssyuuss)"}},
     {}},
    {"coreRequestDone", {{"coreRequest", "u"}, {"result", "u"}, {"coreInfo", "s"}}, {}},
    {"noticeToCoreLinkLoss", {{"ip", "s"}}, {}},
    {"checkFuncOpModeToMedium", {{"medium", "u"}, {"item", "u"}}, {}},
    {"noticeMediaToClient", {{"MediaDeviceList", "a(uuussusssss)"}}, {}},
    {"noticeMediaOneToClient", {{"technology", "u"}, {"status", "u"}, {"data", "(ussusssss)"}}, {}},
    {"noticeMediaSessionState", {{"technology", "u"}, {"portNum", "u"}, {"connectState", "u"}}, {}},
    {"noticeTechActiveInfo", {{"techActiveInfo", "a(ub)"}}, {}},
    {"actionToBT",
     {{"action", "u"}, {"macAddress", "s"}, {"infoType", "u"}, {"serviceType", "u"}, {"uuid", "s"}, {"actionInfo", "s"}},
     {}},
    {"noticeToBT",
     {{"noticeInfoType", "u"}, {"macAddress", "s"}, {"technology", "u"}, {"connectionStatus", "u"}, {"additionalInfo", "s"}},
     {}},
};

void expectArgs(GDBusArgInfo** actual, const std::vector<ArgSpec>& expected)
{
    std::size_t count = 0;
    for (; actual != nullptr && actual[count] != nullptr; ++count) {
        ASSERT_LT(count, expected.size());
        EXPECT_STREQ(actual[count]->name, expected[count].name);
        EXPECT_STREQ(actual[count]->signature, expected[count].signature);
        EXPECT_EQ(actual[count]->annotations, nullptr);
    }
    EXPECT_EQ(count, expected.size());
}

} // namespace

TEST(TheGeneratedInterfaceInfo, DescribesComQorVelCommunicatorWithoutPropertiesOrAnnotations)
{
    GDBusInterfaceInfo* info = com_qor_vel_communicator_interface_info();

    EXPECT_STREQ(info->name, "com.qor.vel_communicator");
    EXPECT_TRUE(info->properties == nullptr || info->properties[0] == nullptr);
    EXPECT_EQ(info->annotations, nullptr);
}

TEST(TheGeneratedInterfaceInfo, ListsTheFourteenMethodsInDeclarationOrderWithTheirArguments)
{
    GDBusMethodInfo** methods = com_qor_vel_communicator_interface_info()->methods;
    std::size_t count = 0;
    for (; methods[count] != nullptr; ++count) {
        ASSERT_LT(count, kMethods.size());
        SCOPED_TRACE(kMethods[count].name);
        EXPECT_STREQ(methods[count]->name, kMethods[count].name);
        expectArgs(methods[count]->in_args, kMethods[count].in);
        expectArgs(methods[count]->out_args, kMethods[count].out);
        EXPECT_EQ(methods[count]->annotations, nullptr);
    }
    EXPECT_EQ(count, 14u);
}

TEST(TheGeneratedInterfaceInfo, ListsTheSixteenSignalsInDeclarationOrderWithTheirArguments)
{
    GDBusSignalInfo** signals = com_qor_vel_communicator_interface_info()->signals;
    std::size_t count = 0;
    for (; signals[count] != nullptr; ++count) {
        ASSERT_LT(count, kSignals.size());
        SCOPED_TRACE(kSignals[count].name);
        EXPECT_STREQ(signals[count]->name, kSignals[count].name);
        expectArgs(signals[count]->args, kSignals[count].in);
    }
    EXPECT_EQ(count, 16u);
}

TEST(TheGeneratedInterfaceInfo, KeepsBothSpellingsOfTheSppNodePathAndTheCapitalisedMediaDeviceList)
{
    GDBusInterfaceInfo* info = com_qor_vel_communicator_interface_info();

    GDBusSignalInfo* wireless = g_dbus_interface_info_lookup_signal(info, "actionToCoreWireless");
    GDBusSignalInfo* capability = g_dbus_interface_info_lookup_signal(info, "checkCapability");
    GDBusSignalInfo* media = g_dbus_interface_info_lookup_signal(info, "noticeMediaToClient");
    ASSERT_NE(wireless, nullptr);
    ASSERT_NE(capability, nullptr);
    ASSERT_NE(media, nullptr);
    EXPECT_STREQ(wireless->args[3]->name, "deviceSppNodePath");
    EXPECT_STREQ(capability->args[2]->name, "deviceSppNodepath");
    EXPECT_STREQ(media->args[0]->name, "MediaDeviceList");
}

TEST(TheGeneratedBinding, RegistersItsTypesUnderTheirGTypeNames)
{
    EXPECT_STREQ(g_type_name(com_qor_vel_communicator_get_type()), "ComQorVel_communicator");
    EXPECT_STREQ(g_type_name(com_qor_vel_communicator_proxy_get_type()), "ComQorVel_communicatorProxy");
    EXPECT_STREQ(g_type_name(com_qor_vel_communicator_skeleton_get_type()), "ComQorVel_communicatorSkeleton");
    EXPECT_TRUE(g_type_is_a(com_qor_vel_communicator_proxy_get_type(), G_TYPE_DBUS_PROXY));
    EXPECT_TRUE(g_type_is_a(com_qor_vel_communicator_skeleton_get_type(), G_TYPE_DBUS_INTERFACE_SKELETON));
    EXPECT_TRUE(g_type_is_a(com_qor_vel_communicator_proxy_get_type(), com_qor_vel_communicator_get_type()));
    EXPECT_TRUE(g_type_is_a(com_qor_vel_communicator_skeleton_get_type(), com_qor_vel_communicator_get_type()));
}

TEST(TheGeneratedBinding, HasAHandlerSignalForEveryMethodAndAGObjectSignalForEverySignal)
{
    const GType iface = com_qor_vel_communicator_get_type();
    const std::vector<std::string> handlers{
        "handle-register-me",         "handle-action-from-app",      "handle-inform-from-app",
        "handle-inform-from-core",    "handle-action-from-core",     "handle-action-from-bt",
        "handle-inform-medium-op-mode", "handle-send-control-mode",  "handle-send-device-status",
        "handle-send-btinfo",         "handle-send-btdevice-info",   "handle-send-btservice-info",
        "handle-send-btdevice-list",  "handle-inform-from-bt"};
    const std::vector<std::string> signals{
        "app-request-done",         "check-func-op-mode-done",     "notice-to-app",
        "notice-to-core",           "action-to-core",              "action-to-core-wireless",
        "check-capability",         "core-request-done",           "notice-to-core-link-loss",
        "check-func-op-mode-to-medium", "notice-media-to-client",  "notice-media-one-to-client",
        "notice-media-session-state", "notice-tech-active-info",   "action-to-bt",
        "notice-to-bt"};
    gpointer klass = g_type_default_interface_ref(iface);
    for (const auto& name : handlers) {
        EXPECT_NE(g_signal_lookup(name.c_str(), iface), 0u) << name;
    }
    for (const auto& name : signals) {
        EXPECT_NE(g_signal_lookup(name.c_str(), iface), 0u) << name;
    }
    EXPECT_EQ(handlers.size(), 14u);
    EXPECT_EQ(signals.size(), 16u);
    g_type_default_interface_unref(klass);
}
