#include "qxframework/diagnostics/internal/same_file.h"

#include "qxframework/diagnostics/internal/process_memory.h"

#include <elf.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace qx::diagnostics {
namespace {

constexpr std::size_t kHeadSize = 4096;

// Returns the number of the head's bytes that belong to its first segment, which no relocation
// changes, and forgets the place of the section headers, which stripping changes.
std::size_t comparable(char* head, std::size_t size) {
  Elf64_Ehdr header;
  std::memcpy(&header, head, sizeof header);
  if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_phentsize != sizeof(Elf64_Phdr)) {
    return 0;
  }
  std::size_t inSegment = 0;
  for (std::size_t i = 0; i < header.e_phnum; ++i) {
    const std::size_t at = header.e_phoff + i * sizeof(Elf64_Phdr);
    if (at > size || size - at < sizeof(Elf64_Phdr)) return 0;
    Elf64_Phdr segment;
    std::memcpy(&segment, head + at, sizeof segment);
    if (segment.p_type == PT_LOAD && segment.p_offset == 0) inSegment = segment.p_filesz;
  }
  header.e_shoff = 0;
  header.e_shnum = header.e_shstrndx = 0;
  std::memcpy(head, &header, sizeof header);
  return std::min(inSegment, size);
}

}  // namespace

bool isSameFile(int file, pid_t process, std::uint64_t base) {
  char onDisk[kHeadSize];
  char inMemory[kHeadSize];
  const ssize_t count = pread(file, onDisk, sizeof onDisk, 0);
  if (count < static_cast<ssize_t>(sizeof(Elf64_Ehdr))) return false;
  const std::size_t size = readMemory(process, base, inMemory, static_cast<std::size_t>(count));
  if (size < sizeof(Elf64_Ehdr)) return false;
  const std::size_t length = comparable(onDisk, size);
  return length != 0 && length == comparable(inMemory, size) &&
         std::memcmp(onDisk, inMemory, length) == 0;
}

}  // namespace qx::diagnostics
