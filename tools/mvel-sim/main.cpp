// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// mvel-sim: a stand-in for the MVEL connection-manager service, for developing
// and testing clients of libvel without the car. It owns
// "com.qor.vel_communicator" on the system bus named by
// DBUS_SYSTEM_BUS_ADDRESS, exports the service object on the generated skeleton
// and prints one line per call it receives.

#include <glib-unix.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "SimModule.h"
#include "vel/VelDlt.h"

namespace {

struct Options {
    gint appearDelayMs = 0;
    gint exitAfterMs = 0;
    gint refuseRegister = 0;
    gchar* registerReply = nullptr;
    gchar* log = nullptr;
};

Options gOptions;
// registerMe calls deliberately left without a reply.
std::vector<GDBusMethodInvocation*> gUnansweredCalls;
sim::Context gContext;
guint gOwnerId = 0;

const char* const kControlXml = R"XML(
<interface name="com.qor.vel_sim.Control">
  <!-- Emits any signal of com.qor.vel_communicator; params must be a tuple of any type. -->
  <method name="Emit">
    <arg name="signal" type="s" direction="in"/>
    <arg name="params" type="v" direction="in"/>
  </method>
  <!-- The next `count` registerMe calls are answered false. -->
  <method name="SetRegisterRefusals">
    <arg name="count" type="u" direction="in"/>
  </method>
  <!-- "true", "false" or "wrong-type" (a "(s)" reply). -->
  <method name="SetRegisterReply">
    <arg name="mode" type="s" direction="in"/>
  </method>
  <method name="Quit"/>
</interface>
)XML";

// Runs on GDBus's worker thread for every incoming message, in the order the
// bus delivered them, so the "call" lines keep bus order.
GDBusMessage* printServiceCalls(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer)
{
    if (incoming && g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_METHOD_CALL &&
        g_strcmp0(g_dbus_message_get_interface(message), sim::kServiceName) == 0) {
        GVariant* body = g_dbus_message_get_body(message);
        gchar* printed = body != nullptr ? g_variant_print(body, TRUE) : g_strdup("()");
        sim::logLine("call %s %s", g_dbus_message_get_member(message), printed);
        g_free(printed);
    }
    return message;
}

// A reply that does not match the interface cannot go through the skeleton,
// which checks reply types; it is sent as a raw message instead.
void replyWithWrongType(GDBusMethodInvocation* invocation)
{
    GDBusMessage* reply = g_dbus_message_new_method_reply(g_dbus_method_invocation_get_message(invocation));
    g_dbus_message_set_body(reply, g_variant_new("(s)", "not-a-boolean"));
    g_dbus_connection_send_message(g_dbus_method_invocation_get_connection(invocation), reply,
                                   G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
    g_object_unref(reply);
    g_object_unref(invocation);
}

gboolean onRegisterMe(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint type,
                      const gchar* name, gpointer)
{
    const std::string mode = gOptions.registerReply ? gOptions.registerReply : "true";
    if (mode == "wrong-type") {
        sim::logLine("registerMe type=%u name=%s answered with a wrong reply type", type, name);
        replyWithWrongType(invocation);
        return TRUE;
    }
    if (mode == "error") {
        sim::logLine("registerMe type=%u name=%s answered with an error", type, name);
        g_dbus_method_invocation_return_dbus_error(invocation, "com.qor.vel_sim.Error.Refused",
                                                   "mvel-sim refuses the registration");
        return TRUE;
    }
    if (mode == "silent") {
        // Never answered: the caller's own timeout ends the call. The
        // invocation is kept until exit so that no reply goes out by accident.
        sim::logLine("registerMe type=%u name=%s left unanswered", type, name);
        gUnansweredCalls.push_back(invocation);
        return TRUE;
    }
    bool accepted = mode != "false";
    if (accepted && gOptions.refuseRegister > 0) {
        --gOptions.refuseRegister;
        accepted = false;
    }
    sim::logLine("registerMe type=%u name=%s result=%s", type, name, accepted ? "true" : "false");
    com_qor_vel_communicator_complete_register_me(skeleton, invocation, accepted);
    if (accepted) {
        for (const sim::Module* module : sim::modules()) {
            if (module->registered != nullptr) {
                module->registered(gContext, type, name);
            }
        }
    }
    return TRUE;
}

void onControlCall(GDBusConnection* connection, const gchar*, const gchar*, const gchar*, const gchar* method,
                   GVariant* parameters, GDBusMethodInvocation* invocation, gpointer)
{
    if (g_strcmp0(method, "Emit") == 0) {
        const gchar* signal = nullptr;
        GVariant* params = nullptr;
        g_variant_get(parameters, "(&sv)", &signal, &params);
        if (!g_variant_is_of_type(params, G_VARIANT_TYPE_TUPLE)) {
            g_variant_unref(params);
            g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS,
                                                  "signal parameters must be a tuple");
            return;
        }
        gchar* printed = g_variant_print(params, TRUE);
        sim::logLine("emit %s %s", signal, printed);
        g_free(printed);
        GError* error = nullptr;
        g_dbus_connection_emit_signal(connection, nullptr, sim::kServicePath, sim::kServiceName, signal, params,
                                      &error);
        if (error != nullptr) {
            g_dbus_method_invocation_return_gerror(invocation, error);
            g_error_free(error);
            return;
        }
    } else if (g_strcmp0(method, "SetRegisterRefusals") == 0) {
        guint count = 0;
        g_variant_get(parameters, "(u)", &count);
        gOptions.refuseRegister = static_cast<gint>(count);
    } else if (g_strcmp0(method, "SetRegisterReply") == 0) {
        const gchar* mode = nullptr;
        g_variant_get(parameters, "(&s)", &mode);
        g_free(gOptions.registerReply);
        gOptions.registerReply = g_strdup(mode);
    } else if (g_strcmp0(method, "Quit") == 0) {
        g_main_loop_quit(gContext.loop);
    }
    g_dbus_method_invocation_return_value(invocation, nullptr);
}

