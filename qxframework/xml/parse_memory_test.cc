// Documents that need more memory than there is. Reading one ends with a reason, never the process.

#include "qxframework/xml/element_tree.h"
#include "qxframework/xml/test_document.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <new>
#include <set>
#include <string>
#include <utility>

namespace qx::xml {
namespace {

constexpr rlim_t kMegabyte = 1 << 20;

enum Outcome { kRead = 0, kRefusedInWords = 1, kOutOfMemory = 2, kRefusedWithoutWords = 3 };

rlim_t addressSpaceInUse() {
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  return pages * static_cast<rlim_t>(getpagesize());
}

/// Takes all memory that the process can get, also what is free within its heap, but `bytes`.
void leaveOnly(rlim_t bytes) {
  constexpr std::size_t kBlock = 64 << 10;
  const rlim_t limit = addressSpaceInUse() + bytes;
  const rlimit space{limit, limit};
  setrlimit(RLIMIT_AS, &space);
  struct Block {
    Block* next;
  };
  Block* blocks = nullptr;
  while (auto* block = static_cast<Block*>(std::malloc(kBlock))) {
    block->next = std::exchange(blocks, block);
  }
  for (rlim_t freed = 0; blocks != nullptr && freed < bytes; freed += kBlock) {
    std::free(std::exchange(blocks, blocks->next));
  }
}

/// Returns what `read` returns in a process that has so much memory left; minus the signal that
/// ended it.
int outcomeWithin(rlim_t bytes, const std::function<Outcome()>& read) {
  const pid_t child = fork();
  if (child == 0) {
    leaveOnly(bytes);
    _exit(read());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// Reads in less and less space. Returns the outcomes but that of no memory, which the caller's
/// edge reports in words and which comes where a part of ours finds none first.
std::set<int> outcomes(const std::function<Outcome()>& read) {
  std::set<int> all;
  for (rlim_t space = 64 * kMegabyte; space > 1'000'000; space = space * 4 / 5) {
    all.insert(outcomeWithin(space, read));
  }
  return all;
}

std::u16string largeDocument() {
  std::u16string text = u"<r>";
  while (text.size() < 400'000) text += u"<a b='c' d=''/>t<!-- c --><e>text</e>";
  return text + u"</r>";
}

Outcome outcomeOf(HRESULT code, const std::function<bool()>& hasReason) {
  if (code == E_OUTOFMEMORY) return kOutOfMemory;
  if (code == S_OK) return kRead;
  return hasReason() ? kRefusedInWords : kRefusedWithoutWords;
}

TEST(ParseMemory, ADocumentThatDoesNotFitIsRefused) {
  const CComBSTR text(largeDocument());
  const CComPtr<IXMLDOMDocument> document = emptyDocument();
  std::set<int> all = outcomes([&] {
    VARIANT_BOOL success = VARIANT_FALSE;
    const HRESULT code = document->raw_loadXML(text, &success);
    return outcomeOf(code, [&] { return document->parseError()->reason().Length() > 0; });
  });
  all.erase(kOutOfMemory);  // if the copy of the text does not even fit
  EXPECT_EQ(all, (std::set<int>{kRead, kRefusedInWords}));
}

TEST(ParseMemory, ElementsThatDoNotFitAreRefused) {
  const std::u16string text = largeDocument();
  const std::set<int> all = outcomes([&] {
    try {
      const ElementsRead read = readElements(text);
      return outcomeOf(read.root ? S_OK : E_FAIL, [&] { return !read.reason.empty(); });
    } catch (const std::bad_alloc&) {
      return kOutOfMemory;
    }
  });
  EXPECT_EQ(all, (std::set<int>{kRead, kOutOfMemory}));
}

}  // namespace
}  // namespace qx::xml
