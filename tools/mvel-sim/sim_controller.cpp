// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// Controller side of the simulator: takes control-mode changes.

#include "SimModule.h"

namespace {

gboolean onSendControlMode(ComQorVel_communicator* skeleton, GDBusMethodInvocation* invocation, guint, guint, guint,
                           gpointer)
{
    // The call line already shows mode, technology and item.
    com_qor_vel_communicator_complete_send_control_mode(skeleton, invocation);
    return TRUE;
}

void attachController(sim::Context& context)
{
    g_signal_connect(context.skeleton, "handle-send-control-mode", G_CALLBACK(onSendControlMode), nullptr);
}

const sim::Module kControllerModule{"controller", nullptr, attachController, nullptr, nullptr};
const sim::Registrar kControllerRegistrar(kControllerModule);

} // namespace
