// Fixtures of the library's tests.

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

// Not the default: the library writes the path to standard output.
constexpr char kDataPath[] = "/data/of/the/test";

constexpr unsigned int kFailed = 0xFFFFFFFF;

// The doubles in their first state: bus and service are there, there is no data path, nothing is
// recorded.
class ScriptedBusTest : public testing::Test {
 protected:
  ScriptedBusTest() {
    bus.reset();
    timeline.reset();
    log.clear();
    scripted::setDataPath("");
  }
  ~ScriptedBusTest() override {
    bus.reset();
    timeline.reset();
  }

  // Clears the records and keeps the script.
  void forget() {
    timeline.clear();
    bus.clear();
    log.clear();
  }

  scripted::ScriptedBus& bus = scripted::ScriptedBus::the();
  scripted::Timeline& timeline = scripted::Timeline::the();
  scripted::RecordedLog& log = scripted::RecordedLog::the();
};

// Most tests use an object of their own, because the process-wide instance is never destroyed. The
// instance exists beside it and is connected, so that the getInstance() of each operation leaves no
// event; after disconnect(*instance) it connects, and so leaves events.
template <typename Proxy>
class ProxyTestOf : public ScriptedBusTest {
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

  // This object releases the service, which stays.
  void disconnect(qx::VelProxy& which) {
    which.ReleaseService();
    forget();
  }

  qx::VelProxy* const instance;
  std::unique_ptr<Proxy> proxy;
};

using ProxyTest = ProxyTestOf<qx::VelProxy>;

// The first event of a new connection.
constexpr char kReconnects[] = "GetAppDataPath()";

#endif  // TESTS_LIBRARY_PROXY_TEST_H
