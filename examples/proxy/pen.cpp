// Draws a line with a pen, through the pen port of velsim:
//
//   velsim --pen-port /tmp/pen &
//   pen /tmp/pen

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <QTabletEvent>

#include "vel/apps/local/velproxy/vel_proxy.h"

namespace {

constexpr char kPort[] = "space.port.2";

int connectedTo(const std::string& path) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int port = socket(AF_UNIX, SOCK_STREAM, 0);
  return connect(port, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 ? port : -1;
}

// As a widget receives it from the window system.
QTabletEvent eventOf(QEvent::Type type, int x, double pressure) {
  const QPointF place(x, 100);
  return QTabletEvent(type, place, place, QTabletEvent::Stylus, QTabletEvent::Pen, pressure, 0, 0,
                      0, 0, 0, Qt::NoModifier, 0, Qt::LeftButton, Qt::LeftButton);
}

}  // namespace

int main(int argc, char** argv) {
  const int port = connectedTo(argc > 1 ? argv[1] : "/tmp/pen");
  if (port < 0) {
    std::fprintf(stderr, "no connection to the pen port: %s\n", std::strerror(errno));
    return 1;
  }
  qx::VelProxy* const proxy = qx::VelProxy::getInstance();
  proxy->PortInit(kPort, true,
                  [port](const std::string&, unsigned int length, unsigned char* frame) {
                    return send(port, frame, length, 0) == ssize_t{length} ? 0U : 1U;
                  });
  // The far end gives the pen its device number. Nothing is sent before.
  std::array<unsigned char, 8> message = {};
  if (recv(port, message.data(), message.size(), MSG_WAITALL) != ssize_t{8}) {
    std::fputs("the pen has no device number\n", stderr);
    return 1;
  }
  proxy->PortData(kPort, message.data(), 8);

  for (int x = 100; x <= 200; x += 10) {
    QTabletEvent event = eventOf(x == 100   ? QEvent::TabletPress
                                 : x == 200 ? QEvent::TabletRelease
                                            : QEvent::TabletMove,
                                 x, x == 200 ? 0 : 0.5);
    if (proxy->SendPenData("", &event, 0, -1, -1) != 0) {
      std::fprintf(stderr, "%s\n", qx::VelProxy::lastError().text.c_str());
      return 1;
    }
  }
  proxy->PortStatus(kPort, false);
  close(port);
}
