#pragma once

// A logging component that keeps its records, registered while a test runs.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/logging/qx_logger.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace qx::test {

struct LogRecord {
  long appId;
  std::u16string module;
  int level;
  std::u16string function;
  std::u16string message;
  friend bool operator==(const LogRecord&, const LogRecord&) = default;
};

/// The settings of a logging component.
struct RecordedSettings {
  long fileCount = 2;
  long fileSize = 1;
  long level = 1;
  std::u16string module;
  friend bool operator==(const RecordedSettings&, const RecordedSettings&) = default;
};

/// Replaces the logging component while it lives. All instances share one list of records.
class RecordingLogger {
 public:
  RecordingLogger() {
    const auto factory = makeFactory([this] {
      if (refuse) raiseError(E_FAIL);
      ++instances;
      return makeObject<Instance>(*this);
    });
    CoRegisterClassObject(QXLoggerLib::CLSID_QXLogger, factory, CLSCTX_SERVER, 0, &cookie_);
  }
  ~RecordingLogger() { CoRevokeClassObject(cookie_); }
  RecordingLogger(const RecordingLogger&) = delete;
  RecordingLogger& operator=(const RecordingLogger&) = delete;

  /// Returns the messages of `level` and of the more severe levels, in order.
  std::vector<std::u16string> messages(int level = QXLoggerLib::sl_Debug2) const {
    std::vector<std::u16string> out;
    for (const LogRecord& record : records)
      if (record.level <= level) out.push_back(record.message);
    return out;
  }
  /// Returns the messages of one function without its "Entering" and "Leaving" lines.
  std::vector<std::u16string> messagesOf(std::u16string_view function) const {
    std::vector<std::u16string> out;
    for (const LogRecord& record : records) {
      if (record.function == function && !isTrace(record.message)) out.push_back(record.message);
    }
    return out;
  }
  bool has(std::u16string_view message) const {
    for (const LogRecord& record : records)
      if (record.message == message) return true;
    return false;
  }
  bool has(int level, std::u16string_view message) const {
    for (const LogRecord& record : records)
      if (record.level == level && record.message == message) return true;
    return false;
  }

  std::deque<LogRecord> records;
  std::function<void(const LogRecord&)> onRecord;  // called after each record, if set
  int instances = 0;
  bool refuse = false;        // no instance can be created
  bool throwOnWrite = false;  // WriteLog throws
  HRESULT writeResult = S_OK;
  RecordedSettings settings;
  HRESULT settingsResult = S_OK;  // of reading and of writing the settings

 private:
  class Instance final : public NoDispatch<ComObject<QXLoggerLib::IQXLogger>> {
   public:
    explicit Instance(RecordingLogger& owner) : owner_(owner) {}
    HRESULT WriteLog(long appId, BSTR module, QXLoggerLib::HvSeverityLevel level, BSTR function,
                     BSTR message) override {
      if (owner_.throwOnWrite) throw 42;
      owner_.records.push_back({appId, std::u16string(viewOfBstr(module)), level,
                                std::u16string(viewOfBstr(function)),
                                std::u16string(viewOfBstr(message))});
      if (owner_.onRecord) owner_.onRecord(owner_.records.back());
      return owner_.writeResult;
    }
    HRESULT ReadSettings(long* fileCount, long* fileSize, long* level, BSTR* module) override {
      if (owner_.settingsResult < 0) return owner_.settingsResult;
      *fileCount = owner_.settings.fileCount;
      *fileSize = owner_.settings.fileSize;
      *level = owner_.settings.level;
      *module = newText(owner_.settings.module);
      return S_OK;
    }
    HRESULT WriteSettings(long fileCount, long fileSize, long level, BSTR module) override {
      if (owner_.settingsResult < 0) return owner_.settingsResult;
      owner_.settings = {fileCount, fileSize, level, std::u16string(viewOfBstr(module))};
      return S_OK;
    }

   private:
    RecordingLogger& owner_;
  };

  static bool isTrace(std::u16string_view message) {
    return message == u"Entering function\n" || message.starts_with(u"Leaving function");
  }

  DWORD cookie_ = 0;
};

}  // namespace qx::test
