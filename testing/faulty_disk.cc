#include "testing/faulty_disk.h"

#include <sqlite3.h>

namespace qx::test {
namespace {

FaultyDisk* disk = nullptr;
sqlite3_vfs* real = nullptr;

// The engine allocates a file with this much in front of the real one.
struct File {
  sqlite3_file base;
  sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_file* realOf(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real(); }

void countChange() {
  if (disk == nullptr) return;
  const int number = ++disk->changes;
  if (disk->beforeChange) disk->beforeChange(number);
}

int writeTo(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 at) {
  countChange();
  if (disk != nullptr && disk->full) return SQLITE_FULL;
  return realOf(file)->pMethods->xWrite(realOf(file), bytes, count, at);
}

int truncate(sqlite3_file* file, sqlite3_int64 size) {
  countChange();
  return realOf(file)->pMethods->xTruncate(realOf(file), size);
}

/// Passes a method of the engine's interface on to the real file.
template <auto Method, class... Args>
auto pass(sqlite3_file* file, Args... args) {
  return (realOf(file)->pMethods->*Method)(realOf(file), args...);
}

using Methods = sqlite3_io_methods;

// Version 2 has the shared memory of the write-ahead log. Version 3 would let the engine map the
// file and write past this disk.
const Methods kMethods = {
    2,
    [](auto* file) { return pass<&Methods::xClose>(file); },
    [](auto* file, void* bytes, int count, sqlite3_int64 at) {
      return pass<&Methods::xRead>(file, bytes, count, at);
    },
    writeTo,
    truncate,
    [](auto* file, int flags) { return pass<&Methods::xSync>(file, flags); },
    [](auto* file, sqlite3_int64* size) { return pass<&Methods::xFileSize>(file, size); },
    [](auto* file, int lock) { return pass<&Methods::xLock>(file, lock); },
    [](auto* file, int lock) { return pass<&Methods::xUnlock>(file, lock); },
    [](auto* file, int* held) { return pass<&Methods::xCheckReservedLock>(file, held); },
    [](auto* file, int what, void* argument) {
      return pass<&Methods::xFileControl>(file, what, argument);
    },
    [](auto* file) { return pass<&Methods::xSectorSize>(file); },
    [](auto* file) { return pass<&Methods::xDeviceCharacteristics>(file); },
    [](auto* file, int page, int size, int extend, void volatile** out) {
      return pass<&Methods::xShmMap>(file, page, size, extend, out);
    },
    [](auto* file, int offset, int count, int flags) {
      return pass<&Methods::xShmLock>(file, offset, count, flags);
    },
    [](auto* file) { return pass<&Methods::xShmBarrier>(file); },
    [](auto* file, int remove) { return pass<&Methods::xShmUnmap>(file, remove); },
    nullptr,
    nullptr,
};

int open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
  file->pMethods = nullptr;
  const int result = real->xOpen(real, name, realOf(file), flags, outFlags);
  // The engine closes a file that it could not open, if that has methods.
  if (realOf(file)->pMethods != nullptr) file->pMethods = &kMethods;
  return result;
}

int remove(sqlite3_vfs*, const char* name, int syncFolder) {
  countChange();
  return real->xDelete(real, name, syncFolder);
}

// All else is the real disk's; its operations get this object and look at no member of it.
sqlite3_vfs* makeVfs() {
  static sqlite3_vfs vfs = *real;
  vfs.zName = "faulty";
  vfs.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
  vfs.xOpen = open;
  vfs.xDelete = remove;
  return &vfs;
}

sqlite3_vfs* faulty() {
  if (real == nullptr) real = sqlite3_vfs_find(nullptr);
  static sqlite3_vfs* const vfs = makeVfs();
  return vfs;
}

}  // namespace

FaultyDisk::FaultyDisk() {
  disk = this;
  sqlite3_vfs_register(faulty(), 1);
}

FaultyDisk::~FaultyDisk() {
  sqlite3_vfs_unregister(faulty());
  disk = nullptr;
}

}  // namespace qx::test
