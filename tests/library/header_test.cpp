// The text of vel_proxy.h: what it says of an operation is what the operation does, and an
// operation that is forgotten elsewhere is named.

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "tests/library/proxy_test.h"
#include "tests/library/remote_operations.h"
#include "tests/library/slots.h"
#include "vel/protocol/methods.h"

namespace {

constexpr char kHeader[] = "vel/apps/local/velproxy/vel_proxy.h";

struct Declaration {
  std::string name;
  bool isVirtual;
  std::string comment;  // in one line
  std::string method;   // on the bus; empty when the comment names none
  std::string arguments;
  std::string reply;
};

std::string textOfTheHeader() {
  std::ifstream file(std::string(PROJECT_SOURCE_DIR "/") + kHeader);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// Splits "bus connectVm(vm, int32 systemType) -> int32 status" at the end of a comment.
void readBusLine(Declaration& declaration) {
  static const std::regex kBus(R"( bus +(\w+)\((.*)\) -> (.*)$)");
  std::smatch parts;
  if (std::regex_search(declaration.comment, parts, kBus)) {
    declaration.method = parts[1];
    declaration.arguments = parts[2];
    declaration.reply = parts[3];
  }
}

// The public functions of VelProxy, in order.
std::vector<Declaration> declarations() {
  static const std::regex kDeclaration(R"(^  (virtual |static )?[\w:<>*&, ]*?[ *&](\w+)\()");
  std::vector<Declaration> all;
  std::istringstream lines(textOfTheHeader());
  std::string line;
  while (std::getline(lines, line) && line != "class VelProxy {") {
  }
  std::string comment;
  while (std::getline(lines, line) && line != " private:") {
    std::smatch parts;
    if (line.rfind("  // ", 0) == 0) {
      comment += " " + line.substr(line.find_first_not_of(' ', 4));
    } else if (std::regex_search(line, parts, kDeclaration)) {
      all.push_back({parts[2], parts[1] == "virtual ", comment, "", "", ""});
      readBusLine(all.back());
    }
    if (line.empty()) {
      comment.clear();
    }
  }
  return all;
}

std::vector<Declaration> remoteDeclarations() {
  std::vector<Declaration> all;
  for (const Declaration& declaration : declarations()) {
    if (!declaration.method.empty()) {
      all.push_back(declaration);
    }
  }
  return all;
}

// The subject of each operation, from the index.
std::map<std::string, std::string> subjects() {
  constexpr std::size_t kMargin = 5;
  constexpr std::size_t kOperations = 22;
  std::istringstream lines(textOfTheHeader());
  std::map<std::string, std::string> all;
  std::string subject;
  bool isInIndex = false;
  for (std::string line; std::getline(lines, line) && line.rfind("#ifndef", 0) != 0;) {
    isInIndex = isInIndex || line.rfind("//   connection ", 0) == 0;
    if (!isInIndex || line.size() <= kOperations) {
      continue;
    }
    const std::string column = line.substr(kMargin, kOperations - kMargin);
    if (column.find_first_not_of(' ') != std::string::npos) {
      subject = column.substr(0, column.find_last_not_of(' ') + 1);
    }
    std::istringstream words(line.substr(kOperations));
    for (std::string word; words >> word;) {
      all[word.substr(0, word.find(','))] = subject;
    }
  }
  return all;
}

// "tests/library/rows/network_printers.cpp"
std::string rowsFileOf(const std::string& operation) {
  const std::map<std::string, std::string> all = subjects();
  const auto found = all.find(operation);
  if (found == all.end()) {
    return "a file in tests/library/rows/";
  }
  std::string name = found->second;
  std::replace(name.begin(), name.end(), ' ', '_');
  return "tests/library/rows/" + name + ".cpp";
}

// The types in a list of arguments as the header writes it, whatever stands between them.
std::string typesIn(const std::string& arguments) {
  static const std::regex kType(R"(\b(vm|int16|int32|uint64|string|bytes)\b)");
  std::string types;
  for (std::sregex_iterator type(arguments.begin(), arguments.end(), kType), end; type != end;
       ++type) {
    types += (*type)[1] == "vm" ? "int32 " : (*type)[1].str() + " ";
  }
  return types;
}

std::string typesIn(const velprotocol::ArgumentList& arguments) {
  std::string types;
  for (const velprotocol::Argument& argument : arguments) {
    types += std::string(nameOf(argument.type)) + " ";
  }
  return types;
}

// The time limit that a comment states.
int timeoutIn(const std::string& comment) {
  static const std::regex kLimit(R"(Waits at most (\d+) ms)");
  std::smatch parts;
  if (comment.find("without waiting for the answer") != std::string::npos) {
    return velprotocol::kAsynchronousMs;
  }
  return std::regex_search(comment, parts, kLimit) ? std::stoi(parts[1]) : velprotocol::kUsualMs;
}

TEST(HeaderTest, IsRead) {
  EXPECT_GE(declarations().size(), 102u);
  EXPECT_GE(remoteDeclarations().size(), 68u);
}

TEST(HeaderTest, NamesEveryOperationInItsIndex) {
  const std::map<std::string, std::string> indexed = subjects();

  for (const Declaration& declaration : declarations()) {
    EXPECT_EQ(indexed.count(declaration.name), 1u)
        << declaration.name << " is missing from the index by subject at the top of " << kHeader;
  }
}

TEST(HeaderTest, DeclaresEveryOperationOfItsIndex) {
  const std::string text = textOfTheHeader();
  const std::string code = text.substr(text.find("#ifndef"));

  for (const auto& [name, subject] : subjects()) {
    EXPECT_TRUE(std::regex_search(code, std::regex("[ *]" + name + "\\(")))
        << "the index by subject at the top of " << kHeader << " names " << name
        << ", which is not declared";
  }
}

TEST(HeaderTest, DeclaresTheOperationsOfTheSlots) {
  std::map<int, std::string> pinned;
  for (const Slot& slot : operationsOfTheProxy()) {
    pinned[slot.expected] = slot.operation();
  }

  int slot = 2;  // behind the destructors
  for (const Declaration& declaration : declarations()) {
    if (declaration.isVirtual) {
      EXPECT_EQ(pinned[slot], declaration.name)
          << declaration.name << " of " << kHeader << " is in slot " << slot << ": add its row to "
          << rowsFileOf(declaration.name)
          << " or, if it has no bus method, its SLOT to tests/library/interface_test.cpp";
      ++slot;
    }
  }
}

TEST(HeaderTest, StatesTheBusMethodThatTheRowsSend) {
  std::set<std::string> sent;
  for (const RemoteOperation& operation : remoteOperations()) {
    sent.insert(operation.name() + " calls " + operation.method());
  }

  for (const Declaration& declaration : remoteDeclarations()) {
    EXPECT_EQ(sent.count(declaration.name + " calls " + declaration.method), 1u)
        << declaration.name << " of " << kHeader << " has no row that sends " << declaration.method
        << ": add one to " << rowsFileOf(declaration.name);
  }
}

TEST(HeaderTest, StatesArgumentsReplyAndTimeLimitOfTheProtocol) {
  for (const Declaration& declaration : remoteDeclarations()) {
    SCOPED_TRACE(declaration.name + " of " + kHeader);
    const velprotocol::Method* const method = velprotocol::find(declaration.method);
    if (!method) {
      ADD_FAILURE() << declaration.method << " has no row in vel/protocol/methods.h";
      continue;
    }

    EXPECT_EQ(typesIn(declaration.arguments),
              typesIn(velprotocol::ArgumentList(method->arguments)));
    EXPECT_EQ(typesIn(declaration.reply), typesIn(velprotocol::ArgumentList(method->reply)));
    EXPECT_EQ(timeoutIn(declaration.comment), method->timeoutMs);
  }
}

}  // namespace
