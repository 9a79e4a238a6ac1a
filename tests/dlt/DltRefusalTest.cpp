// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

// libvel-dlt when DLT refuses a context: the refusal is injected at
// dlt_register_context_llccb (FaultInjection.h); no daemon is needed.
#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "LogCapture.h"
#include "vel/OrnaLogWrapper.h"

using veltest::FaultyCall;
using veltest::LogCapture;

namespace {

DltContext gRefusedContext;
DltContext gAcceptedContext;

} // namespace

TEST(ADltHostWhoseContextIsRefused, DropsThatContextsLinesWithoutAskingAgainAndKeepsTheOthers)
{
    orna::OrnaLogWrapper* wrapper = orna::OrnaLogWrapper::instance(true);
    wrapper->registerContext(gRefusedContext, "TSTR", "refused by DLT");
    wrapper->registerContext(gAcceptedContext, "TSTA", "accepted by DLT");
    LogCapture::clear();

    veltest::failNextCalls(FaultyCall::DltRegisterContext, 0, 1);
    orna::log(&gRefusedContext, DLT_LOG_ERROR, "first line of the refused context");
    EXPECT_EQ(veltest::injectedFailures(FaultyCall::DltRegisterContext), 1u);
    // Were the context asked for again, DLT would take it now.
    orna::log(&gRefusedContext, DLT_LOG_ERROR, "second line of the refused context");
    orna::log(&gAcceptedContext, DLT_LOG_ERROR, "line of the accepted context");
    veltest::clearFaults();

    EXPECT_EQ(LogCapture::count("of the refused context"), 0u);
    EXPECT_EQ(LogCapture::count("line of the accepted context", veltest::kSeverityError), 1u);
    EXPECT_EQ(veltest::injectedFailures(FaultyCall::DltRegisterContext), 1u);
}
