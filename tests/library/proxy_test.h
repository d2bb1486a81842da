// What the tests of the library stand on.

#ifndef TESTS_LIBRARY_PROXY_TEST_H
#define TESTS_LIBRARY_PROXY_TEST_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/scripted_bus/platform_doubles.h"
#include "tests/scripted_bus/scripted_bus.h"
#include "tests/scripted_bus/timeline.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

using scripted::Background;
using scripted::Bytes;
using scripted::bytesOf;
using scripted::debugLine;
using scripted::errorLine;
using scripted::EventArguments;
using scripted::Gate;
using scripted::pointer;
using scripted::Reply;
using Strings = std::vector<std::string>;

// Not the default, because the library writes it to standard output.
constexpr char kDataPath[] = "/data/of/the/test";

constexpr unsigned int kFailed = 0xFFFFFFFF;

// The doubles, back at their start: bus and service are there, there is no data path, and nothing
// has happened yet.
class BusTest : public testing::Test {
 protected:
  BusTest() {
    bus.reset();
    timeline.reset();
    log.clear();
    scripted::setDataPath("");
  }
  ~BusTest() override {
    bus.reset();
    timeline.reset();
  }

  // Forgets what has happened so far, not what is scripted.
  void forget() {
    timeline.clear();
    bus.clear();
    log.clear();
  }

  scripted::ScriptedBus& bus = scripted::ScriptedBus::the();
  scripted::Timeline& timeline = scripted::Timeline::the();
  scripted::RecordedLog& log = scripted::RecordedLog::the();
};

// Most tests use an object of their own, because the process-wide instance is never destroyed. That
// one exists beside it and is connected, so that the getInstance() of each operation does nothing
// that can be seen; disconnect(*instance) makes it visible, as a new connection.
template <typename Proxy>
class ProxyTestOf : public BusTest {
 protected:
  ProxyTestOf() : instance(qx::VelProxy::getInstance()), proxy(std::make_unique<Proxy>()) {
    proxy->Init();
    forget();
  }
  ~ProxyTestOf() override {
    bus.waitForDeaths();
    timeline.reset();
    proxy.reset();
    instance->ReleaseService();
  }

  // The service stays, but this object lets go of it.
  void disconnect(qx::VelProxy& which) {
    which.ReleaseService();
    forget();
  }

  qx::VelProxy* const instance;
  std::unique_ptr<Proxy> proxy;
};

using ProxyTest = ProxyTestOf<qx::VelProxy>;

// Connecting again, as the timeline shows it first.
constexpr char kReconnects[] = "GetAppDataPath()";

#endif  // TESTS_LIBRARY_PROXY_TEST_H
