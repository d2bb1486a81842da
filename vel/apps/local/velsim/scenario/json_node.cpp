#include "vel/apps/local/velsim/scenario/json_node.h"

#include <algorithm>
#include <iterator>
#include <type_traits>
#include <utility>

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "base/utf8.h"

namespace velsim {
namespace {

constexpr std::size_t kMostShownBytes = 48;

std::string shortened(std::string_view text) {
  const std::string_view cut = base::cutBetweenCharacters(text, kMostShownBytes);
  return base::printable(cut) + (cut.size() < text.size() ? "..." : "");
}

// An iterator over a text that notes where the last character was read.
class NotingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  NotingIterator(const char* at, const char** lastRead) : at_(at), lastRead_(lastRead) {}

  const char& operator*() const {
    *lastRead_ = at_;
    return *at_;
  }
  NotingIterator& operator++() {
    ++at_;
    return *this;
  }
  bool operator==(const NotingIterator& other) const { return at_ == other.at_; }
  bool operator!=(const NotingIterator& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  const char** lastRead_;
};

// "syntax error while ..." of a text such as "[json.exception...] parse error at line 2, column 3:
// syntax error while ...".
std::string reasonOf(std::string_view what) {
  for (const std::string_view before : {"] ", "parse error at line ", ": "}) {
    const std::size_t place = what.find(before);
    if (place == std::string_view::npos) {
      break;
    }
    what.remove_prefix(place + before.size());
  }
  return base::printable(what);
}

nlohmann::ordered_json asJson(const JsonNode& node) {
  nlohmann::ordered_json json;
  switch (node.kind()) {
    case JsonNode::Kind::kArray:
      json = nlohmann::ordered_json::array();
      for (const auto& child : node.children()) {
        json.push_back(asJson(*child));
      }
      return json;
    case JsonNode::Kind::kObject:
      json = nlohmann::ordered_json::object();
      for (const auto& child : node.children()) {
        json[child->key()] = asJson(*child);
      }
      return json;
    case JsonNode::Kind::kNull:
    case JsonNode::Kind::kBoolean:
    case JsonNode::Kind::kNumber:
    case JsonNode::Kind::kText:
      break;
  }
  std::visit(
      [&json](const auto& value) {
        if constexpr (!std::is_same_v<std::decay_t<decltype(value)>, std::monostate>) {
          json = value;
        }
      },
      node.value());
  return json;
}

}  // namespace

std::string jsonOf(const JsonNode& node) {
  return asJson(node).dump();
}

std::string shownText(std::string_view text) {
  return base::quoted(shortened(text));
}

std::string JsonNode::path() const {
  if (!parent_) {
    return "top level";
  }
  std::vector<const JsonNode*> steps;
  for (const JsonNode* step = this; step->parent_; step = step->parent_) {
    steps.push_back(step);
  }
  std::string path;
  for (auto step = steps.rbegin(); step != steps.rend(); ++step) {
    if ((*step)->parent_->kind_ == Kind::kArray) {
      path += "[" + std::to_string((*step)->index_) + "]";
    } else {
      path += (path.empty() ? "" : ".") + shortened((*step)->key_);
    }
  }
  return path;
}

const JsonNode* JsonNode::member(std::string_view key) const {
  const auto found = std::find_if(children_.begin(), children_.end(),
                                  [key](const auto& child) { return child->key_ == key; });
  return kind_ == Kind::kObject && found != children_.end() ? found->get() : nullptr;
}

std::string JsonNode::shown() const {
  switch (kind_) {
    case Kind::kNull:
      return "null";
    case Kind::kBoolean:
      return std::get<bool>(value_) ? "true" : "false";
    case Kind::kNumber:
      if (const auto* const unsignedNumber = std::get_if<std::uint64_t>(&value_)) {
        return std::to_string(*unsignedNumber);
      }
      if (const auto* const negative = std::get_if<std::int64_t>(&value_)) {
        return std::to_string(*negative);
      }
      return nlohmann::json(std::get<double>(value_)).dump();
    case Kind::kText:
      return "the text " + shownText(std::get<std::string>(value_));
    case Kind::kArray:
      return "an array";
    case Kind::kObject:
      return "an object";
  }
  return "";
}

void Mistakes::addMember(const JsonNode& object, std::string_view key, const std::string& text) {
  const std::string path = object.path();
  add(object.line(), path == "top level" ? std::string(key) : path + "." + std::string(key), text);
}

void Mistakes::add(int line, const std::string& path, const std::string& text) {
  if (!isFull()) {
    found_.push_back({line, path, text});
  }
}

std::vector<std::string> Mistakes::lines() const {
  std::vector<Mistake> sorted = found_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Mistake& a, const Mistake& b) { return a.line < b.line; });
  std::vector<std::string> lines;
  lines.reserve(sorted.size() + 1);
  for (const Mistake& mistake : sorted) {
    lines.push_back(base::printable(file_ + ":" + std::to_string(mistake.line) + ": " +
                                    (mistake.path.empty() ? "" : mistake.path + ": ") +
                                    mistake.text));
  }
  if (isFull()) {
    lines.push_back(base::printable(file_) + ": too many mistakes, perhaps more");
  }
  return lines;
}

