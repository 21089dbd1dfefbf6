#include "qxframework/diagnostics/internal/same_file.h"

#include "qxframework/os/unique_fd.h"
#include "testing/temp_folder.h"

#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// The head of an ELF file with these program headers and some bytes behind them.
std::string head(const std::vector<Elf64_Phdr>& segments, const std::string& rest = "content") {
  Elf64_Ehdr header{};
  std::memcpy(header.e_ident, ELFMAG, SELFMAG);
  header.e_phoff = sizeof header;
  header.e_phentsize = sizeof(Elf64_Phdr);
  header.e_phnum = static_cast<Elf64_Half>(segments.size());
  std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
  for (const Elf64_Phdr& each : segments) {
    bytes.append(reinterpret_cast<const char*>(&each), sizeof each);
  }
  return bytes + rest;
}

Elf64_Phdr segment(Elf64_Word type, Elf64_Off offset, Elf64_Xword size) {
  Elf64_Phdr segment{};
  segment.p_type = type;
  segment.p_offset = offset;
  segment.p_filesz = size;
  return segment;
}

constexpr Elf64_Xword kWhole = 4000;

template <class Field>
std::string with(std::string bytes, Field Elf64_Ehdr::*field, Field value) {
  Elf64_Ehdr header;
  std::memcpy(&header, bytes.data(), sizeof header);
  header.*field = value;
  std::memcpy(bytes.data(), &header, sizeof header);
  return bytes;
}

// True if the file with these bytes is what is in memory. The memory has no more than its bytes.
bool isSame(const std::string& onDisk, const std::string& inMemory) {
  const qx::test::TempFolder folder;
  const qx::UniqueFd file(open(folder.write("module", onDisk).c_str(), O_RDONLY));
  std::string memory = inMemory;
  memory.resize(5000);
  return qx::diagnostics::isSameFile(file.get(), getpid(),
                                     reinterpret_cast<std::uint64_t>(memory.data()));
}

bool isSame(const std::string& both) { return isSame(both, both); }

TEST(SameFile, IsTheOneWithTheSameHead) {
  EXPECT_TRUE(isSame(head({segment(PT_LOAD, 0, kWhole)})));
  EXPECT_FALSE(isSame(head({segment(PT_LOAD, 0, kWhole)}, "content"),
                      head({segment(PT_LOAD, 0, kWhole)}, "contenT")));
}

TEST(SameFile, MayEndWithTheTableOfItsSegments) {
  EXPECT_TRUE(isSame(head({segment(PT_LOAD, 0, kWhole)}, "")));
}

TEST(SameFile, MayDifferBehindItsFirstSegment) {
  const Elf64_Xword size = sizeof(Elf64_Ehdr) + sizeof(Elf64_Phdr) + 4;
  EXPECT_TRUE(isSame(head({segment(PT_LOAD, 0, size)}, "same and more"),
                     head({segment(PT_LOAD, 0, size)}, "same but less")));
  EXPECT_FALSE(isSame(head({segment(PT_LOAD, 0, size)}, "some and more"),
                      head({segment(PT_LOAD, 0, size)}, "same and more")));
}

TEST(SameFile, MayHaveBeenStripped) {
  const std::string whole = head({segment(PT_LOAD, 0, kWhole)});
  EXPECT_TRUE(isSame(with(whole, &Elf64_Ehdr::e_shoff, Elf64_Off{9000}), whole));
  EXPECT_TRUE(isSame(with(whole, &Elf64_Ehdr::e_shnum, Elf64_Half{30}), whole));
  EXPECT_TRUE(isSame(with(whole, &Elf64_Ehdr::e_shstrndx, Elf64_Half{29}), whole));
  EXPECT_FALSE(isSame(with(whole, &Elf64_Ehdr::e_entry, Elf64_Addr{1}), whole));
}

// The other segments start elsewhere, or are parts of the first one.
TEST(SameFile, IsComparedByItsFirstSegmentOnly) {
  const std::vector<Elf64_Phdr> segments{segment(PT_NOTE, 0, 1), segment(PT_LOAD, 0, kWhole),
                                         segment(PT_LOAD, 4096, 1), segment(PT_NOTE, 0, 1)};
  EXPECT_TRUE(isSame(head(segments)));
  EXPECT_FALSE(isSame(head(segments, "content"), head(segments, "contenT")));
}

TEST(SameFile, HasASegmentAtItsStart) {
  EXPECT_FALSE(isSame(head({segment(PT_LOAD, 4096, kWhole)})));
  EXPECT_FALSE(isSame(head({})));
}

TEST(SameFile, HasTheSameFirstSegmentInMemory) {
  EXPECT_FALSE(
      isSame(head({segment(PT_LOAD, 0, kWhole)}), head({segment(PT_LOAD, 0, kWhole - 4000 + 70)})));
}

TEST(SameFile, IsAnElfFile) {
  std::string text = head({segment(PT_LOAD, 0, kWhole)});
  text[0] = 'x';
  EXPECT_FALSE(isSame(text));
  EXPECT_FALSE(isSame("short"));
  EXPECT_FALSE(isSame(""));
}

TEST(SameFile, HasSegmentsOfThisMachine) {
  const std::string whole = head({segment(PT_LOAD, 0, kWhole)});
  EXPECT_FALSE(isSame(with(whole, &Elf64_Ehdr::e_phentsize, Elf64_Half{32})));
}

TEST(SameFile, HasAllItsSegmentsInItsHead) {
  const std::string whole = head({segment(PT_LOAD, 0, kWhole), segment(PT_NOTE, 0, 1)}, "");
  EXPECT_FALSE(isSame(whole.substr(0, whole.size() - 1)));
  EXPECT_FALSE(isSame(with(whole, &Elf64_Ehdr::e_phoff, Elf64_Off{1} << 60)));
}

TEST(SameFile, IsInReadableMemory) {
  const qx::test::TempFolder folder;
  const std::string whole = head({segment(PT_LOAD, 0, kWhole)});
  const qx::UniqueFd file(open(folder.write("module", whole).c_str(), O_RDONLY));
  EXPECT_FALSE(qx::diagnostics::isSameFile(file.get(), getpid(), 16));
}

}  // namespace
