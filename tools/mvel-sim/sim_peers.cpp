// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// The service's other peers: the media, medium and Bluetooth stacks call
// methods that no libvel client uses. The simulator answers them (with empty
// results), so that a client that is allowed to call them sees a reply from
// the service and not an unknown method; the call line shows the arguments.

#include "SimModule.h"

namespace {

gboolean onActionFromBt(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, const gchar*,
                        gpointer)
{
    com_qor_vel_communicator_complete_action_from_bt(skeleton, invocation, "", 0u);
    return TRUE;
}

gboolean onInformMediumOpMode(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, guint,
                              guint, guint, gpointer)
{
    com_qor_vel_communicator_complete_inform_medium_op_mode(skeleton, invocation);
    return TRUE;
}

gboolean onSendDeviceStatus(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, guint, guint,
                            guint, GVariant*, gpointer)
{
    com_qor_vel_communicator_complete_send_device_status(skeleton, invocation);
    return TRUE;
}

gboolean onSendBtInfo(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, gboolean,
                      const gchar*, gpointer)
{
    com_qor_vel_communicator_complete_send_btinfo(skeleton, invocation);
    return TRUE;
}

gboolean onSendBtDeviceInfo(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, const gchar*,
                            const gchar*, guint, gpointer)
{
    com_qor_vel_communicator_complete_send_btdevice_info(skeleton, invocation);
    return TRUE;
}

gboolean onSendBtServiceInfo(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, const gchar*, guint,
                             guint, const gchar*, const gchar*, gpointer)
{
    com_qor_vel_communicator_complete_send_btservice_info(skeleton, invocation);
    return TRUE;
}

gboolean onSendBtDeviceList(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, GVariant*,
                            gpointer)
{
    com_qor_vel_communicator_complete_send_btdevice_list(skeleton, invocation);
    return TRUE;
}

gboolean onInformFromBt(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, const gchar*,
                        guint, guint, gpointer)
{
    com_qor_vel_communicator_complete_inform_from_bt(skeleton, invocation);
    return TRUE;
}

void attachPeers(sim::Context& context)
{
    g_signal_connect(context.skeleton, "handle-action-from-bt", G_CALLBACK(onActionFromBt), nullptr);
    g_signal_connect(context.skeleton, "handle-inform-medium-op-mode", G_CALLBACK(onInformMediumOpMode), nullptr);
    g_signal_connect(context.skeleton, "handle-send-device-status", G_CALLBACK(onSendDeviceStatus), nullptr);
    g_signal_connect(context.skeleton, "handle-send-btinfo", G_CALLBACK(onSendBtInfo), nullptr);
    g_signal_connect(context.skeleton, "handle-send-btdevice-info", G_CALLBACK(onSendBtDeviceInfo), nullptr);
    g_signal_connect(context.skeleton, "handle-send-btservice-info", G_CALLBACK(onSendBtServiceInfo), nullptr);
    g_signal_connect(context.skeleton, "handle-send-btdevice-list", G_CALLBACK(onSendBtDeviceList), nullptr);
    g_signal_connect(context.skeleton, "handle-inform-from-bt", G_CALLBACK(onInformFromBt), nullptr);
}

const sim::Module kPeersModule{"peers", nullptr, attachPeers, nullptr, nullptr};
const sim::Registrar kPeersRegistrar(kPeersModule);

} // namespace
