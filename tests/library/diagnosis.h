// Diagnosis records, and an object that receives diagnoses.

#ifndef TESTS_LIBRARY_DIAGNOSIS_H
#define TESTS_LIBRARY_DIAGNOSIS_H

#include <functional>
#include <string>

#include "tests/library/blocks.h"
#include "tests/library/proxy_test.h"

// Records its calls, as "win11,5,1,half way", and runs an action of the test in each. Each call is
// an event on the timeline: "called(9)".
class DiagnosisRecorder : public VelDiagnoseNotify {
 public:
  void DiagnoseResultNotify(std::string vmId, unsigned long long id, unsigned int status,
                            std::string result) override {
    reports.push_back(vmId + "," + std::to_string(id) + "," + std::to_string(status) + "," +
                      result);
    scripted::Timeline::the().record("called(9)");
    if (action) {
      action();
    }
  }

  std::function<void()> action;
  Strings reports;
};

// The record of a diagnosis in an event.
inline Bytes diagnosisBlock(unsigned long long id, unsigned int status, unsigned int vm,
                            const std::string& text) {
  Bytes block(16 + text.size() + 1, 0);
  put(block, 0, id);
  put(block, 8, status);
  put(block, 12, vm);
  put(block, 16, text.c_str());
  return block;
}

#endif  // TESTS_LIBRARY_DIAGNOSIS_H
