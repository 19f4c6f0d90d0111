#pragma once

#include "engine/smc_driver_actor.h"
#include "engine_test_support.h"
#include "fake_helper_daemon.h"
#include "fake_helper_service_manager.h"
#include "fakes/counting_transport.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace halvoren {

// The driver's world on a manual clock: an in-test helper daemon, a scripted service manager and
// a scripted controller, with every log line captured.
class HelperLinkTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
    LogCapture logs;
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeHelperDaemon daemon{timers};
    FakeHelperServiceManager services;
    FakeBridge fake = makeFakeBridge();
};

} // namespace halvoren
