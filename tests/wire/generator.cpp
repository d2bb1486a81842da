#include "tests/wire/generator.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "bus/dbus/wire/byte_order.h"
#include "bus/dbus/wire/grammar.h"
#include "tests/wire/encoder.h"

namespace wiretest {
namespace {

using qxbus::wire::ByteOrder;

constexpr std::string_view kBasicTypes = "ybnqiuxtdsogh";
constexpr std::string_view kLetters = "ablyzABYZ_";
constexpr std::string_view kLettersAndDigits = "abyzABYZ_0189";
constexpr std::size_t kLargestBody = 2000;

std::size_t sizeOf(char type) {
  switch (type) {
    case 'y':
      return 1;
    case 'n':
    case 'q':
      return 2;
    case 'x':
    case 't':
    case 'd':
      return 8;
    default:
      return 4;
  }
}

std::size_t alignmentOf(char type) {
  switch (type) {
    case 'g':
    case 'v':
      return 1;
    case '(':
    case '{':
      return 8;
    default:
      return sizeOf(type);
  }
}

std::string randomType(Random* random, int depth) {
  const std::size_t kind = depth > 5 ? 0 : random->below(10);
  switch (kind) {
    case 6:
      return "v";
    case 7:
      return "a" + randomType(random, depth + 1);
    case 8: {
      std::string fields = randomType(random, depth + 1);
      while (random->chance(50)) {
        fields += randomType(random, depth + 1);
      }
      return '(' + fields + ')';
    }
    case 9:
      return std::string("a{") + random->oneOf(kBasicTypes) + randomType(random, depth + 1) + '}';
    default:
      return {random->oneOf(kBasicTypes)};
  }
}

// About as deep as types may be nested.
std::string deepType(Random* random) {
  const std::size_t depth = 30 + random->below(4);
  switch (random->below(4)) {
    case 0:
      return std::string(depth, 'a') + "i";
    case 1:
      return std::string(depth, '(') + "s" + std::string(depth, ')');
    case 2:
      return std::string(depth, 'a') + std::string(30, '(') + "y" + std::string(30, ')');
    default: {
      std::string type = "v";
      for (std::size_t i = 0; i < depth; ++i) {
        type.insert(0, "a{y");
        type += '}';
      }
      return type;
    }
  }
}

class ValueWriter {
 public:
  ValueWriter(Encoder* encoder, Random* random) : encoder_(encoder), random_(random) {}

  void writeAll(std::string_view signature, int depth = 0) {
    while (!signature.empty()) {
      const std::size_t length = qxbus::wire::lengthOfFirstType(signature);
      write(signature.substr(0, length), depth);
      signature.remove_prefix(length);
    }
  }

 private:
  void write(std::string_view type, int depth) {
    switch (type.front()) {
      case 'b':
        return encoder_->number(random_->below(2), 4);
      case 's':
        return encoder_->string(randomText(random_));
      case 'o':
        return encoder_->string(randomObjectPath(random_));
      case 'g':
        return encoder_->signature(randomSignature(random_, 3));
      case 'v':
        return writeVariant(depth);
      case 'a':
        return writeArray(type.substr(1), depth);
      case '(':
      case '{':
        encoder_->pad(8);
        return writeAll(type.substr(1, type.size() - 2), depth + 1);
      default:
        return encoder_->number(randomNumber(), sizeOf(type.front()));
    }
  }

  std::uint64_t randomNumber() {
    static constexpr std::uint64_t kEdges[] = {
        0, 1, 0x7F, 0x80, 0x7FFF, 0x8000, 0x7FFFFFFF, 0x80000000, ~std::uint64_t{0}};
    return random_->chance(50) ? random_->oneOf(kEdges) : random_->next();
  }

  void writeVariant(int depth) {
    if (random_->chance(1) && depth == 0) {
      return writeVariantsInVariants();
    }
    const std::string type = random_->chance(1) && encoder_->bytes().size() < kLargestBody
                                 ? deepType(random_)
                                 : randomType(random_, depth + 2);
    encoder_->signature(type);
    write(qxbus::wire::isSingleType(type) ? std::string_view(type) : "y", depth + 1);
  }

  // About as many as may be within each other.
  void writeVariantsInVariants() {
    for (std::size_t depth = 60 + random_->below(6); depth > 1; --depth) {
      encoder_->signature("v");
    }
    static constexpr const char* kInnermost[] = {"y",   "s",  "ay",    "as",
                                                 "(y)", "ai", "a{ys}", "a(y)"};
    const char* const innermost = random_->oneOf(kInnermost);
    encoder_->signature(innermost);
    write(innermost, 0);
  }