// Receives the parts of a text from the parser.
class TreeBuilder {
 public:
  TreeBuilder(std::string_view text, Mistakes& mistakes)
      : counted_(text.data()), lastRead_(text.data()), mistakes_(mistakes) {}

  const char** lastRead() { return &lastRead_; }
  std::unique_ptr<JsonNode> takeRoot() { return std::move(root_); }

  bool null() { return add(JsonNode::Kind::kNull, {}); }
  bool boolean(bool value) { return add(JsonNode::Kind::kBoolean, value); }
  bool number_integer(std::int64_t value) { return add(JsonNode::Kind::kNumber, value); }
  bool number_unsigned(std::uint64_t value) { return add(JsonNode::Kind::kNumber, value); }
  bool number_float(double value, const std::string&) {
    return add(JsonNode::Kind::kNumber, value);
  }
  bool string(std::string& value) { return add(JsonNode::Kind::kText, std::move(value)); }
  bool binary(nlohmann::json::binary_t&) { return false; }
  bool start_object(std::size_t) { return open(JsonNode::Kind::kObject); }
  bool start_array(std::size_t) { return open(JsonNode::Kind::kArray); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }

  bool key(std::string& key) {
    key_ = std::move(key);
    return true;
  }

  bool parse_error(std::size_t, const std::string&, const nlohmann::json::exception& error) {
    return fail("not JSON: " + reasonOf(error.what()));
  }

 private:
  // Of the last character that was read. The parser reads one character beyond a number, which may
  // be the end of the line: this belongs to the line that it ends.
  int line() {
    line_ += static_cast<int>(std::count(counted_, lastRead_, '\n'));
    counted_ = lastRead_;
    return line_;
  }

  bool fail(const std::string& text) {
    mistakes_.add(line(), "", text);
    return false;
  }

  bool add(JsonNode::Kind kind, JsonNode::Value value) {
    if (++nodes_ > kMostJsonNodes) {
      return fail("more than " + std::to_string(kMostJsonNodes) + " values");
    }
    JsonNode* const parent = open_.empty() ? nullptr : open_.back();
    auto node = std::make_unique<JsonNode>(parent, kind, line());
    node->value_ = std::move(value);
    last_ = node.get();
    if (!parent) {
      root_ = std::move(node);
      return true;
    }
    if (parent->kind_ == JsonNode::Kind::kObject) {
      node->key_ = std::move(key_);
      keys_.back().push_back(last_);
    } else {
      node->index_ = parent->children_.size();
    }
    parent->children_.push_back(std::move(node));
    return true;
  }

  bool open(JsonNode::Kind kind) {
    if (open_.size() == static_cast<std::size_t>(kMostJsonDepth)) {
      return fail("nested more than " + std::to_string(kMostJsonDepth) + " levels deep");
    }
    if (!add(kind, {})) {
      return false;
    }
    open_.push_back(last_);
    keys_.emplace_back();
    return true;
  }

  bool close() {
    dropRepeated(*open_.back(), std::move(keys_.back()));
    open_.pop_back();
    keys_.pop_back();
    return true;
  }

  void dropRepeated(JsonNode& object, std::vector<JsonNode*> members) {
    std::stable_sort(members.begin(), members.end(),
                     [](const JsonNode* a, const JsonNode* b) { return a->key_ < b->key_; });
    std::vector<const JsonNode*> repeated;
    const JsonNode* first = nullptr;
    for (const JsonNode* const member : members) {
      if (first && first->key_ == member->key_) {
        mistakes_.add(*member,
                      "the member stands twice; first in line " + std::to_string(first->line()));
        repeated.push_back(member);
      } else {
        first = member;
      }
    }
    if (repeated.empty()) {
      return;
    }
    std::sort(repeated.begin(), repeated.end());
    auto& children = object.children_;
    children.erase(std::remove_if(children.begin(), children.end(),
                                  [&repeated](const auto& child) {
                                    return std::binary_search(repeated.begin(), repeated.end(),
                                                              child.get());
                                  }),
                   children.end());
  }

  const char* counted_;   // the lines before it are counted
  const char* lastRead_;  // not behind the end
  int line_ = 1;
  Mistakes& mistakes_;
  std::size_t nodes_ = 0;
  std::string key_;
  JsonNode* last_ = nullptr;
  std::vector<JsonNode*> open_;
  std::vector<std::vector<JsonNode*>> keys_;  // members of each open object
  std::unique_ptr<JsonNode> root_;
};

std::unique_ptr<JsonNode> parseJson(std::string_view text, Mistakes& mistakes) {
  if (text.size() > kMostJsonBytes) {
    mistakes.add(1, "", "longer than " + std::to_string(kMostJsonBytes) + " bytes");
    return nullptr;
  }
  TreeBuilder builder(text, mistakes);
  const bool isJson = nlohmann::json::sax_parse(
      NotingIterator(text.data(), builder.lastRead()),
      NotingIterator(text.data() + text.size(), builder.lastRead()), &builder);
  return isJson ? builder.takeRoot() : nullptr;
}

}  // namespace velsim
