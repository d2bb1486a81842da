#include "vel/apps/local/velctl/own_program.h"

namespace velctl {
namespace {

std::string& theName() {
  static auto& name = *new std::string("velctl");
  return name;
}

}  // namespace

const std::string& ownProgram() {
  return theName();
}

void setOwnProgram(const std::string& name) {
  theName() = name;
}

}  // namespace velctl