void onNameAcquired(GDBusConnection*, const gchar* name, gpointer)
{
    sim::logLine("owns %s", name);
}

void onNameLost(GDBusConnection*, const gchar* name, gpointer)
{
    sim::logLine("lost %s", name);
    g_main_loop_quit(gContext.loop);
}

gboolean ownServiceName(gpointer)
{
    gOwnerId = g_bus_own_name_on_connection(gContext.connection, sim::kServiceName, G_BUS_NAME_OWNER_FLAGS_NONE,
                                            onNameAcquired, onNameLost, nullptr, nullptr);
    return G_SOURCE_REMOVE;
}

gboolean quitLoop(gpointer)
{
    g_main_loop_quit(gContext.loop);
    return G_SOURCE_REMOVE;
}

void onConnectionClosed(GDBusConnection*, gboolean, GError*, gpointer)
{
    sim::logLine("bus connection closed");
    g_main_loop_quit(gContext.loop);
}

bool parseOptions(int& argc, char**& argv)
{
    const GOptionEntry entries[] = {
        {"appear-delay", 0, 0, G_OPTION_ARG_INT, &gOptions.appearDelayMs,
         "Take the bus name only after MS milliseconds", "MS"},
        {"exit-after", 0, 0, G_OPTION_ARG_INT, &gOptions.exitAfterMs, "Exit by itself after MS milliseconds", "MS"},
        {"refuse-register", 0, 0, G_OPTION_ARG_INT, &gOptions.refuseRegister,
         "Answer the first N registerMe calls with false", "N"},
        {"register-reply", 0, 0, G_OPTION_ARG_STRING, &gOptions.registerReply,
         "Answer registerMe with true (default), false, wrong-type, error (a D-Bus error reply) or silent (no "
         "reply at all)",
         "MODE"},
        {"log", 0, 0, G_OPTION_ARG_STRING, &gOptions.log,
         "Where libvel's log lines go: stderr (default) or dlt (application VELL)", "WHERE"},
        {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};

    GOptionContext* context = g_option_context_new("- simulate the MVEL service for libvel clients");
    g_option_context_set_summary(context,
                                 "Owns com.qor.vel_communicator on the system bus named by DBUS_SYSTEM_BUS_ADDRESS "
                                 "and prints one line per call it receives.\nControl interface "
                                 "com.qor.vel_sim.Control at /com/qor/vel_sim: Emit(s signal, v params), "
                                 "SetRegisterRefusals(u), SetRegisterReply(s), Quit().");
    g_option_context_add_main_entries(context, entries, nullptr);
    for (const sim::Module* module : sim::modules()) {
        if (module->options != nullptr) {
            g_option_context_add_group(context, module->options());
        }
    }
    GError* error = nullptr;
    const bool parsed = g_option_context_parse(context, &argc, &argv, &error);
    if (!parsed) {
        g_printerr("mvel-sim: %s\n", error->message);
        g_error_free(error);
    }
    g_option_context_free(context);
    if (parsed && gOptions.log != nullptr && g_strcmp0(gOptions.log, "stderr") != 0 &&
        g_strcmp0(gOptions.log, "dlt") != 0) {
        g_printerr("mvel-sim: invalid --log '%s' (stderr or dlt)\n", gOptions.log);
        return false;
    }
    return parsed;
}

} // namespace

