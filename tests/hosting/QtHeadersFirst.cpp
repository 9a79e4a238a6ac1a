// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// An HMI includes Qt's headers first, with Qt's keywords (`signals`, `slots`,
// `emit`) defined, and then the library's facades: this unit must compile.
#include <QCoreApplication>
#include <QObject>
#include <QString>

#include "vel/VelCallBackApp.h"
#include "vel/VelCallBackCoreEngine.h"
#include "vel/VelComProxyApp.h"
#include "vel/VelComProxyController.h"
#include "vel/VelComProxyCoreEngine.h"
#include "vel/VelLibShm.h"
#include "vel/VelLibUtil.h"
#include "vel/VelSharedMemory.h"
#include "vel/VelTimer.h"
#include "vel/VelTypes.h"

#include "HmiModel.h"

// Compiled into the Qt host tests: the check is that this unit builds.
bool velHeadersCompileAfterQtHeaders()
{
    HmiModel model(nullptr);
    return !model.connected();
}
