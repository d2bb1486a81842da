// Where this program keeps its data. Replaceable at link time.

#ifndef PLATFORM_APP_DATA_PATH_H
#define PLATFORM_APP_DATA_PATH_H

#include <string>

// The directory, created with mode 0700 if it is missing; empty when there is none that can be
// used.
//
// QX_APP_DATA names it when set and not empty. Otherwise it is the user's data directory: on macOS
// ~/Library/Application Support/velproxy, elsewhere $XDG_DATA_HOME/velproxy, which defaults to
// ~/.local/share/velproxy.
std::string GetAppDataPath();

#endif  // PLATFORM_APP_DATA_PATH_H
