// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "InterfaceMembers.h"

#include <string>

namespace policytest {

namespace {

constexpr const char* kInterface = "com.qor.vel_communicator";

GVariant* credentials()
{
    return g_variant_new_array(G_VARIANT_TYPE("(ssyuuss)"), nullptr, 0);
}

} // namespace

const std::vector<MethodTry>& everyMethod()
{
    static const std::vector<MethodTry> methods = {
        {kInterface, "registerMe", [] { return g_variant_new("(us)", 100u, "policy-probe"); }},
        // 9: is the device paired, a question without side effects.
        {kInterface, "actionFromApp", [] { return g_variant_new("(usus)", 9u, "probe-device", 28u, ""); }},
        {kInterface, "informFromApp", [] { return g_variant_new("(us)", 0u, ""); }},
        {kInterface, "informFromCore",
         [] { return g_variant_new("(uuususb)", 0u, 0u, 0u, "probe-device", 4u, "", FALSE); }},
        // 3: the head unit's Bluetooth address.
        {kInterface, "actionFromCore", [] { return g_variant_new("(uusbs)", 200u, 3u, "", FALSE, ""); }},
        {kInterface, "actionFromBt", [] { return g_variant_new("(us)", 0u, ""); }},
        {kInterface, "informMediumOpMode", [] { return g_variant_new("(uuuu)", 0u, 0u, 0u, 0u); }},
        {kInterface, "sendControlMode", [] { return g_variant_new("(uuu)", 0u, 0u, 0u); }},
        {kInterface, "sendDeviceStatus",
         [] {
             return g_variant_new("(uuuu@(uuuuuuusssu))", 0u, 0u, 0u, 0u,
                                  g_variant_new("(uuuuuuusssu)", 0u, 0u, 0u, 0u, 0u, 0u, 0u, "", "", "", 0u));
         }},
        {kInterface, "sendBTInfo", [] { return g_variant_new("(ubs)", 0u, FALSE, ""); }},
        {kInterface, "sendBTDeviceInfo", [] { return g_variant_new("(ssu)", "", "", 0u); }},
        {kInterface, "sendBTServiceInfo", [] { return g_variant_new("(suuss)", "", 0u, 0u, "", ""); }},
        {kInterface, "sendBTDeviceList",
         [] {
             return g_variant_new("(u@a(ssua(uuss)))", 0u,
                                  g_variant_new_array(G_VARIANT_TYPE("(ssua(uuss))"), nullptr, 0));
         }},
        {kInterface, "informFromBT", [] { return g_variant_new("(usuu)", 0u, "", 0u, 0u); }},
        {"org.freedesktop.DBus.Properties", "GetAll", [] { return g_variant_new("(s)", kInterface); }},
        {"org.freedesktop.DBus.Properties", "Get", [] { return g_variant_new("(ss)", kInterface, "none"); }},
        {"org.freedesktop.DBus.Introspectable", "Introspect", [] { return static_cast<GVariant*>(nullptr); }},
        {"org.freedesktop.DBus.Peer", "Ping", [] { return static_cast<GVariant*>(nullptr); }},
    };
    return methods;
}

const std::vector<SignalEmission>& everySignal()
{
    static const std::vector<SignalEmission> signals = {
        {"appRequestDone", [] { return g_variant_new("(uusu)", 0u, 0u, "probe-device", 4u); }},
        {"checkFuncOpModeDone", [] { return g_variant_new("(uu)", 0u, 0u); }},
        {"noticeToApp", [] { return g_variant_new("(usi)", 7u, "probe-device", 2); }},
        {"noticeToCore", [] { return g_variant_new("(uss)", 0u, "", ""); }},
        {"actionToCore",
         [] {
             return g_variant_new("(uusuuusssuu)", 0u, 4u, "probe-device", 0u, 0u, 0u, "", "", "02:00:00:00:00:02",
                                  0u, 0u);
         }},
        {"actionToCoreWireless", [] { return g_variant_new("(uusssuu)", 0u, 4u, "probe-device", "", "", 0u, 0u); }},
        {"checkCapability",
         [] { return g_variant_new("(suss@a(ssyuuss))", "probe-device", 4u, "", "02:00:00:00:00:02", credentials()); }},
        {"coreRequestDone", [] { return g_variant_new("(uus)", 0u, 0u, ""); }},
        {"noticeToCoreLinkLoss", [] { return g_variant_new("(s)", "192.0.2.1"); }},
        {"checkFuncOpModeToMedium", [] { return g_variant_new("(uu)", 0u, 0u); }},
        {"noticeMediaToClient",
         [] { return g_variant_new("(@a(uuussusssss))", g_variant_new_array(G_VARIANT_TYPE("(uuussusssss)"), nullptr, 0)); }},
        {"noticeMediaOneToClient",
         [] {
             return g_variant_new("(uu@(ussusssss))", 0u, 0u,
                                  g_variant_new("(ussusssss)", 0u, "", "", 0u, "", "", "", "", ""));
         }},
        {"noticeMediaSessionState", [] { return g_variant_new("(uuu)", 0u, 0u, 0u); }},
        {"noticeTechActiveInfo", [] { return g_variant_new("(@a(ub))", g_variant_new_array(G_VARIANT_TYPE("(ub)"), nullptr, 0)); }},
        {"actionToBT", [] { return g_variant_new("(usuuss)", 0u, "", 0u, 0u, "", ""); }},
        {"noticeToBT", [] { return g_variant_new("(usuus)", 0u, "", 0u, 0u, ""); }},
    };
    return signals;
}

std::string printedName(const MethodTry& method)
{
    if (std::string(method.interface) == kInterface) {
        return method.member;
    }
    return std::string(method.interface) + "." + method.member;
}

} // namespace policytest
