#pragma once

// A walker that records what it finds, for the tests of this folder.

#include "qxframework/diagnostics/stack_walker.h"

#include <string>
#include <vector>

namespace qx::test {

class RecordingWalker : public StackWalker {
 public:
  struct Entry {
    int type;
    std::string name, undName, undFullName, file, module, symType;
    unsigned line;
    std::uint64_t offset, fromSymbol, fromLine, base;
    std::string image;
  };

  using StackWalker::CallstackEntry;
  using StackWalker::CallstackEntryType;
  using StackWalker::StackWalker;

  std::vector<std::string> lines;   // of OnOutput, in order
  std::vector<std::string> errors;  // the steps that failed
  std::vector<Entry> entries;
  std::vector<std::string> modules;  // the images
  std::string searchPath;

  /// Returns the entry of the function, or one without a name.
  Entry find(const std::string& name) const {
    for (const Entry& each : entries) {
      if (each.undName == name) return each;
    }
    return {};
  }

  void OnSymInit(const char* path, DWORD options, const char* user) override {
    searchPath = path;
    StackWalker::OnSymInit(path, options, user);
  }
  void OnLoadModule(const char* image, const char* module, std::uint64_t base, DWORD size,
                    DWORD result, const char* symType, const char* pdbName,
                    std::uint64_t fileVersion) override {
    modules.emplace_back(image);
    StackWalker::OnLoadModule(image, module, base, size, result, symType, pdbName, fileVersion);
  }
  void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override {
    entries.push_back({type, entry.name, entry.undName, entry.undFullName, entry.lineFileName,
                       entry.moduleName, entry.symTypeString, entry.lineNumber, entry.offset,
                       entry.offsetFromSymbol, entry.offsetFromLine, entry.baseOfImage,
                       entry.loadedImageName});
    StackWalker::OnCallstackEntry(type, entry);
  }
  void OnDbgHelpErr(const char* function, DWORD error, std::uint64_t address) override {
    errors.emplace_back(function);
    StackWalker::OnDbgHelpErr(function, error, address);
  }
  void OnOutput(const char* text) override { lines.emplace_back(text); }
};

}  // namespace qx::test
