// The directory of this program's data. Another implementation may be linked in its place.

#ifndef PLATFORM_APP_DATA_PATH_H
#define PLATFORM_APP_DATA_PATH_H

#include <string>

// Returns the directory, which is created with mode 0700 if it is missing; an empty text when the
// directory has no name or cannot be created.
//
// The environment variable QX_APP_DATA is its name, unless empty. By default the directory is
// ~/Library/Application Support/velproxy on macOS and $XDG_DATA_HOME/velproxy elsewhere, where
// XDG_DATA_HOME is ~/.local/share by default. The log of the default directory has one of its own
// on macOS: see log.h.
std::string GetAppDataPath();

#endif  // PLATFORM_APP_DATA_PATH_H
