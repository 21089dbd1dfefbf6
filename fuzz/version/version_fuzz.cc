// Reads versions from arbitrary text: UTF-16 units if the first byte is odd, else UTF-8. The text
// of a version must read back to the same five numbers, and exactly one of <, > and == must hold
// for two versions.

#include "qxframework/automation/text.h"
#include "qxframework/foundation/version.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

std::u16string textOf(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return {};
  const auto* const bytes = reinterpret_cast<const char*>(data + 1);
  if (data[0] % 2 == 0) return qx::toUtf16({bytes, size - 1});
  std::u16string text((size - 1) / 2, u'\0');
  std::memcpy(text.data(), bytes, text.size() * 2);
  return text;
}

bool sameNumbers(const CQXVersion& a, const CQXVersion& b) {
  return a.GetMajor() == b.GetMajor() && a.GetMinor() == b.GetMinor() && a.GetSP() == b.GetSP() &&
         a.GetExt() == b.GetExt() && a.GetEF() == b.GetEF();
}

// The text without the fifth number must read back to the other four.
void requireReadsBack(const CQXVersion& version) {
  const CQXVersion whole{CString(version.GetVersionAsBSTR())};
  require(sameNumbers(whole, version));
  require(whole == version);
  CQXVersion parts{CString(version.GetVersionWithoutEFAsBSTR())};
  require(parts.GetEF() == 0);
  parts.SetEF(version.GetEF());
  require(sameNumbers(parts, version));
}

void requireOrder(const CQXVersion& a, const CQXVersion& b) {
  require((a < b) + (a > b) + (a == b) == 1);
  require((a <= b) == !(a > b));
  require((a >= b) == !(a < b));
  require((a != b) == !(a == b));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text = textOf(data, size);
  const CQXVersion version{CString(text)};
  requireReadsBack(version);
  const std::size_t half = text.size() / 2;
  const CQXVersion front{CString(text.substr(0, half))};
  const CQXVersion back{CString(text.substr(half))};
  requireReadsBack(front);
  requireOrder(front, back);
  requireOrder(version, back);
  return 0;
}
