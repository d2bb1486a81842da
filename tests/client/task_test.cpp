// Operations on threads of their own.

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

#include "tests/client/client_test.h"
#include "tests/under_sanitizer.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Search = vel::Task<std::vector<vel::SharedPrinter>>;

// The search waits at the bus until the gate opens.
class TaskTest : public ClientTest {
 protected:
  TaskTest() {
    bus.answer("searchSharePrinter",
               Reply().int32(0).int32(1).string("10.0.0.7").string("Ink").string("by the door"));
    bus.answer("stopSearchSharePrinter", Reply().int32(0));
  }

  Gate search = timeline.hold("call searchSharePrinter");
};

TEST_F(TaskTest, HasTheResultOfItsOperation) {
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  EXPECT_FALSE(task.isReady());
  search.open();

  const vel::Result<std::vector<vel::SharedPrinter>>& found = task.get();

  ASSERT_TRUE(found) << found.error().message();
  ASSERT_EQ(found->size(), 1U);
  EXPECT_EQ(found->front().name, "Ink");
  EXPECT_TRUE(task.isReady());
}

TEST_F(TaskTest, HasTheErrorOfItsOperation) {
  const Search task = client.startSharedPrinterSearch("not an address");

  EXPECT_EQ(task.get().error().message(), "searchSharePrinter: not an IP address");
}

TEST_F(TaskTest, CancellingASearchAsksTheServiceWhileTheSearchWaits) {
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  ASSERT_TRUE(search.isReached());

  EXPECT_TRUE(task.canCancel());
  EXPECT_TRUE(task.cancel());

  EXPECT_EQ(bus.lastCall(), "stopSearchSharePrinter()");
  EXPECT_EQ(bus.lastTimeoutMs(), 3000);
  EXPECT_FALSE(task.isReady());
  search.open();
}

TEST_F(TaskTest, StoppingAsksTheServiceAndDoesNotWait) {
  Gate asked = timeline.hold("call stopSearchSharePrinter");
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  ASSERT_TRUE(search.isReached());

  EXPECT_TRUE(task.stop());

  EXPECT_TRUE(asked.isReached()) << "by another thread, while the service does not answer";
  asked.open();
  search.open();
  EXPECT_TRUE(task.get());
}

TEST_F(TaskTest, StoppingGoesOnUntilTheEnd) {
  bus.answer("stopSearchSharePrinter", Reply().int32(17));
  {
    Search task = client.startSharedPrinterSearch("10.0.0.7");
    ASSERT_TRUE(search.isReached());
    EXPECT_TRUE(task.stop());
    task.detach();
  }

  EXPECT_TRUE(timeline.waitFor("return stopSearchSharePrinter()", 3));
  search.open();
  EXPECT_TRUE(timeline.waitFor("return searchSharePrinter()"));
}

