#include "vel/apps/local/velctl/output/time_forms.h"

#include <ctime>

namespace velctl {
namespace {

// The rest of a second behind the whole ones: ".250".
std::string milliseconds(std::chrono::system_clock::time_point time) {
  using Milliseconds = std::chrono::milliseconds;
  constexpr Milliseconds::rep kPerSecond = 1000;
  const auto rest = std::chrono::floor<Milliseconds>(time).time_since_epoch().count() % kPerSecond;
  return '.' + std::to_string(kPerSecond + rest).substr(1);
}

std::string formatted(std::chrono::system_clock::time_point time, const char* format) {
  const std::time_t seconds =
      std::chrono::system_clock::to_time_t(std::chrono::floor<std::chrono::seconds>(time));
  std::tm local = {};
  ::localtime_r(&seconds, &local);
  char text[64] = {};
  std::strftime(text, sizeof text, format, &local);
  return text;
}

}  // namespace

std::string clockTime(std::chrono::system_clock::time_point time) {
  return formatted(time, "%H:%M:%S") + milliseconds(time);
}

std::string isoTime(std::chrono::system_clock::time_point time) {
  // "+0100"
  std::string zone = formatted(time, "%z");
  constexpr std::size_t kHours = 3;
  if (zone.size() > kHours) {
    zone.insert(kHours, 1, ':');
  }
  return formatted(time, "%Y-%m-%dT%H:%M:%S") + milliseconds(time) + zone;
}

std::string ageText(std::chrono::seconds age) {
  using Minutes = std::chrono::minutes;
  using Hours = std::chrono::hours;
  constexpr auto kDay = Hours(24);
  const auto two = [](long long first, const char* unit, long long second, const char* next) {
    return std::to_string(first) + unit + (second > 0 ? ' ' + std::to_string(second) + next : "");
  };
  if (age >= kDay) {
    return two(age / kDay, " d", age % kDay / Hours(1), " h");
  }
  if (age >= Hours(1)) {
    return two(age / Hours(1), " h", age % Hours(1) / Minutes(1), " min");
  }
  return age >= Minutes(1) ? two(age / Minutes(1), " min", age.count() % 60, " s")
                           : std::to_string(age.count()) + " s";
}

}  // namespace velctl
