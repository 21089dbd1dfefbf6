#include "qxframework/os/elf_resources.h"

#include "qxframework/os/resource_format.h"
#include "qxframework/os/resource_image.h"

#include <elf.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <utility>

namespace qx {
namespace {

/// Bytes in memory. Fails the test if a range outside them is read.
class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}
  std::uint64_t size() const override { return bytes_.size(); }
  bool read(std::uint64_t offset, std::span<std::byte> out) const override {
    EXPECT_LE(offset, bytes_.size());
    EXPECT_LE(out.size(), bytes_.size() - offset);
    const auto from = bytes_.subspan(offset, out.size());
    std::copy(from.begin(), from.end(), out.begin());
    return true;
  }

 private:
  std::span<const std::byte> bytes_;
};

/// True if `part` occurs in `whole` in one piece.
bool occursIn(std::span<const std::byte> whole, std::span<const std::byte> part) {
  return std::search(whole.begin(), whole.end(), part.begin(), part.end()) != whole.end() ||
         part.empty();
}

/// The smallest module with resources: a header, two segments, one note, an image of 48 bytes.
struct Module {
  Elf64_Ehdr header{};
  Elf64_Phdr segments[2]{};
  std::uint32_t padding = 0;  // aligns the numbers of the note's body to 8
  Elf64_Nhdr noteHeader{6, 16, resource_format::kNoteType};
  char owner[8]{"QXRES"};
  resource_format::NoteBody body{16, 48};
  resource_format::Header image{resource_format::kMagic, 1, 48, 0, 48, 0, 48, 0, 48, 0, 0, 0};

  Module() {
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = ELFCLASS64;
    header.e_ident[EI_DATA] = ELFDATA2LSB;
    header.e_type = ET_DYN;
    header.e_phoff = sizeof header;
    header.e_phentsize = sizeof(Elf64_Phdr);
    header.e_phnum = 2;
    const std::uint64_t noteOffset = offsetof(Module, noteHeader);
    segments[0] = {PT_LOAD, PF_R, 0, kBase, kBase, sizeof(Module), sizeof(Module), 4096};
    segments[1] = {PT_NOTE, PF_R, noteOffset, kBase + noteOffset, kBase + noteOffset, 36, 36, 4};
  }

  std::span<const std::byte> bytes() const { return std::as_bytes(std::span(this, 1)); }
  std::optional<std::vector<std::byte>> read() const {
    return readResourceSection(MemorySource(bytes()));
  }

  static constexpr std::uint64_t kBase = 0x400000;
};
static_assert(offsetof(Module, body) - offsetof(Module, noteHeader) == 20);
static_assert(offsetof(Module, image) - offsetof(Module, body) == 16);

TEST(ElfResources, AreFoundThroughTheNote) {
  const Module module;
  const auto section = module.read();
  ASSERT_TRUE(section);
  const auto image = module.bytes().subspan(offsetof(Module, image));
  EXPECT_TRUE(std::ranges::equal(*section, image));
  EXPECT_TRUE(ResourceImage::open(*section));
}

TEST(ElfResources, NotesOfOtherOwnersAreSkipped) {
  // A note of the same type and size of another owner, then ours.
  std::vector<std::byte> notes;
  for (const char* owner : {"OTHER", "QXRES"}) {
    Module module;
    std::memcpy(module.owner, owner, 6);
    const auto bytes = module.bytes().subspan(offsetof(Module, noteHeader), 36);
    notes.insert(notes.end(), bytes.begin(), bytes.end());
  }
  const auto found = findResourceNote(notes, 4);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->bodyOffset, 56U);
}

TEST(ElfResources, OtherKindsOfFilesAreRefused) {
  const auto refused = [](auto change) {
    Module module;
    change(module.header);
    return !module.read();
  };
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_ident[0] = 0; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_ident[EI_CLASS] = ELFCLASS32; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_ident[EI_DATA] = ELFDATA2MSB; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_type = ET_REL; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_phentsize = 32; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_phnum = 0xFFFF; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_phnum = 1; }));
  EXPECT_TRUE(refused([](Elf64_Ehdr& header) { header.e_phoff = ~std::uint64_t{0}; }));
}

TEST(ElfResources, NumbersThatPointOutsideTheFileAreRefused) {
  const auto refused = [](auto change) {
    Module module;
    change(module);
    return !module.read();
  };
  constexpr std::uint64_t kFar = ~std::uint64_t{0};
  EXPECT_TRUE(refused([](Module& module) { module.segments[1].p_offset = kFar; }));
  EXPECT_TRUE(refused([](Module& module) { module.segments[1].p_filesz = kFar; }));
  EXPECT_TRUE(refused([](Module& module) { module.segments[1].p_vaddr = kFar; }));
  EXPECT_TRUE(refused([](Module& module) { module.segments[0].p_vaddr = kFar; }));
  EXPECT_TRUE(refused([](Module& module) { module.segments[0].p_filesz = 64; }));
  EXPECT_TRUE(refused([](Module& module) { module.segments[0].p_offset = kFar - 8; }));
  EXPECT_TRUE(refused([](Module& module) { module.body.size = kFar; }));
  EXPECT_TRUE(refused([](Module& module) { module.body.size = 49; }));
  EXPECT_TRUE(refused(
      [](Module& module) { module.body.relative = std::numeric_limits<std::int64_t>::min(); }));
  EXPECT_TRUE(refused([](Module& module) { module.noteHeader.n_namesz = 0xFFFFFFFF; }));
  EXPECT_TRUE(refused([](Module& module) { module.noteHeader.n_descsz = 0xFFFFFFFF; }));
}

TEST(ElfResources, ATruncatedFileIsRefusedAtEveryLength) {
  const Module module;
  ASSERT_TRUE(module.read());
  for (std::size_t size = 0; size < sizeof module; ++size) {
    EXPECT_FALSE(readResourceSection(MemorySource(module.bytes().first(size)))) << size;
  }
}

TEST(ElfResources, ADamagedFileReturnsItsOwnBytesOrNothing) {
  ASSERT_TRUE(Module().read());
  std::mt19937 random(7);
  int refused = 0;
  int readWhole = 0;
  for (int round = 0; round < 20000; ++round) {
    Module module;
    auto* bytes = reinterpret_cast<unsigned char*>(&module);
    for (int flips = 0; flips < 3; ++flips) {
      bytes[random() % sizeof module] = static_cast<unsigned char>(random());
    }
    const auto section = module.read();
    if (!section) {
      ++refused;
      continue;
    }
    // The damaged numbers may name another place, but only one in the file.
    ASSERT_LE(section->size(), sizeof module);
    ASSERT_TRUE(occursIn(module.bytes(), *section));
    if (std::ranges::equal(*section, module.bytes().subspan(offsetof(Module, image)))) ++readWhole;
    if (const auto image = ResourceImage::open(*section)) {
      ASSERT_LE(image->header().size, section->size());
    }
  }
  // Both outcomes occur, so neither half of the test is empty.
  EXPECT_GT(refused, 1000);
  EXPECT_GT(readWhole, 1000);
}

TEST(ElfResources, OnlyTheImageIsReadFromAFile) {
  const auto section = readResourceSection(std::filesystem::path(QX_OS_FIXTURE));
  ASSERT_TRUE(section);
  const auto image = ResourceImage::open(*section);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->header().size, section->size());
}

}  // namespace
}  // namespace qx
