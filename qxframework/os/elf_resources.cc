#include "qxframework/os/elf_resources.h"

#include "qxframework/os/resource_format.h"
#include "qxframework/os/unique_fd.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace qx {
namespace {

namespace format = resource_format;

// Limits far above what linkers write, so that a damaged file cannot ask for much memory.
constexpr std::size_t kMostProgramHeaders = 1024;
constexpr std::uint64_t kLongestNotes = 1U << 20U;

class FileSource : public ByteSource {
 public:
  // O_NONBLOCK, because opening a pipe without a writer would otherwise block for ever. A file that
  // cannot be opened, or is not a regular one, has size 0 and so holds no module.
  explicit FileSource(const std::filesystem::path& file)
      : fd_(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status {};
    if (fd_ && fstat(fd_.get(), &status) == 0 && S_ISREG(status.st_mode)) {
      size_ = static_cast<std::uint64_t>(status.st_size);
    }
  }

  std::uint64_t size() const override { return size_; }

  bool read(std::uint64_t offset, std::span<std::byte> out) const override {
    while (!out.empty()) {
      // pread() may return fewer bytes than asked for, and 0 if the file was truncated meanwhile.
      const ssize_t count = pread(fd_.get(), out.data(), out.size(), static_cast<off_t>(offset));
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return false;
      offset += static_cast<std::uint64_t>(count);
      out = out.subspan(static_cast<std::size_t>(count));
    }
    return true;
  }

 private:
  UniqueFd fd_;
  std::uint64_t size_ = 0;
};

// Compares by subtraction, because the sum of a damaged offset and size may overflow.
bool fits(std::uint64_t whole, std::uint64_t offset, std::uint64_t size) {
  return offset <= whole && size <= whole - offset;
}

template <typename T>
bool readValue(const ByteSource& source, std::uint64_t offset, T& value) {
  if (!fits(source.size(), offset, sizeof value)) return false;
  return source.read(offset, std::as_writable_bytes(std::span(&value, 1)));
}

std::optional<std::vector<std::byte>> readRange(const ByteSource& source, std::uint64_t offset,
                                                std::uint64_t size) {
  if (!fits(source.size(), offset, size)) return std::nullopt;
  std::vector<std::byte> bytes(size);
  if (!source.read(offset, bytes)) return std::nullopt;
  return bytes;
}

// Position-independent executables and shared objects are both ET_DYN. Object files (ET_REL) have
// no program headers.
bool isModule(const Elf64_Ehdr& header) {
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 &&
         header.e_ident[EI_CLASS] == ELFCLASS64 && header.e_ident[EI_DATA] == ELFDATA2LSB &&
         (header.e_type == ET_DYN || header.e_type == ET_EXEC) &&
         header.e_phentsize == sizeof(Elf64_Phdr) && header.e_phnum <= kMostProgramHeaders;
}

std::vector<Elf64_Phdr> readProgramHeaders(const ByteSource& elf) {
  Elf64_Ehdr header{};
  if (!readValue(elf, 0, header) || !isModule(header)) return {};
  const std::uint64_t size = std::uint64_t{header.e_phnum} * sizeof(Elf64_Phdr);
  if (!fits(elf.size(), header.e_phoff, size)) return {};
  std::vector<Elf64_Phdr> headers(header.e_phnum);
  if (!elf.read(header.e_phoff, std::as_writable_bytes(std::span(headers)))) return {};
  return headers;
}

// Returns the offset in a file of `fileSize` bytes of the `size` bytes that are loaded at
// `address`. It does not use the section headers, because a stripped file may have none.
std::optional<std::uint64_t> fileOffset(const std::vector<Elf64_Phdr>& headers,
                                        std::uint64_t fileSize, std::uint64_t address,
                                        std::uint64_t size) {
  for (const Elf64_Phdr& segment : headers) {
    if (segment.p_type != PT_LOAD || address < segment.p_vaddr) continue;
    if (!fits(fileSize, segment.p_offset, segment.p_filesz)) continue;
    const std::uint64_t distance = address - segment.p_vaddr;
    if (fits(segment.p_filesz, distance, size)) return segment.p_offset + distance;
  }
  return std::nullopt;
}

std::optional<ResourceNote> readNote(const ByteSource& elf, const Elf64_Phdr& segment) {
  if (segment.p_type != PT_NOTE || segment.p_filesz > kLongestNotes) return std::nullopt;
  const auto notes = readRange(elf, segment.p_offset, segment.p_filesz);
  if (!notes) return std::nullopt;
  return findResourceNote(*notes, segment.p_align);
}

}  // namespace

std::optional<ResourceNote> findResourceNote(std::span<const std::byte> notes,
                                             std::uint64_t alignment) {
  // 64-bit notes may be aligned to 8, but nearly all tools align them to 4.
  const std::uint64_t step = alignment == 8 ? 8 : 4;
  const auto padded = [step](std::uint64_t size) { return (size + step - 1) / step * step; };
  std::uint64_t offset = 0;
  while (fits(notes.size(), offset, sizeof(Elf64_Nhdr))) {
    Elf64_Nhdr header{};
    std::memcpy(&header, notes.data() + offset, sizeof header);
    const std::uint64_t owner = offset + sizeof header;
    // Both sizes have 32 bits, so these 64-bit sums cannot overflow.
    const std::uint64_t body = padded(owner + header.n_namesz);
    if (!fits(notes.size(), body, header.n_descsz)) return std::nullopt;
    // The type is only unique together with the owner: every owner numbers its own notes.
    if (header.n_type == format::kNoteType && header.n_namesz == sizeof format::kNoteOwner &&
        header.n_descsz == sizeof(format::NoteBody) &&
        std::memcmp(notes.data() + owner, format::kNoteOwner, sizeof format::kNoteOwner) == 0) {
      format::NoteBody found{};
      std::memcpy(&found, notes.data() + body, sizeof found);
      return ResourceNote{body, found.relative, found.size};
    }
    offset = padded(body + header.n_descsz);
  }
  return std::nullopt;
}

std::optional<std::vector<std::byte>> readResourceSection(const ByteSource& elf) {
  const std::vector<Elf64_Phdr> headers = readProgramHeaders(elf);
  for (const Elf64_Phdr& segment : headers) {
    const std::optional<ResourceNote> note = readNote(elf, segment);
    if (!note) continue;
    if (note->size > format::kLargestImage) return std::nullopt;
    // The sum may wrap around, which is defined for unsigned numbers; a wrong address is in no
    // segment.
    const std::uint64_t address =
        segment.p_vaddr + note->bodyOffset + static_cast<std::uint64_t>(note->relative);
    const std::optional<std::uint64_t> offset =
        fileOffset(headers, elf.size(), address, note->size);
    if (!offset) return std::nullopt;
    return readRange(elf, *offset, note->size);
  }
  return std::nullopt;
}

std::optional<std::vector<std::byte>> readResourceSection(const std::filesystem::path& file) {
  return readResourceSection(FileSource(file));
}

}  // namespace qx
