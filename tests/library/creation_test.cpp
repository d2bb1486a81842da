// The creation of the process-wide instance. A process creates it once, so each test runs in a
// child process.

#include <cstdlib>
#include <functional>

#include "tests/library/proxy_test.h"

namespace {

using testing::ElementsAre;
using testing::StartsWith;

class CreationTest : public ScriptedBusTest {
 protected:
  CreationTest() {
    GTEST_FLAG_SET(death_test_style, "fast");
    scripted::setDataPath(kDataPath);
  }

  // Runs the body in a process without an instance, and fails when a check in the body fails. Once
  // per test.
  static void inANewProcess(const std::function<void()>& body) {
    const auto runAndExit = [&body] {
      body();
      std::exit(HasFailure() ? 1 : 0);
    };
    EXPECT_EXIT(runAndExit(), testing::ExitedWithCode(0), "");
  }
};

TEST_F(CreationTest, TheFirstCallConnectsAndLogsTheInstance) {
  inANewProcess([this] {
    qx::VelProxy* const instance = qx::VelProxy::getInstance();

    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(timeline.count("getServiceProxyInterface(\"vel\", 1, 1)"), 1);
    EXPECT_THAT(log.summariesOf("getInstance"),
                ElementsAre(debugLine("getInstance", "out, mVelProxy: %p",
                                      "out, mVelProxy: " + pointer(instance))));
    EXPECT_THAT(timeline.all().front(), "GetAppDataPath()");
    EXPECT_THAT(timeline.all().back(), StartsWith("Debug getInstance: out, mVelProxy: "));
  });
}

TEST_F(CreationTest, LaterCallsGiveTheSameInstanceAndDoNothing) {
  inANewProcess([this] {
    qx::VelProxy* const instance = qx::VelProxy::getInstance();
    forget();

    EXPECT_EQ(qx::VelProxy::getInstance(), instance);

    EXPECT_THAT(timeline.all(), testing::IsEmpty());
  });
}

TEST_F(CreationTest, WithoutAServiceTheInstanceIsMadeAndConnectsLater) {
  inANewProcess([this] {
    bus.setRegistered(false);

    qx::VelProxy* const instance = qx::VelProxy::getInstance();

    ASSERT_NE(instance, nullptr);
    EXPECT_THAT(log.summariesOf("getInstance"),
                ElementsAre(errorLine("getInstance", "get qxbus interface failed"),
                            debugLine("getInstance", "out, mVelProxy: %p",
                                      "out, mVelProxy: " + pointer(instance))));
    forget();

    EXPECT_EQ(qx::VelProxy::getInstance(), instance);
    EXPECT_THAT(log.summariesOf("getInstance"),
                ElementsAre(errorLine("getInstance", "retry to get qxbus interface failed")));
    forget();
    bus.setRegistered(true);
    bus.answer("resetService", Reply().int32(0));

    EXPECT_EQ(instance->ResetService(), 0u);
    EXPECT_EQ(timeline.count("Error"), 0);
  });
}

TEST_F(CreationTest, WithoutABusTheInstanceIsMadeAsWell) {
  inANewProcess([this] {
    bus.setReachable(false);

    ASSERT_NE(qx::VelProxy::getInstance(), nullptr);

    EXPECT_THAT(log.errors(),
                ElementsAre("QXBusSerivceManager::initSync failed", "get qxbus interface failed"));
    qx::VelProxy::getInstance()->ReleaseService();
  });
}

TEST_F(CreationTest, ManyThreadsMakeOneInstance) {
  inANewProcess([this] {
    std::vector<std::unique_ptr<Background<qx::VelProxy*>>> threads;
    for (int i = 0; i < 8; ++i) {
      threads.push_back(
          std::make_unique<Background<qx::VelProxy*>>([] { return qx::VelProxy::getInstance(); }));
    }
    qx::VelProxy* const instance = qx::VelProxy::getInstance();
    for (const auto& thread : threads) {
      EXPECT_EQ(thread->result(), instance);
    }

    EXPECT_EQ(timeline.count("getServiceProxyInterface("), 1);
    EXPECT_EQ(timeline.count("manager addEventListener("), 1);
    EXPECT_EQ(timeline.count("Debug getInstance: out, mVelProxy: "), 1);
    EXPECT_EQ(timeline.count("Error"), 0);
  });
}

TEST_F(CreationTest, TheInstanceIsStoredBeforeItConnects) {
  inANewProcess([this] {
    bus.setRegistered(false);
    Gate gate = timeline.hold("initSync(");
    Background first([] { return qx::VelProxy::getInstance(); });
    ASSERT_TRUE(gate.isReached());
    Background second([] { return qx::VelProxy::getInstance(); });
    // The second waits in an Init of its own for that of the first, which no event shows.
    EXPECT_FALSE(timeline.happensSoon(second.id(), ""));
    gate.open();

    EXPECT_EQ(first.result(), second.result());

    EXPECT_EQ(timeline.count("Error getInstance: get qxbus interface failed"), 1);
    EXPECT_EQ(timeline.count("Error getInstance: retry to get qxbus interface failed"), 1);
  });
}

TEST_F(CreationTest, AProxyOfTheClientNeedsNoInstance) {
  inANewProcess([this] {
    {
      qx::VelProxy own;
      EXPECT_EQ(own.Init(), 0u);
      bus.serviceDies();
      bus.waitForDeaths();
      EXPECT_EQ(timeline.count("Debug onServiceDeath: wait for velservice ...., waiting cnt=500"),
                1);
    }
  });
}

TEST_F(CreationTest, AnOperationOfAProxyOfTheClientMakesTheInstance) {
  inANewProcess([this] {
    bus.answer("resetService", Reply().int32(0));
    qx::VelProxy own;
    EXPECT_EQ(own.ResetService(), kFailed) << "only the instance is connected now";
    EXPECT_EQ(timeline.count("Debug getInstance: out, mVelProxy: "), 1);
    EXPECT_EQ(qx::VelProxy::getInstance()->ResetService(), 0u);
  });
}

}  // namespace
