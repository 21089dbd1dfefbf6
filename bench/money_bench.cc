// Measures money against the simplest code for the same job, a 64-bit number of millionths with
// 128-bit intermediate results, and against a decimal library. All sides get the same amounts, and
// their results are compared before anything is measured.

#include "bench/measure.h"
#include "qxframework/foundation/currency.h"
#include "testing/amounts.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#ifdef QX_HAS_MPDEC
#include <mpdecimal.h>
#endif

namespace {

using qx::test::fromMillionths;
using qx::test::millionthsOf;
using qx::test::textOf;

constexpr std::size_t kAmounts = 4096;
constexpr int kRounds = 60;
constexpr int kPasses = 8;

// The arithmetic written without a class. Inlining is off, because functions of a library are calls
// too.
namespace plain {

__extension__ typedef __int128 Wide;

std::int64_t narrowed(Wide value) {
  if (value > std::numeric_limits<std::int64_t>::max() ||
      value < std::numeric_limits<std::int64_t>::min()) {
    throw std::overflow_error("money");
  }
  return static_cast<std::int64_t>(value);
}

[[gnu::noinline]] std::int64_t multiply(std::int64_t a, std::int64_t b) {
  return narrowed(Wide{a} * b / 1'000'000);
}

[[gnu::noinline]] std::int64_t divide(std::int64_t a, std::int64_t b) {
  const Wide sevenDecimals = Wide{a} * 10'000'000 / b;
  return narrowed((sevenDecimals + (sevenDecimals < 0 ? -5 : 5)) / 10);
}

[[gnu::noinline]] std::int64_t round(std::int64_t value, int places) {
  static constexpr std::array<std::int64_t, 7> kUnits = {1'000'000, 100'000, 10'000, 1'000,
                                                         100,       10,      1};
  const std::int64_t unit = kUnits[static_cast<std::size_t>(places)];
  const Wide moved = Wide{value} + (value < 0 ? -unit / 2 : unit / 2);
  return narrowed(moved) / unit * unit;
}

[[gnu::noinline]] CComBSTR print(std::int64_t value) {
  std::array<char, 32> text;
  const std::int64_t magnitude = value < 0 ? -value : value;
  text[0] = '-';
  char* const digits = text.data() + 1;
  char* end = std::to_chars(digits, text.data() + 24, magnitude / 1'000'000).ptr;
  *end = '.';
  auto fraction = static_cast<std::uint32_t>(magnitude % 1'000'000);
  for (int i = 6; i > 0; --i, fraction /= 10) end[i] = static_cast<char>('0' + fraction % 10);
  const char* const begin = value < 0 ? text.data() : digits;
  std::array<OLECHAR, 32> wide;
  const auto length = static_cast<std::size_t>(end + 7 - begin);
  std::copy_n(begin, length, wide.data());
  return CComBSTR(std::u16string_view(wide.data(), length));
}

}  // namespace plain

struct Pair {
  std::int64_t amount;
  std::int64_t price;
};

// Returns amounts up to a million with cents, of both signs, and prices up to ten thousand with six
// decimals.
std::vector<Pair> samples() {
  std::mt19937_64 random(42);
  std::uniform_int_distribution<std::int64_t> cents(-100'000'000, 100'000'000);
  std::uniform_int_distribution<std::int64_t> millionths(1, 10'000'000'000);
  std::vector<Pair> pairs;
  for (std::size_t i = 0; i < kAmounts; ++i)
    pairs.push_back({cents(random) * 10'000, millionths(random)});
  return pairs;
}

CQXCurrency rounded(CQXCurrency amount) {
  amount.Round(2);
  return amount;
}

struct Operand {
  CQXCurrency amount;
  CQXCurrency price;
};

// Calls the operation with each item, many times. The operation passes its result to keep() itself,
// while a result that owns memory still exists.
template <class Item, class Operation>
void passes(const std::vector<Item>& items, Operation&& operation) {
  for (int i = 0; i < kPasses; ++i)
    for (const Item& item : items) operation(item);
}

template <class Ours, class Peer>
void compareWithPlain(const char* name, const std::vector<Operand>& operands,
                      const std::vector<Pair>& pairs, Ours&& oursOf, Peer&& peerOf) {
  const auto best = qx::bench::compare(
      kRounds, [&] { passes(operands, oursOf); }, [&] { passes(pairs, peerOf); });
  constexpr double kCalls = kAmounts * kPasses;
  std::printf("%s: ours %.2f ns, plain %.2f ns\n", name, best.ours / kCalls * 1e9,
              best.peer / kCalls * 1e9);
  qx::bench::printRatio(name, best.ratio());
}

bool plainAgrees(const std::vector<Pair>& pairs) {
  return std::all_of(pairs.begin(), pairs.end(), [](const Pair& pair) {
    const CQXCurrency amount = fromMillionths(pair.amount);
    const CQXCurrency price = fromMillionths(pair.price);
    return millionthsOf(amount * price) == plain::multiply(pair.amount, pair.price) &&
           millionthsOf(amount / price) == plain::divide(pair.amount, pair.price) &&
           millionthsOf(rounded(price)) == plain::round(pair.price, 2) &&
           amount.ToString().View() == plain::print(pair.amount).View();
  });
}

#ifdef QX_HAS_MPDEC

// Decimals with six places in the library's representation. 38 digits hold every exact product.
class Decimals {
 public:
  Decimals() {
    mpd_init(&cut_, 38);
    // Multiplication cuts, division and rounding round half up, as the framework's money does.
    mpd_qsetround(&cut_, MPD_ROUND_DOWN);
    half_ = cut_;
    mpd_qsetround(&half_, MPD_ROUND_HALF_UP);
    result_ = mpd_qnew();
  }
  ~Decimals() {
    mpd_del(result_);
    for (mpd_t* each : made_) mpd_del(each);
  }
  Decimals(const Decimals&) = delete;
  Decimals& operator=(const Decimals&) = delete;

  mpd_t* decimalOf(std::int64_t millionths) {
    std::uint32_t status = 0;
    mpd_t* decimal = mpd_qnew();
    mpd_qset_i64(decimal, millionths, &cut_, &status);
    decimal->exp = -6;
    made_.push_back(decimal);
    return decimal;
  }
  const mpd_t* multiply(const mpd_t* a, const mpd_t* b) {
    mpd_qmul(result_, a, b, &cut_, &status_);
    mpd_qrescale(result_, result_, -6, &cut_, &status_);
    return result_;
  }
  const mpd_t* divide(const mpd_t* a, const mpd_t* b) {
    mpd_qdiv(result_, a, b, &cut_, &status_);
    mpd_qrescale(result_, result_, -6, &half_, &status_);
    return result_;
  }
  const mpd_t* round(const mpd_t* a) {
    mpd_qrescale(result_, a, -2, &half_, &status_);
    return result_;
  }
  static std::string print(const mpd_t* a) {
    char* text = mpd_to_sci(a, 1);
    std::string copy(text);
    mpd_free(text);
    return copy;
  }
  static void printAndDrop(const mpd_t* a) {
    char* text = mpd_to_sci(a, 1);
    qx::bench::keep(text);
    mpd_free(text);
  }

 private:
  mpd_context_t cut_{};
  mpd_context_t half_{};
  std::uint32_t status_ = 0;
  mpd_t* result_ = nullptr;
  std::vector<mpd_t*> made_;
};

struct DecimalPair {
  mpd_t* amount;
  mpd_t* price;
};

bool decimalsAgree(Decimals& decimals, const Operand& ours, const DecimalPair& theirs) {
  const std::string price = textOf(rounded(ours.price));
  return Decimals::print(decimals.multiply(theirs.amount, theirs.price)) ==
             textOf(ours.amount * ours.price) &&
         Decimals::print(decimals.divide(theirs.amount, theirs.price)) ==
             textOf(ours.amount / ours.price) &&
         // A rounded result has two decimals in the library and six in the framework.
         Decimals::print(decimals.round(theirs.price)) + "0000" == price &&
         Decimals::print(theirs.amount) == textOf(ours.amount);
}

bool compareWithDecimals(const std::vector<Operand>& operands, const std::vector<Pair>& pairs) {
  Decimals decimals;
  std::vector<DecimalPair> theirs;
  for (const Pair& pair : pairs)
    theirs.push_back({decimals.decimalOf(pair.amount), decimals.decimalOf(pair.price)});
  for (std::size_t i = 0; i < theirs.size(); ++i)
    if (!decimalsAgree(decimals, operands[i], theirs[i])) return false;
  const auto best = qx::bench::compare(
      kRounds,
      [&] {
        for (const Operand& each : operands) {
          qx::bench::keep(each.amount * each.price);
          qx::bench::keep(each.amount / each.price);
          qx::bench::keep(rounded(each.price));
          qx::bench::keep(each.amount.ToString().m_str);
        }
      },
      [&] {
        for (const DecimalPair& each : theirs) {
          qx::bench::keep(decimals.multiply(each.amount, each.price));
          qx::bench::keep(decimals.divide(each.amount, each.price));
          qx::bench::keep(decimals.round(each.price));
          Decimals::printAndDrop(each.amount);
        }
      });
  std::printf("money-mpdec: one of each, ours %.0f ns, libmpdec %.0f ns\n",
              best.ours / kAmounts * 1e9, best.peer / kAmounts * 1e9);
  qx::bench::printRatio("money-mpdec", best.ratio());
  return true;
}

#else

bool compareWithDecimals(const std::vector<Operand>&, const std::vector<Pair>&) {
  std::puts("money-mpdec: NOT MEASURED: libmpdec is missing; scripts/fetch_libmpdec.sh builds it");
  return true;
}

#endif

}  // namespace

int main() {
  const std::vector<Pair> pairs = samples();
  std::vector<Operand> operands;
  for (const Pair& pair : pairs)
    operands.push_back({fromMillionths(pair.amount), fromMillionths(pair.price)});
  if (!plainAgrees(pairs)) {
    std::puts("the results of the plain code differ");
    return 1;
  }
  using qx::bench::keep;
  compareWithPlain(
      "money-mul", operands, pairs, [](const Operand& each) { keep(each.amount * each.price); },
      [](const Pair& each) { keep(plain::multiply(each.amount, each.price)); });
  compareWithPlain(
      "money-div", operands, pairs, [](const Operand& each) { keep(each.amount / each.price); },
      [](const Pair& each) { keep(plain::divide(each.amount, each.price)); });
  compareWithPlain(
      "money-round", operands, pairs, [](const Operand& each) { keep(rounded(each.price)); },
      [](const Pair& each) { keep(plain::round(each.price, CQXCurrency::m_DefaultDecimal)); });
  compareWithPlain(
      "money-print", operands, pairs,
      [](const Operand& each) { keep(each.amount.ToString().m_str); },
      [](const Pair& each) { keep(plain::print(each.amount).m_str); });
  if (!compareWithDecimals(operands, pairs)) {
    std::puts("the results of libmpdec differ");
    return 1;
  }
  return 0;
}