int main(int argc, char** argv)
{
    // libvel's lines go to its stderr sink unless --log=dlt asks for DLT.
    veldlt::setActive(false);
    if (!parseOptions(argc, argv)) {
        return 2;
    }
    veldlt::setActive(g_strcmp0(gOptions.log, "dlt") == 0);

    GError* error = nullptr;
    gContext.loop = g_main_loop_new(nullptr, FALSE);
    gContext.connection = g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error);
    if (gContext.connection == nullptr) {
        g_printerr("mvel-sim: no system bus: %s\n", error->message);
        g_error_free(error);
        return 1;
    }
    g_dbus_connection_set_exit_on_close(gContext.connection, FALSE);
    g_signal_connect(gContext.connection, "closed", G_CALLBACK(onConnectionClosed), nullptr);
    g_dbus_connection_add_filter(gContext.connection, printServiceCalls, nullptr, nullptr);

    gContext.skeleton = com_qor_vel_communicator_skeleton_new();
    g_signal_connect(gContext.skeleton, "handle-register-me", G_CALLBACK(onRegisterMe), nullptr);
    for (const sim::Module* module : sim::modules()) {
        if (module->attach != nullptr) {
            module->attach(gContext);
        }
    }
    if (!g_dbus_interface_skeleton_export(G_DBUS_INTERFACE_SKELETON(gContext.skeleton), gContext.connection,
                                          sim::kServicePath, &error)) {
        g_printerr("mvel-sim: cannot export %s: %s\n", sim::kServicePath, error->message);
        g_error_free(error);
        return 1;
    }
    sim::exportControlInterface(gContext, kControlXml, onControlCall, nullptr);
    for (const sim::Module* module : sim::modules()) {
        if (module->exportControl != nullptr) {
            module->exportControl(gContext);
        }
    }

    g_unix_signal_add(SIGTERM, quitLoop, nullptr);
    g_unix_signal_add(SIGINT, quitLoop, nullptr);
    if (gOptions.exitAfterMs > 0) {
        g_timeout_add(static_cast<guint>(gOptions.exitAfterMs), quitLoop, nullptr);
    }
    if (gOptions.appearDelayMs > 0) {
        sim::logLine("waiting %d ms before taking %s", gOptions.appearDelayMs, sim::kServiceName);
        g_timeout_add(static_cast<guint>(gOptions.appearDelayMs), ownServiceName, nullptr);
    } else {
        ownServiceName(nullptr);
    }

    sim::logLine("mvel-sim running on %s", g_getenv("DBUS_SYSTEM_BUS_ADDRESS") ? g_getenv("DBUS_SYSTEM_BUS_ADDRESS")
                                                                                : "the system bus");
    g_main_loop_run(gContext.loop);

    for (const sim::Module* module : sim::modules()) {
        if (module->shutdown != nullptr) {
            module->shutdown(gContext);
        }
    }
    if (gOwnerId != 0) {
        g_bus_unown_name(gOwnerId);
    }
    for (GDBusMethodInvocation* invocation : gUnansweredCalls) {
        g_object_unref(invocation);
    }
    gUnansweredCalls.clear();
    g_dbus_interface_skeleton_unexport(G_DBUS_INTERFACE_SKELETON(gContext.skeleton));
    g_object_unref(gContext.skeleton);
    g_object_unref(gContext.connection);
    g_main_loop_unref(gContext.loop);
    g_free(gOptions.registerReply);
    g_free(gOptions.log);
    sim::logLine("mvel-sim stopped");
    return 0;
}