TEST_F(TaskTest, StoppingAfterTheEndSendsNothing) {
  search.open();
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  task.get();
  forget();

  EXPECT_TRUE(task.stop());

  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(TaskTest, CancellingReportsWhyTheServiceHasNotStopped) {
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  ASSERT_TRUE(search.isReached());

  bus.answer("stopSearchSharePrinter", Reply().int32(17));
  EXPECT_EQ(task.cancel().error().status(), 17);
  bus.answer("stopSearchSharePrinter", Reply::error("no"));
  EXPECT_EQ(task.cancel().error().message(), "stopSearchSharePrinter: no");
  bus.answer("stopSearchSharePrinter", Reply::error("late", MESSAGE_TYPE_NO_REPLY));
  EXPECT_EQ(task.cancel().error().kind(), vel::ErrorKind::kNoReply);
  bus.answer("stopSearchSharePrinter", Reply::error("gone", MESSAGE_TYPE_DISCONNECTED));
  EXPECT_EQ(task.cancel().error().kind(), vel::ErrorKind::kNoReply);
  bus.setRegistered(false);
  EXPECT_EQ(task.cancel().error().kind(), vel::ErrorKind::kNoService);
  bus.setReachable(false);
  EXPECT_EQ(task.cancel().error().kind(), vel::ErrorKind::kNoBus);

  bus.setReachable(true);
  bus.setRegistered(true);
  search.open();
}

TEST_F(TaskTest, CancellingAfterTheEndSendsNothing) {
  search.open();
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  task.get();
  forget();

  EXPECT_TRUE(task.cancel());

  EXPECT_THAT(bus.requests(), IsEmpty());
}

TEST_F(TaskTest, EndsWithItsObjectWhichCancelsIt) {
  timeline.when("call stopSearchSharePrinter", [this] { search.open(); });
  {
    const Search task = client.startSharedPrinterSearch("10.0.0.7");
    ASSERT_TRUE(search.isReached());
  }

  EXPECT_EQ(bus.lastCall(), "stopSearchSharePrinter()");
  EXPECT_EQ(timeline.count("return searchSharePrinter()"), 1) << "the thread has been waited for";
}

TEST_F(TaskTest, CallsBackOnItsOwnThread) {
  search.open();
  std::thread::id ran;
  std::size_t count = 0;
  {
    const Search task = client.startSharedPrinterSearch(
        "10.0.0.7", [&](const vel::Result<std::vector<vel::SharedPrinter>>& found) {
          ran = std::this_thread::get_id();
          count = found->size();
        });
  }

  EXPECT_EQ(count, 1U);
  EXPECT_NE(ran, std::this_thread::get_id());
}

TEST_F(TaskTest, CallsBackWhereItsExecutorRuns) {
  search.open();
  Loop loop;
  std::thread::id ran;
  {
    const Search task = client.startSharedPrinterSearch(
        "10.0.0.7",
        [&](const vel::Result<std::vector<vel::SharedPrinter>>&) {
          ran = std::this_thread::get_id();
        },
        vel::on(loop));
  }

  EXPECT_EQ(loop.run(), 1U);
  EXPECT_EQ(ran, std::this_thread::get_id());
}

TEST_F(TaskTest, MayBeDestroyedInItsOwnCallback) {
  auto task = std::make_unique<Search>(client.startSharedPrinterSearch("10.0.0.7"));
  search.open();
  task->get();
  Gate started;
  Gate ended;
  auto* const self = new std::unique_ptr<Search>;
  *self = std::make_unique<Search>(client.startSharedPrinterSearch(
      "10.0.0.7", [self, started = started.pass(), ended = ended.pass()](const auto&) {
        started();
        delete self;
        ended();
      }));
  ASSERT_TRUE(started.isReached());
  started.open();
  EXPECT_TRUE(ended.isReached());
  ended.open();
}

TEST_F(TaskTest, WhenDetachedNeitherWaitsNorCancels) {
  Gate ended;
  {
    Search task = client.startSharedPrinterSearch("10.0.0.7",
                                                  [ended = ended.pass()](const auto&) { ended(); });
    ASSERT_TRUE(search.isReached());
    task.detach();
  }

  EXPECT_EQ(timeline.count("call stopSearchSharePrinter"), 0);
  search.open();
  EXPECT_TRUE(ended.isReached()) << "its callback receives the result";
  ended.open();
}

TEST_F(TaskTest, AnyOperationCanBeStarted) {
  bus.answer("searchAllPrinter", Reply().string("[]"));

  const vel::Task<std::string> task =
      client.start([](const vel::Client& itsClient) { return itsClient.allPrinters(); });

  EXPECT_EQ(task.get(), "[]");
  EXPECT_FALSE(task.canCancel());
}

TEST_F(TaskTest, ADiagnosisCannotBeCancelled) {
  bus.knowsVm("win11", 7);
  bus.answer("diagnoseDevice", Reply().string("{}"));
  Gate diagnosis = timeline.hold("call diagnoseDevice");
  const vel::Task<std::string> task = client.startDiagnosis("win11", vel::DeviceNumber(12));
  ASSERT_TRUE(diagnosis.isReached());

  EXPECT_EQ(task.cancel().error().text(), "the service cannot end this operation early");
  EXPECT_EQ(task.stop().error().text(), "the service cannot end this operation early");

  diagnosis.open();
  EXPECT_EQ(task.get(), "{}");
}

TEST_F(TaskTest, EndsWithItsObjectAlsoWhenItIsCancelledTooEarly) {
  Gate early = timeline.hold("make searchSharePrinter");
  std::atomic<int> cancels{0};
  timeline.when("return stopSearchSharePrinter", [&] {
    if (++cancels == 1) {
      early.open();
    } else {
      search.open();
    }
  });
  {
    const Search task = client.startSharedPrinterSearch("10.0.0.7");
    ASSERT_TRUE(early.isReached());
  }

  EXPECT_GE(cancels, 2) << "the service had nothing to stop at first";
}

TEST_F(TaskTest, AnExceptionOfTheOperationReachesTheOneThatWaits) {
  bool isDone = false;
  {
    const vel::Task<int> task = client.start(
        [](const vel::Client&) -> vel::Result<int> { throw std::runtime_error("of the client"); },
        [&](const vel::Result<int>&) { isDone = true; });

    EXPECT_THROW(task.get(), std::runtime_error);
  }
  EXPECT_FALSE(isDone);
}

TEST_F(TaskTest, AReplyWithoutAStatusDoesNotConfirmThatTheSearchHasStopped) {
  const Search task = client.startSharedPrinterSearch("10.0.0.7");
  ASSERT_TRUE(search.isReached());
  bus.answer("stopSearchSharePrinter", Reply());

  EXPECT_EQ(task.cancel().error().kind(), vel::ErrorKind::kBadReply);

  search.open();
}

TEST_F(TaskTest, MayBeDetachedTwice) {
  search.open();
  Search task = client.startSharedPrinterSearch("10.0.0.7");

  task.detach();
  task.detach();

  EXPECT_TRUE(task.get());
}

TEST_F(TaskTest, FailsWhenTheSystemHasNoThreadLeft) {
  // Threads of the tests before may not have ended yet, and the race detector allows no thread to
  // start behind a fork beside others: there the program begins anew, which takes it long.
  GTEST_FLAG_SET(death_test_style, kUnderThreadSanitizer ? "threadsafe" : "fast");
  const auto startWithoutThreads = [this] {
    // The superuser's processes are not limited.
    const rlimit none = {0, 0};
    if ((::geteuid() == 0 && ::setuid(65534) != 0) || ::setrlimit(RLIMIT_NPROC, &none) != 0) {
      std::_Exit(2);
    }
    const Search task = client.startSharedPrinterSearch("10.0.0.7");
    const bool hasFailed =
        task.isReady() && !task.get() && task.get().error().kind() == vel::ErrorKind::kNoThread;
    std::fputs(hasFailed ? task.get().error().message().c_str() : "a thread", stderr);
    std::_Exit(hasFailed && bus.requests().empty() ? 0 : 1);
  };

  EXPECT_EXIT(startWithoutThreads(), testing::ExitedWithCode(0), "thread");
}

}  // namespace