  void writeArray(std::string_view element, int depth) {
    encoder_->pad(4);
    const std::size_t where = encoder_->bytes().size();
    encoder_->number(0, 4);
    encoder_->pad(alignmentOf(element.front()));
    const std::size_t start = encoder_->bytes().size();
    std::size_t count = depth > 8 ? random_->below(2) : random_->below(4);
    if (element == "y" && random_->chance(20)) {
      count = random_->below(100);
    }
    for (; count > 0 && encoder_->bytes().size() < kLargestBody; --count) {
      write(element, depth + 1);
    }
    encoder_->setLength(where, start);
  }

  Encoder* encoder_;
  Random* random_;
};

struct Field {
  unsigned int code;
  char type;
  std::string text;
  std::uint32_t number;
};

std::vector<Field> randomFields(Random* random, unsigned int messageType,
                                const std::string& signature) {
  const bool isCall = messageType == 1;
  const bool isSignal = messageType == 4;
  const bool isReply = messageType == 2 || messageType == 3;
  std::vector<Field> fields;
  const auto text = [&](unsigned int code, char type, bool isRequired, std::string value) {
    if (isRequired || random->chance(30)) {
      fields.push_back({code, type, std::move(value), 0});
    }
  };
  text(1, 'o', isCall || isSignal, randomObjectPath(random));
  text(2, 's', isSignal, randomInterface(random));
  text(3, 's', isCall || isSignal, randomMember(random));
  text(4, 's', messageType == 3, randomInterface(random));
  if (isReply || random->chance(10)) {
    fields.push_back({5, 'u', "", static_cast<std::uint32_t>(random->next() | 1)});
  }
  text(6, 's', false, randomBusName(random));
  text(7, 's', false, randomBusName(random));
  if (!signature.empty() || random->chance(20)) {
    fields.push_back({8, 'g', signature, 0});
  }
  if (random->chance(3)) {
    fields.push_back({9, 'u', "", 0});
  }
  if (random->chance(3)) {
    fields.push_back({10, 'o', randomObjectPath(random), 0});
  }
  if (random->chance(5)) {
    // Unknown: a variant of its own.
    fields.push_back({11 + static_cast<unsigned int>(random->below(245)), 'v', "", 0});
  }
  for (std::size_t i = fields.size(); i > 1; --i) {
    std::swap(fields[i - 1], fields[random->below(i)]);
  }
  return fields;
}

void writeField(Encoder* encoder, Random* random, const Field& field) {
  encoder->pad(8);
  encoder->byte(field.code);
  if (field.type == 'v') {
    return ValueWriter(encoder, random).writeAll("v", 2);
  }
  encoder->signature({field.type});
  switch (field.type) {
    case 'u':
      return encoder->number(field.number, 4);
    case 'g':
      return encoder->signature(field.text);
    default:
      return encoder->string(field.text);
  }
}

std::string randomBodySignature(Random* random) {
  if (random->chance(2)) {
    const std::string deep = deepType(random);
    return qxbus::wire::isSignature(deep) ? deep : "i";
  }
  static constexpr const char* kUsual[] = {"av", "s", "su", "sss", "", "i"};
  return random->chance(40) ? std::string(random->oneOf(kUsual)) : randomSignature(random, 4);
}

// --- Mutations -----------------------------------------------------------------------------------

void setNumber(std::string* message, std::size_t at, std::uint32_t number) {
  Encoder encoder(static_cast<ByteOrder>(message->front()) == ByteOrder::kBig ? ByteOrder::kBig
                                                                              : ByteOrder::kLittle);
  encoder.number(number, 4);
  if (at + 4 <= message->size()) {
    message->replace(at, 4, encoder.bytes());
  }
}

void mutate(std::string* message, Random* random) {
  static constexpr unsigned char kBytes[] = {0,   1,   2,   4,   8,   'a', '(',  ')',
                                             '{', 'v', 's', 'l', 'B', '/', 0x7F, 0xFF};
  static constexpr std::uint32_t kNumbers[] = {
      0, 1, 2, 7, 255, 256, 0x4000000, 0x4000001, 0xFFFF, 0x8000000, 0x8000001, 0xFFFFFFFF};
  // Headers come first, and are long: half of the changes go into the later half.
  const std::size_t first = random->chance(50) ? message->size() / 2 : 0;
  const std::size_t at = first + random->below(message->size() - first);
  const std::size_t length = std::min(random->below(9), message->size() - at);
  switch (random->below(9)) {
    case 0:
    case 1:
      (*message)[at] = static_cast<char>((*message)[at] ^ (1 << random->below(8)));
      break;
    case 2:
      (*message)[at] = static_cast<char>(random->oneOf(kBytes));
      break;
    case 3:
      (*message)[at] = static_cast<char>((*message)[at] + (random->chance(50) ? 1 : -1));
      break;
    case 4:
      setNumber(message, at & ~std::size_t{3}, random->oneOf(kNumbers));
      break;
    case 5:
      message->erase(at, length);
      break;
    case 6:
      message->insert(at, message->substr(random->below(message->size()), length));
      break;
    case 7:
      message->insert(at, length, '\0');
      break;
    default:
      message->resize(at);
      break;
  }
}

}  // namespace

void repairSize(std::string* message) {
  if (message->size() < 16) {
    return;
  }
  const auto order = static_cast<ByteOrder>(message->front());
  const std::size_t fields = qxbus::wire::load<std::uint32_t>(message->data() + 12, order);
  const std::size_t header = (16 + fields + 7) / 8 * 8;
  if (header <= message->size()) {
    setNumber(message, 4, static_cast<std::uint32_t>(message->size() - header));
  }
}

std::string randomText(Random* random) {
  static constexpr const char* kCharacters[] = {"a",
                                                "Z",
                                                "0",
                                                " ",
                                                "\x7F",
                                                "\x01",
                                                "\xC2\x80",
                                                "\xDF\xBF",
                                                "\xE0\xA0\x80",
                                                "\xED\x9F\xBF",
                                                "\xEE\x80\x80",
                                                "\xEF\xBF\xBF",
                                                "\xF0\x90\x80\x80",
                                                "\xF4\x8F\xBF\xBF"};
  std::string text;
  const std::size_t most = random->chance(10) ? 100 : 12;
  for (std::size_t count = random->below(most); count > 0; --count) {
    text += random->chance(80) ? "x" : random->oneOf(kCharacters);
  }
  return text;
}

std::string randomObjectPath(Random* random) {
  std::string path = random->chance(1) ? "/org/freedesktop/DBus/Loca" + randomMember(random) : "";
  for (std::size_t count = random->below(4); count > 0; --count) {
    path += '/' + random->textOver(kLettersAndDigits, 1 + random->below(6));
  }
  return path.empty() ? "/" : path;
}

std::string randomMember(Random* random) {
  const std::size_t length = random->chance(1) ? 250 + random->below(5) : random->below(10);
  return random->oneOf(kLetters) + random->textOver(kLettersAndDigits, length);
}

std::string randomInterface(Random* random) {
  if (random->chance(1)) {
    return "org.freedesktop.DBus.Loca" + randomMember(random);
  }
  std::string name = random->textOver(kLetters, 1 + random->below(4));
  do {
    name += '.';
    name += random->oneOf(kLetters) + random->textOver(kLettersAndDigits, random->below(5));
  } while (random->chance(40));
  return name;
}

std::string randomBusName(Random* random) {
  if (random->chance(1)) {
    return ':' + random->textOver(":.-a1", random->below(4));
  }
  return random->chance(60) ? ":1." + std::to_string(random->below(1000))
                            : randomInterface(random) + "-x";
}

std::string randomSignature(Random* random, std::size_t most) {
  std::string signature;
  for (std::size_t count = random->below(most + 1); count > 0; --count) {
    const std::string type = randomType(random, 0);
    if (signature.size() + type.size() <= 255) {
      signature += type;
    }
  }
  return signature;
}

std::string randomMessage(Random* random) {
  const ByteOrder order = random->chance(50) ? ByteOrder::kLittle : ByteOrder::kBig;
  const unsigned int type = 1 + static_cast<unsigned int>(random->below(random->chance(3) ? 9 : 4));
  const std::string signature = randomBodySignature(random);
  Encoder body(order);
  ValueWriter(&body, random).writeAll(signature);

  Encoder message(order);
  message.byte(static_cast<unsigned char>(order));
  message.byte(type);
  message.byte(static_cast<unsigned int>(random->below(random->chance(10) ? 256 : 4)));
  message.byte(1);
  message.number(body.bytes().size(), 4);
  message.number(random->next() | 1, 4);
  message.number(0, 4);
  for (const Field& field : randomFields(random, type, signature)) {
    writeField(&message, random, field);
  }
  message.setLength(12, 16);
  message.pad(8);
  message.append(body.bytes());
  return message.bytes();
}

std::string mutated(std::string message, Random* random) {
  const bool isRepaired = random->chance(80);
  for (std::size_t count = 1 + random->below(3); count > 0 && !message.empty(); --count) {
    mutate(&message, random);
  }
  if (isRepaired) {
    repairSize(&message);
  }
  return message;
}

}  // namespace wiretest
