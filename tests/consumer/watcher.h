// The interface between the sources has no types of vel::Client, whose names depend on the version
// of the language.

#ifndef WATCHER_H
#define WATCHER_H

#include <string>

// Begins to wait for the event that a device has been attached.
void watch();
// The name of the device; empty when the event has not come within a minute.
std::string attachedDevice();
// Which vel::expected this source was compiled with.
std::string variantOfTheWatcher();

#endif  // WATCHER_H
