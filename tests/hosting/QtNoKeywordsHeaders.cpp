// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// An HMI built with QT_NO_KEYWORDS may include everything of the library,
// the generated bus binding and GLib included, after Qt's headers.
#include <QObject>
#include <QString>

#include "vel/vel.h"

#include "HmiModel.h"

// Compiled into the Qt host tests: the check is that this unit builds.
bool velHeadersCompileWithoutQtKeywords()
{
    HmiModel model(nullptr);
    return !model.connected();
}
