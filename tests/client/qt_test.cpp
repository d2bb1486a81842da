// vel/client/qt.h: callbacks on the event loops of Qt.

#include "vel/client/qt.h"

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <QCoreApplication>
#include <QTabletEvent>
#include <QThread>

#include "tests/client/client_test.h"
#include "tests/client/loop_until.h"

namespace {

// A Qt thread with an event loop, until the object ends.
class LoopThread {
 public:
  LoopThread() { thread_.start(); }
  ~LoopThread() { end(); }

  QThread& thread() { return thread_; }

  // Returns when the loop has ended.
  void end() {
    thread_.quit();
    thread_.wait();
  }
  // Runs an action in the loop, behind all that was posted before, and waits for it.
  void run(const std::function<void()>& action) {
    const vel::Executor executor = vel::on(thread_);
    std::promise<void> done;
    executor([&] {
      action();
      done.set_value();
    });
    done.get_future().wait();
  }

 private:
  QThread thread_;
};

using QtTest = ClientTest;

TEST_F(QtTest, CallbacksRunOnTheThreadOfAnObjectWhileItsLoopRuns) {
  const QObject object;
  int count = 0;
  const QThread* thread = nullptr;
  const vel::Subscription subscription = client.onDevice(
      [&](const vel::DeviceEvent& event) {
        thread = QThread::currentThread();
        count += event.device.name == "Camera" ? 1 : 0;
      },
      vel::on(object));

  emitDevice("Camera");
  emitDevice("Camera");
  EXPECT_EQ(count, 0) << "the loop does not run yet";

  EXPECT_TRUE(loopUntil([&] { return count == 2; }));
  EXPECT_EQ(thread, QThread::currentThread());
}

TEST_F(QtTest, CallbacksRunOnAQtThread) {
  LoopThread loop;
  std::atomic<const QThread*> thread{nullptr};
  const vel::Subscription subscription = client.onDevice(
      [&](const vel::DeviceEvent&) { thread = QThread::currentThread(); }, vel::on(loop.thread()));

  emitDevice("Camera");
  loop.run([] {});

  EXPECT_EQ(thread, &loop.thread());
}

TEST_F(QtTest, SeveralThreadsReceiveEachEvent) {
  LoopThread first;
  LoopThread second;
  std::atomic<int> inFirst{0};
  std::atomic<int> inSecond{0};
  const QObject object;
  int here = 0;
  const auto countIn = [](std::atomic<int>& count, const QThread& thread) {
    return
        [&](const vel::DeviceEvent&) { count += QThread::currentThread() == &thread ? 1 : 1000; };
  };
  const vel::Subscription subscriptions[] = {
      client.onDevice(countIn(inFirst, first.thread()), vel::on(first.thread())),
      client.onDevice(countIn(inSecond, second.thread()), vel::on(second.thread())),
      client.onDevice([&](const vel::DeviceEvent&) { ++here; }, vel::on(object)),
  };

  constexpr int kEvents = 20;
  for (int i = 0; i < kEvents; ++i) {
    emitDevice("Camera");
  }
  first.run([] {});
  second.run([] {});

  EXPECT_EQ(inFirst, kEvents);
  EXPECT_EQ(inSecond, kEvents);
  EXPECT_TRUE(loopUntil([&] { return here == kEvents; }));
}

TEST_F(QtTest, WhatWaitsInTheLoopDoesNotRunAfterTheEnd) {
  const QObject object;
  int ended = 0;
  int lasting = 0;
  vel::Subscription subscription =
      client.onDevice([&](const vel::DeviceEvent&) { ++ended; }, vel::on(object));
  const vel::Subscription other =
      client.onDevice([&](const vel::DeviceEvent&) { ++lasting; }, vel::on(object));
  emitDevice("Camera");

  EXPECT_TRUE(subscription.end());

  EXPECT_TRUE(loopUntil([&] { return lasting == 1; }));
  EXPECT_EQ(ended, 0);
}

TEST_F(QtTest, ASubscriptionMayEndInItsCallback) {
  LoopThread loop;
  std::atomic<int> count{0};
  vel::Subscription subscription;
  subscription = client.onDevice(
      [&](const vel::DeviceEvent&) {
        ++count;
        subscription.stop();
      },
      vel::on(loop.thread()));

  emitDevice("Camera");
  emitDevice("Camera");
  loop.run([] {});

  EXPECT_EQ(count, 1);
}

TEST_F(QtTest, TheObjectNeedNotLiveOn) {
  auto object = std::make_unique<QObject>();
  int count = 0;
  const vel::Subscription subscription =
      client.onDevice([&](const vel::DeviceEvent&) { ++count; }, vel::on(*object));
  emitDevice("Camera");

  object.reset();
  emitDevice("Camera");

  EXPECT_TRUE(loopUntil([&] { return count == 2; }));
}

// What the callback has captured is freed, which the sanitizers check.
TEST_F(QtTest, WhatWaitsWhenTheThreadEndsIsDropped) {
  const auto captured = std::make_shared<int>(0);
  auto loop = std::make_unique<LoopThread>();
  vel::Subscription subscription = client.onDevice(
      [captured](const vel::DeviceEvent&) { ++*captured; }, vel::on(loop->thread()));
  loop->end();
  emitDevice("Camera");
  loop.reset();
  emitDevice("Camera");

  subscription = {};

  EXPECT_EQ(*captured, 0);
  EXPECT_EQ(captured.use_count(), 1);
}

TEST_F(QtTest, AnExecutorThatWasNeverUsedLeavesNothing) {
  LoopThread loop;
  for (int i = 0; i < 10; ++i) {
    const vel::Executor executor = vel::on(loop.thread());
  }
  loop.run([] {});
}

TEST_F(QtTest, AnExecutorThatEndsInItsLoopLeavesNothing) {
  LoopThread loop;
  loop.run([&] { const vel::Executor executor = vel::on(loop.thread()); });
  loop.run([] {});
}

TEST_F(QtTest, WhatWaitsRunsAfterTheEndOfItsExecutor) {
  const QObject object;
  bool hasRun = false;
  {
    const vel::Executor executor = vel::on(object);
    executor([&] { hasRun = true; });
  }

  EXPECT_TRUE(loopUntil([&] { return hasRun; }));
}

// The task's thread has ended before its callback's loop runs.
TEST_F(QtTest, ATaskThatHasEndedCallsBackInTheLoop) {
  const QObject object;
  bool hasCalled = false;
  {
    const vel::Task<std::string> task =
        client.start([](const vel::Client&) { return vel::Result<std::string>("P1"); },
                     [&](const vel::Result<std::string>&) { hasCalled = true; }, vel::on(object));
  }
  EXPECT_FALSE(hasCalled);

  EXPECT_TRUE(loopUntil([&] { return hasCalled; }));
}

TEST_F(QtTest, ATaskCallsBackInTheLoop) {
  bus.answer("searchAllPrinter", Reply().string("P1"));
  const QObject object;
  std::string found;
  const vel::Task<std::string> task = client.start(
      [](const vel::Client& on) { return on.allPrinters(); },
      [&](const vel::Result<std::string>& printers) { found = *printers; }, vel::on(object));

  EXPECT_TRUE(loopUntil([&] { return !found.empty(); }));
  EXPECT_EQ(found, "P1");
}

// --- Events of Qt -------------------------------------------------------------------------------

TEST_F(ClientTest, APenEventIsWrittenAtItsOwnPositionOrAtAnother) {
  std::vector<Bytes> frames;
  client.openPort("space.port.2", true,
                  [&](const std::string&, unsigned int length, unsigned char* bytes) {
                    frames.push_back(bytesOf(bytes, length));
                    return 0U;
                  });
  // The far end gives the pen its device number.
  ASSERT_TRUE(client.receivePortData("space.port.2", {0x27, 5, 0x35, 8, 0, 0, 0, 0}));
  QTabletEvent event(QEvent::TabletMove, QPointF(30, 40), QPointF(), QTabletEvent::Stylus,
                     QTabletEvent::Pen, 0, 0, 0, 0, 0, 0, Qt::NoModifier, 1, Qt::LeftButton,
                     Qt::LeftButton);

  EXPECT_TRUE(client.sendPen(event));
  EXPECT_TRUE(client.sendPen(event, 7, 8));
  EXPECT_TRUE(client.sendPen(event, std::nullopt, 9));

  std::vector<std::pair<int, int>> positions;
  for (const Bytes& frame : frames) {
    // The packet begins at 20; its position is at 50.
    positions.emplace_back(frame.at(20 + 50), frame.at(20 + 54));
  }
  EXPECT_THAT(positions,
              testing::ElementsAre(std::pair(30, 40), std::pair(7, 8), std::pair(30, 9)));
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  const QCoreApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
