// Files with recordings.

#ifndef VEL_APPS_LOCAL_VELSIM_RECORDING_RECORDING_FILE_H
#define VEL_APPS_LOCAL_VELSIM_RECORDING_RECORDING_FILE_H

#include <chrono>
#include <iosfwd>
#include <string>
#include <vector>

#include "base/descriptor.h"
#include "base/result.h"
#include "platform/mutex.h"
#include "vel/apps/local/velsim/recording/recording.h"

namespace velsim {

// Writes a recording. Each line is in the file when append() returns, whatever happens next.
//
// THREADS   Any thread may call append().
class RecordingWriter {
 public:
  // Makes the file, which only this user can read, and writes the header. A file that holds
  // something already is not overwritten; what another user has put at the path is refused.
  //
  // from       where the service is, for people
  static base::Result<std::unique_ptr<RecordingWriter>> create(const std::string& path,
                                                               const std::string& from,
                                                               bool isWithSecrets);

  // Sets the time of the line, masks its secrets, and writes it. The failure names the file; after
  // one nothing is written any more.
  base::Result<void> append(RecordedLine line);
  // Waits until the system has the lines on its disk.
  base::Result<void> sync();
  // Of the lines, without the header.
  std::size_t count();

  // The time that a line of now has.
  std::chrono::microseconds now() const;

 private:
  RecordingWriter(std::string path, base::Descriptor file, bool isWithSecrets)
      : path_(std::move(path)), isWithSecrets_(isWithSecrets), file_(std::move(file)) {}

  base::Result<void> write(const std::string& line) QX_REQUIRES(mutex_);

  const std::string path_;
  const bool isWithSecrets_;
  const std::chrono::steady_clock::time_point begun_ = std::chrono::steady_clock::now();

  platform::Mutex mutex_;
  base::Descriptor file_ QX_GUARDED_BY(mutex_);
  std::size_t count_ QX_GUARDED_BY(mutex_) = 0;
  std::string failure_ QX_GUARDED_BY(mutex_);
};

// Reads a recording.
//
// mistakes   gets all of them, as "FILE:LINE: TEXT", at most a hundred; then the result is of no
// use
std::vector<RecordedLine> readRecording(const std::string& path,
                                        std::vector<std::string>* mistakes);
// The same for the content of a file.
std::vector<RecordedLine> readRecording(std::istream& file, const std::string& path,
                                        std::vector<std::string>* mistakes);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_RECORDING_RECORDING_FILE_H
