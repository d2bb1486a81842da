// JSON files that users write: a tree of values that know their lines, and the mistakes in it.
//
//   Mistakes mistakes("office.json");
//   const std::unique_ptr<JsonNode> root = parseJson(text, mistakes);
//   if (root) {
//     ObjectReader device(*root, mistakes);                        // json_reader.h
//     name = readText(device.need("name"), mistakes, 1, 127).value_or("");
//   }
//   mistakes.lines();  // office.json:7: devices[3].nmae: unknown member; did you mean "name"?
//
// THREADS   One thread at a time.

#ifndef VEL_APPS_LOCAL_VELSIM_SCENARIO_JSON_NODE_H
#define VEL_APPS_LOCAL_VELSIM_SCENARIO_JSON_NODE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace velsim {

class JsonNode {
 public:
  enum class Kind { kNull, kBoolean, kNumber, kText, kArray, kObject };
  // A number from 0 up is a uint64_t, a negative one an int64_t, one with a fraction or an exponent
  // (or too large for both) a double.
  using Value =
      std::variant<std::monostate, bool, std::uint64_t, std::int64_t, double, std::string>;
  using Children = std::vector<std::unique_ptr<JsonNode>>;

  // parent: null for the root; outlives the node.
  JsonNode(const JsonNode* parent, Kind kind, int line)
      : parent_(parent), kind_(kind), line_(line) {}
  ~JsonNode() = default;

  JsonNode(const JsonNode&) = delete;
  JsonNode& operator=(const JsonNode&) = delete;

  Kind kind() const { return kind_; }
  // The first line is 1.
  int line() const { return line_; }
  // Empty unless the node is a member of an object.
  const std::string& key() const { return key_; }
  // Such as "devices[3].name"; "top level" for the root.
  std::string path() const;
  const Value& value() const { return value_; }
  // Elements of an array, or members of an object in the order of the file; no key twice.
  const Children& children() const { return children_; }
  // Null when no member has the key.
  const JsonNode* member(std::string_view key) const;

  // For messages: what the node holds, short and printable, such as: the text "abc", 7, an array.
  std::string shown() const;

 private:
  friend class TreeBuilder;

  const JsonNode* parent_;
  Kind kind_;
  int line_;
  std::size_t index_ = 0;  // in an array
  std::string key_;
  Value value_;
  Children children_;
};

// The mistakes in a file, the first hundred of them.
class Mistakes {
 public:
  static constexpr std::size_t kMost = 100;

  // file: the name that the lines begin with.
  explicit Mistakes(std::string file) : file_(std::move(file)) {}

  void add(const JsonNode& node, const std::string& text) { add(node.line(), node.path(), text); }
  // At a member, which the object need not have.
  void addMember(const JsonNode& object, std::string_view key, const std::string& text);
  // path: empty when there is none.
  void add(int line, const std::string& path, const std::string& text);

  bool isEmpty() const { return found_.empty(); }
  // Further mistakes are not kept.
  bool isFull() const { return found_.size() == kMost; }
  // "FILE:LINE: PATH: TEXT" by line; a last line when there may be more mistakes.
  std::vector<std::string> lines() const;

 private:
  struct Mistake {
    int line;
    std::string path;
    std::string text;
  };

  std::string file_;
  std::vector<Mistake> found_;
};

constexpr std::size_t kMostJsonBytes = std::size_t{4} << 20;
constexpr std::size_t kMostJsonNodes = 500'000;
constexpr int kMostJsonDepth = 32;

// Null, and one mistake, when the text is not JSON, too long, or nested too deeply. A key that
// stands twice in one object is a mistake; its first value counts.
std::unique_ptr<JsonNode> parseJson(std::string_view text, Mistakes& mistakes);

// A value as JSON on one line.
std::string jsonOf(const JsonNode& node);

// A text of the user in a message: printable, cut when it is long, in quotation marks.
std::string shownText(std::string_view text);

}  // namespace velsim

#endif  // VEL_APPS_LOCAL_VELSIM_SCENARIO_JSON_NODE_H
