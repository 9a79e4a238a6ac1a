// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#pragma once

// What an HMI's model does with the library: a QObject holding a facade. The
// header-order checks include it after the library's headers.
class HmiModel : public QObject {
public:
    explicit HmiModel(VelComProxyApp* facade) : mFacade(facade) {}
    bool connected() const { return mFacade != nullptr && mFacade->checkProxyAvailable(); }

private:
    VelComProxyApp* mFacade;
};
