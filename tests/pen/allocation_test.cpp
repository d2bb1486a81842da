// A frame allocates no memory. Logging, which may allocate, is off: this file defines the log.

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>
#include <QTabletEvent>

#include "platform/log.h"
#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

thread_local bool isCounting = false;
thread_local std::size_t allocations = 0;

}  // namespace

void* operator new(std::size_t size) {
  allocations += isCounting ? 1 : 0;
  if (void* const memory = std::malloc(size)) {
    return memory;
  }
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

extern "C" void norvoLogPrint(int /*channel*/, int /*level*/, const char* /*tag*/,
                              const char* /*format*/, ...) {}

extern "C" void pellamLogInit(const char* /*directory*/) {}

namespace {

constexpr int kFrames = 1000;

// The number of calls of operator new during an action.
template <typename Action>
std::size_t allocationsOf(Action action) {
  allocations = 0;
  isCounting = true;
  action();
  isCounting = false;
  return allocations;
}

class AllocationTest : public testing::Test {
 protected:
  QTabletEvent event{QEvent::TabletMove,
                     QPointF(10.5, 20.5),
                     QPointF(10.5, 20.5),
                     QTabletEvent::Stylus,
                     QTabletEvent::Pen,
                     0.5,
                     10,
                     -10,
                     0,
                     45,
                     0,
                     Qt::NoModifier,
                     1,
                     Qt::LeftButton,
                     Qt::LeftButton};
};

TEST_F(AllocationTest, IsCounted) {
  EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(1)); }), 1u);
}

TEST_F(AllocationTest, APacketNeedsNone) {
  EXPECT_EQ(allocationsOf([this] {
              for (int i = 0; i < kFrames; ++i) {
                qx::serialize(&event, i, -1, -1);
              }
            }),
            0u);
}

TEST_F(AllocationTest, AFrameNeedsNone) {
  qx::VelProxy proxy;
  int frames = 0;
  // A name that is too long for the inside of a std::string.
  proxy.PortInit("a.rather.long.name.of.a.client.space.port.2", true,
                 [&frames](const std::string&, unsigned int, unsigned char*) {
                   return static_cast<unsigned int>(++frames);
                 });
  unsigned char message[] = {0x27, 5, 0x35, 0x08, 0, 0, 0, 0};
  proxy.PortData("", message, sizeof message);

  EXPECT_EQ(allocationsOf([&] {
              for (int i = 0; i < kFrames; ++i) {
                proxy.SendPenData("win11", &event, 0, -1, -1);
              }
            }),
            0u);

  EXPECT_EQ(frames, kFrames);
}

}  // namespace
