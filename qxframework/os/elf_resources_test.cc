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

class MemorySource : public ByteSource {
 public:
  explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}
  std::uint64_t size() const override { return bytes_.size(); }
  bool read(std::uint64_t offset, std::span<std::byte> out) const override {
    EXPECT_LE(offset, bytes_.size());
    EXPECT_LE(out.size(), bytes_.size() - offset);
    std::ranges::copy(bytes_.subspan(offset, out.size()), out.begin());
    return true;
  }

 private:
  std::span<const std::byte> bytes_;
};

/// The smallest module with resources: a header, two segments, one note, an image of 48 bytes.
struct Module {
  Elf64_Ehdr header{};
  Elf64_Phdr segments[2]{};
  std::uint32_t padding = 0;  // puts the note's body where its numbers are aligned
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

  std::optional<std::vector<std::byte>> read() const {
    return readResourceSection(MemorySource(std::as_bytes(std::span(this, 1))));
  }

  static constexpr std::uint64_t kBase = 0x400000;
};
static_assert(offsetof(Module, body) - offsetof(Module, noteHeader) == 20);
static_assert(offsetof(Module, image) - offsetof(Module, body) == 16);

TEST(ElfResources, AreFoundThroughTheNote) {
  const Module module;
  const auto section = module.read();
  ASSERT_TRUE(section);
  EXPECT_TRUE(ResourceImage::open(*section));
}

TEST(ElfResources, ForeignNotesAreSteppedOver) {
  // A note of the same type and size of another owner, then ours.
  std::vector<std::byte> notes;
  for (const char* owner : {"OTHER", "QXRES"}) {
    Module module;
    std::memcpy(module.owner, owner, 6);
    const auto bytes =
        std::as_bytes(std::span(&module, 1)).subspan(offsetof(Module, noteHeader), 36);
    notes.insert(notes.end(), bytes.begin(), bytes.end());
  }
  const auto found = findResourceNote(notes, 4);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->bodyOffset, 56U);
}

TEST(ElfResources, OtherKindsOfFilesHaveNone) {
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

TEST(ElfResources, NumbersThatLeadOutsideAreRefused) {
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

TEST(ElfResources, ACutFileIsSurvivedAtEveryLength) {
  const Module module;
  const auto bytes = std::as_bytes(std::span(&module, 1));
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(readResourceSection(MemorySource(bytes.first(size)))) << size;
  }
}

TEST(ElfResources, AnyDamageIsSurvived) {
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    Module module;
    auto* bytes = reinterpret_cast<unsigned char*>(&module);
    for (int flips = 0; flips < 3; ++flips) {
      bytes[random() % sizeof module] = static_cast<unsigned char>(random());
    }
    const auto section = module.read();
    if (section) ResourceImage::open(*section);
  }
}

TEST(ElfResources, AreNotLoadedWithTheWholeFile) {
  const auto section = readResourceSection(std::filesystem::path(QX_OS_FIXTURE));
  ASSERT_TRUE(section);
  const auto image = ResourceImage::open(*section);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->header().size, section->size());
}

}  // namespace
}  // namespace qx
