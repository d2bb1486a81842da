// A plug-in of a client that uses the library.

#include "vel/apps/local/velproxy/vel_proxy.h"

extern "C" void usePlugin() {
  qx::VelProxy proxy;
  proxy.ReleaseService();
}
