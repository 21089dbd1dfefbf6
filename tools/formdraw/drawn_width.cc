#include "tools/formdraw/drawn_width.h"

#include "tools/formdraw/text_width.h"

#include <unicode/unorm2.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <utility>

namespace qx::formdraw {
namespace {

// In thousandths of the font's size: the advance widths of DejaVu Sans, read from the font. The
// condensed face, which the forms use, has nine tenths of them.
using Width = std::uint16_t;

// U+0020 to U+007E: Latin letters, digits and signs.
constexpr Width kLatin[] = {
    318, 401, 460, 838, 636, 950, 780, 275, 390, 390, 500, 838, 318, 361,  318, 337, 636, 636, 636,
    636, 636, 636, 636, 636, 636, 636, 337, 337, 838, 838, 838, 531, 1000, 684, 686, 698, 770, 632,
    575, 775, 752, 295, 295, 656, 557, 863, 748, 787, 603, 787, 695, 635,  611, 732, 684, 989, 685,
    611, 685, 390, 337, 390, 838, 500, 500, 613, 635, 550, 635, 615, 352,  635, 634, 278, 278, 579,
    278, 974, 634, 612, 635, 635, 411, 521, 392, 634, 592, 818, 592, 592,  525, 636, 337, 636, 838};

// U+0391 to U+03C9: Greek letters.
constexpr Width kGreek[] = {
    684, 686, 557, 684, 632, 685, 752, 787, 295, 656, 684, 863, 748, 632, 787, 752, 603, 0,   632,
    611, 611, 787, 685, 787, 764, 295, 611, 659, 541, 634, 338, 579, 659, 638, 592, 612, 541, 544,
    634, 612, 338, 589, 592, 636, 559, 558, 612, 602, 635, 587, 634, 602, 579, 660, 578, 660, 837};

// U+0400 to U+045F: Cyrillic letters.
constexpr Width kCyrillic[] = {
    632, 632, 786, 610, 698, 635, 295,  295, 295,  1094, 1045, 786, 710, 748, 609,  752,
    684, 686, 686, 610, 781, 632, 1077, 641, 748,  748,  710,  752, 863, 752, 787,  752,
    603, 698, 611, 609, 861, 685, 776,  686, 1069, 1094, 833,  882, 686, 698, 1080, 695,
    613, 617, 589, 525, 691, 615, 901,  532, 650,  650,  604,  639, 754, 654, 612,  654,
    635, 550, 583, 592, 855, 592, 681,  591, 915,  942,  707,  790, 589, 549, 842,  602,
    615, 615, 625, 525, 549, 521, 278,  278, 278,  902,  898,  652, 604, 650, 592,  654};

// U+05D0 to U+05EA: Hebrew letters.
constexpr Width kHebrew[] = {668, 578, 412, 546, 653, 272, 346, 653, 648, 224, 537, 529, 568, 664,
                             679, 272, 400, 649, 626, 640, 625, 540, 593, 709, 564, 708, 657};

// The others that the client's languages use and that have no base letter, by code.
constexpr std::pair<char32_t, Width> kOthers[] = {
    {0x00A0, 318},  {0x00A1, 401},  {0x00A9, 1000}, {0x00AB, 612},  {0x00AE, 1000}, {0x00B0, 500},
    {0x00B7, 318},  {0x00BA, 471},  {0x00BB, 612},  {0x00BF, 531},  {0x00C6, 974},  {0x00D0, 775},
    {0x00D8, 787},  {0x00DE, 605},  {0x00DF, 630},  {0x00E6, 982},  {0x00F0, 612},  {0x00F8, 612},
    {0x00FE, 635},  {0x0110, 775},  {0x0111, 635},  {0x0131, 278},  {0x0141, 562},  {0x0142, 284},
    {0x0152, 1070}, {0x0153, 1023}, {0x2013, 500},  {0x2014, 1000}, {0x2018, 318},  {0x2019, 318},
    {0x201A, 318},  {0x201C, 518},  {0x201D, 518},  {0x201E, 518},  {0x2022, 590},  {0x2026, 1000},
    {0x20AC, 636},  {0x2116, 1040}};

constexpr Width kUnknown = 700;
constexpr Width kEastAsian = 1111;  // as wide as the size after it is condensed
constexpr long kFontPixels = 11;
constexpr long kCondensedPercent = 90;
// Bold letters are wider by about this in a text of several words.
constexpr long kBoldPercent = 112;

template <std::size_t Count>
bool find(const Width (&widths)[Count], char32_t first, char32_t letter, Width& out) {
  if (letter < first || letter - first >= Count) return false;
  out = widths[letter - first];
  return out != 0;
}

bool findOther(char32_t letter, Width& out) {
  const auto at =
      std::lower_bound(std::begin(kOthers), std::end(kOthers), letter,
                       [](const auto& other, char32_t code) { return other.first < code; });
  if (at == std::end(kOthers) || at->first != letter) return false;
  out = at->second;
  return true;
}

// A letter with marks is as wide as the letter alone.
char32_t baseLetter(char32_t letter) {
  UErrorCode failed = U_ZERO_ERROR;
  const UNormalizer2* const marks = unorm2_getNFDInstance(&failed);
  UChar parts[8] = {};
  if (U_FAILURE(failed)) return letter;
  const auto count = unorm2_getDecomposition(marks, static_cast<UChar32>(letter), parts,
                                             std::size(parts), &failed);
  return U_SUCCESS(failed) && count > 0 && !U16_IS_SURROGATE(parts[0]) ? parts[0] : letter;
}

Width widthOf(char32_t letter) {
  const std::size_t cells = cellsOf(letter);
  if (cells == 0) return 0;
  if (cells == 2) return kEastAsian;
  const char32_t base = baseLetter(letter);
  Width width = kUnknown;
  if (find(kLatin, 0x20, base, width) || find(kGreek, 0x391, base, width) ||
      find(kCyrillic, 0x400, base, width) || find(kHebrew, 0x5D0, base, width) ||
      findOther(base, width)) {
    return width;
  }
  return kUnknown;
}

}  // namespace

long drawnWidth(std::u16string_view text, Weight weight) {
  const long percent = weight == Weight::Bold ? kBoldPercent : 100;
  long thousandths = 0;
  forEachCharacter(text, [&](char32_t letter) { thousandths += widthOf(letter); });
  constexpr long kWhole = 1000 * 100 * 100;
  return (thousandths * kFontPixels * kCondensedPercent * percent + kWhole - 1) / kWhole;
}

}  // namespace qx::formdraw
