// The connection that the models share: its state, readings and operations.

#include "examples/panel/service/service.h"

#include <memory>
#include <optional>

#include <QThread>

#include "tests/panel/panel_test.h"

namespace panel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using State = Service::State;
using Devices = std::vector<vel::Device>;

vel::Result<Devices> readDevices(const vel::Client& client) {
  return client.localDevices();
}

// A model that has one list.
class List : public QObject {
 public:
  explicit List(Service& service) {
    service.addReading(this, &readDevices, &List::take);
    connect(&service, &Service::stateChanged, this,
            [this, &service] { wasReadFirst = wasReadFirst || (service.isReady() && devices); });
  }

  void take(const Devices& read) {
    devices = read;
    ++readings;
  }

  std::optional<Devices> devices;
  int readings = 0;
  bool wasReadFirst = false;
};

class ServiceTest : public PanelTest {
 protected:
  bool becomes(State state) {
    return loopUntil([&] { return service.state() == state; });
  }

  Service service{std::chrono::milliseconds(50)};
};

TEST_F(ServiceTest, IsReadyWhenVmsAndListsOfModelsAreRead) {
  const List list(service);
  EXPECT_EQ(service.state(), State::kConnecting);

  ASSERT_TRUE(becomes(State::kReady));

  EXPECT_THAT(service.vms(), ElementsAre("debian", "ubuntu", "win10", "win11"));
  EXPECT_TRUE(list.wasReadFirst);
  EXPECT_EQ(list.readings, 1) << "once for all that was added";
}

TEST_F(ServiceTest, AModelMayComeLater) {
  ASSERT_TRUE(becomes(State::kReady));
  const List list(service);

  EXPECT_TRUE(loopUntil([&] { return list.devices.has_value(); }));
}

TEST_F(ServiceTest, IsUnavailableAsLongAsAListCannotBeRead) {
  ASSERT_TRUE(becomes(State::kReady));
  velsim().control("fault getDeviceList * error \"the cable is loose\"");
  const List list(service);

  ASSERT_TRUE(becomes(State::kUnavailable));
  EXPECT_EQ(service.problem().text().toStdString(), "The cable is loose. See the service's log.");
  EXPECT_FALSE(list.devices);
  velsim().control("clear-faults all");

  EXPECT_TRUE(becomes(State::kReady));
  EXPECT_TRUE(list.devices);
}

TEST_F(ServiceTest, AnOperationEndsInTheLoop) {
  ASSERT_TRUE(becomes(State::kReady));
  const QThread* thread = nullptr;
  std::size_t count = 0;

  service.start(&service, &readDevices, [&](const vel::Result<Devices>& devices) {
    thread = QThread::currentThread();
    count = devices ? devices->size() : 0;
  });

  EXPECT_EQ(thread, nullptr) << "it has not waited";
  EXPECT_TRUE(loopUntil([&] { return thread != nullptr; }));
  EXPECT_EQ(thread, QThread::currentThread());
  EXPECT_EQ(count, 5U);
}

TEST_F(ServiceTest, AnOwnerThatHasGoneGetsNoResult) {
  ASSERT_TRUE(becomes(State::kReady));
  auto owner = std::make_unique<QObject>();
  bool isReported = false;
  service.start(owner.get(), &readDevices,
                [&](const vel::Result<Devices>& /*devices*/) { isReported = true; });

  owner.reset();

  bool isOtherDone = false;
  velsim().control("fault getDeviceList 1 delay 100");
  service.start(&service, &readDevices,
                [&](const vel::Result<Devices>& /*devices*/) { isOtherDone = true; });
  EXPECT_TRUE(loopUntil([&] { return isOtherDone; }));
  EXPECT_FALSE(isReported);
}

TEST_F(ServiceTest, AnOperationWithoutAnAnswerShowsThatTheServiceHangs) {
  ASSERT_TRUE(becomes(State::kReady));
  {
    const Hanging hanging(velsim());
    std::string text;
    service.start(&service, &readDevices, [&](const vel::Result<Devices>& devices) {
      text = devices ? "it answers" : problemOf(devices.error()).text().toStdString();
    });
    ASSERT_TRUE(becomes(State::kUnavailable));
    EXPECT_THAT(text, HasSubstr("No reply in time."));
  }
  EXPECT_TRUE(becomes(State::kReady));
}

}  // namespace
}  // namespace panel
