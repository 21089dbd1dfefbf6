// Makes a format and a list of arguments from arbitrary bytes. For all of them, formatting into a
// small buffer must write the beginning of the whole text and must not write beyond the buffer.
//
// Bytes: the capacity, the number of arguments, a kind and a value for each, then the format with
// one byte for each unit. Bytes from 0x80 on become high units, some of them surrogates.

#include "qxframework/automation/format.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <span>
#include <vector>

namespace {

constexpr OLECHAR kGuard = 0xBEEF;

// Reads the input from the front; every read beyond its end yields zeros or an empty text.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  std::uint8_t byte() {
    if (bytes_.empty()) return 0;
    const std::uint8_t value = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return value;
  }
  std::uint64_t word() {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value = value << 8 | byte();
    return value;
  }
  std::string narrow(std::size_t length) {
    std::string text;
    while (text.size() < length && !bytes_.empty()) text.push_back(static_cast<char>(byte()));
    return text;
  }
  std::u16string wide(std::size_t length) {
    std::u16string text;
    while (text.size() < length && !bytes_.empty()) text.push_back(unit(byte()));
    return text;
  }
  std::u16string rest() { return wide(bytes_.size()); }

 private:
  static char16_t unit(std::uint8_t value) {
    return static_cast<char16_t>(value < 0x80 ? value : 0xD700 + 16 * (value - 0x80));
  }

  std::span<const std::uint8_t> bytes_;
};

// The arguments, and the texts that they borrow. A deque does not move its elements when it grows.
struct Arguments {
  std::deque<std::u16string> wide;
  std::deque<std::string> narrow;
  std::vector<qx::FormatArg> list;

  void add(Input& input) {
    switch (input.byte() % 8) {
      case 0:
        return list.emplace_back(static_cast<std::int64_t>(input.word())), void();
      case 1:
        return list.emplace_back(input.word()), void();
      case 2:
        return list.emplace_back(std::bit_cast<double>(input.word())), void();
      case 3:
        return list.emplace_back(wide.emplace_back(input.wide(input.byte()))), void();
      case 4:
        return list.emplace_back(narrow.emplace_back(input.narrow(input.byte()))), void();
      case 5:
        return list.emplace_back(static_cast<const OLECHAR*>(nullptr)), void();
      case 6:
        return list.emplace_back(static_cast<int>(static_cast<std::int8_t>(input.byte()))), void();
      default:
        return list.emplace_back(reinterpret_cast<const void*>(input.word())), void();
    }
  }
};

void check(bool right) {
  if (!right) std::abort();
}

// Formats into `room` units, with a guard after them, and compares with the whole text.
void compare(std::size_t room, const std::u16string& whole, const std::u16string& format,
             qx::FormatArgs args) {
  std::vector<OLECHAR> buffer(room + 1, kGuard);
  const int length = qx::formatInto(buffer.data(), room, format, args);
  check(buffer[room] == kGuard);
  if (room == 0) return check(length == -1);
  const bool fits = whole.size() < room;
  const std::size_t kept = fits ? whole.size() : room - 1;
  check(length == (fits ? static_cast<int>(whole.size()) : -1));
  check(buffer[kept] == 0);
  check(std::equal(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(kept),
                   whole.begin()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input({data, size});
  const std::size_t room = input.byte();
  Arguments arguments;
  for (int left = input.byte() % 6; left > 0; --left) arguments.add(input);
  const std::u16string format = input.rest();
  const std::u16string whole = qx::formatText(format, arguments.list);
  compare(room, whole, format, arguments.list);
  compare(whole.size() + 1, whole, format, arguments.list);
  return 0;
}
