// A small client: the button that gives this machine's first camera to a VM.

#ifndef EXAMPLES_CLIENT_TEST_CAMERA_BUTTON_H
#define EXAMPLES_CLIENT_TEST_CAMERA_BUTTON_H

#include <string>

class CameraButton {
 public:
  explicit CameraButton(std::string vm);

  // What the button shows: "Attach Front camera", or why there is nothing to attach.
  std::string label() const;
  // Attaches the camera, and returns what to show to the user.
  std::string press() const;

 private:
  const std::string vm_;
};

#endif  // EXAMPLES_CLIENT_TEST_CAMERA_BUTTON_H
