#include "qxframework/diagnostics/internal/undecorate.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace qx::diagnostics {
namespace {

constexpr std::string_view kOpen = "([{";
constexpr std::string_view kClose = ")]}";
constexpr std::string_view kOperator = "operator";

// True if the `<` or `>` at `at` belongs to the name of an operator, such as operator<< or
// operator->, and does not enclose template arguments.
bool isOperatorSign(std::string_view text, std::size_t at) {
  while (at > 0 && std::string_view("<>=-").find(text[at - 1]) != std::string_view::npos) --at;
  return text.substr(0, at).ends_with(kOperator);
}

// Returns the change of the depth of brackets at `at`.
int step(std::string_view text, std::size_t at) {
  const char sign = text[at];
  if (kOpen.find(sign) != std::string_view::npos) return 1;
  if (kClose.find(sign) != std::string_view::npos) return -1;
  if ((sign == '<' || sign == '>') && !isOperatorSign(text, at)) return sign == '<' ? 1 : -1;
  return 0;
}

// Returns the place of the parenthesis that opens the last group of `text` at depth 0, which is the
// list of parameters, or npos if there is none. "operator()" itself is no such list.
std::size_t parameterList(std::string_view text) {
  int depth = 0;
  for (std::size_t at = text.rfind(')') + 1; at-- > 0;) {
    depth -= step(text, at);
    if (depth == 0 && text[at] == '(') {
      return text.substr(0, at).ends_with(kOperator) ? std::string_view::npos : at;
    }
  }
  return std::string_view::npos;
}

// Returns the place after the blank at depth 0 that ends a function template's result, or 0.
std::size_t startOfName(std::string_view text) {
  const std::size_t named = text.rfind(kOperator);
  int depth = 0;
  std::size_t start = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    // What follows the word may have blanks: "operator new", "operator unsigned long".
    if (at == named && depth == 0) return start;
    depth += step(text, at);
    if (depth == 0 && text[at] == ' ') start = at + 1;
  }
  return start;
}

}  // namespace

std::string fullSignature(const std::string& name) {
  if (!name.starts_with("_Z")) return name;
  const std::unique_ptr<char, decltype(&std::free)> text(
      abi::__cxa_demangle(name.c_str(), nullptr, nullptr, nullptr), &std::free);
  return text == nullptr ? name : text.get();
}

std::string nameOnly(const std::string& signature) {
  // A part of a function that the compiler has moved: "f(int) [clone .cold]".
  std::string_view text = std::string_view(signature).substr(0, signature.find(" [clone"));
  const std::size_t list = parameterList(text);
  if (list == std::string_view::npos) return std::string(text);
  text = text.substr(0, list);
  return std::string(text.substr(startOfName(text)));
}

}  // namespace qx::diagnostics
