// Tests the component as an add-on uses it: the shared object, loaded by its path.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/logging/qx_logger.h"
#include "qxlogger/test_support.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>

namespace qx::logger {
namespace {

using QXLoggerLib::HvSeverityLevel;
using QXLoggerLib::IQXLogger;

/// Loads the component. It reads its places once per process, so all tests share one folder.
class LoggerComponent : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder = new test::TemporaryFolder;
    setenv("QX_LOG_DIR", (*folder / "log").c_str(), 1);
    setenv("QX_LOG_SETTINGS", (*folder / "log.toml").c_str(), 1);
    void* library = dlopen(QX_LOGGER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    entry = reinterpret_cast<Entry>(dlsym(library, "DllGetClassObject"));
    ASSERT_NE(entry, nullptr);
  }
  static void TearDownTestSuite() {
    delete folder;
    folder = nullptr;
  }
  void TearDown() override { EXPECT_EQ(makeLogger()->WriteSettings(2, 1, 1, nullptr), S_OK); }

  static CComPtr<IQXLogger> makeLogger() {
    CComPtr<IClassFactory> factory;
    CComPtr<IQXLogger> logger;
    EXPECT_EQ(entry(QXLoggerLib::CLSID_QXLogger, IClassFactory::kIid,
                    reinterpret_cast<void**>(&factory.p)),
              S_OK);
    EXPECT_EQ(
        factory->CreateInstance(nullptr, IQXLogger::kIid, reinterpret_cast<void**>(&logger.p)),
        S_OK);
    return logger;
  }
  static long write(IQXLogger* logger, const char16_t* module, HvSeverityLevel level,
                    const char16_t* message) {
    return logger->WriteLog(7, CComBSTR(module), level, CComBSTR(u"CQXAddOn::Connect"),
                            CComBSTR(message));
  }
  static std::string textOf(const std::string& name) {
    return test::contentOf(*folder / ("log/" + name));
  }

  using Entry = HRESULT (*)(REFCLSID, REFIID, void**);
  static inline test::TemporaryFolder* folder = nullptr;
  static inline Entry entry = nullptr;
};

TEST_F(LoggerComponent, WritesARecord) {
  EXPECT_EQ(write(makeLogger(), u"Billing", QXLoggerLib::sl_Error, u"Connection failed\n"), S_OK);
  const std::string text = textOf("Billing.log");
  EXPECT_TRUE(std::regex_match(
      text, std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{6}[+-]\\d\\d:\\d\\d\t"
                       "Error\t7\t" +
                       std::to_string(getpid()) + "\tCQXAddOn::Connect\tConnection failed\n")))
      << text;
}

TEST_F(LoggerComponent, AcceptsNullTexts) {
  EXPECT_EQ(makeLogger()->WriteLog(0, nullptr, QXLoggerLib::sl_Error, nullptr, nullptr), S_OK);
  EXPECT_TRUE(textOf("nomodule.log").ends_with("\t\t\n"));
}

TEST_F(LoggerComponent, RefusesOtherClassesAndInterfaces) {
  void* object = &object;
  EXPECT_EQ(entry(IQXLogger::kIid, IClassFactory::kIid, &object), CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(entry(QXLoggerLib::CLSID_QXLogger, IClassFactory::kIid, nullptr), E_POINTER);
  EXPECT_EQ(entry(QXLoggerLib::CLSID_QXLogger, IQXLogger::kIid, &object), E_NOINTERFACE);
}

TEST_F(LoggerComponent, ImplementsIDispatch) {
  CComPtr<IDispatch> dispatch;
  EXPECT_EQ(makeLogger()->QueryInterface(IDispatch::kIid, reinterpret_cast<void**>(&dispatch.p)),
            S_OK);
  EXPECT_NE(dispatch.p, nullptr);
}

TEST_F(LoggerComponent, MakesNoInstanceWithAnInterfaceThatItLacks) {
  CComPtr<IClassFactory> factory;
  ASSERT_EQ(
      entry(QXLoggerLib::CLSID_QXLogger, IClassFactory::kIid, reinterpret_cast<void**>(&factory.p)),
      S_OK);
  void* object = &object;
  EXPECT_EQ(factory->CreateInstance(nullptr, IClassFactory::kIid, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(factory->CreateInstance(factory, IQXLogger::kIid, &object), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(factory->CreateInstance(nullptr, IQXLogger::kIid, nullptr), E_POINTER);
  CComPtr<IUnknown> unknown;
  EXPECT_EQ(factory->CreateInstance(nullptr, IUnknown::kIid, reinterpret_cast<void**>(&unknown.p)),
            S_OK);
}

TEST_F(LoggerComponent, InstancesAreDistinctWhileTheyLive) {
  const CComPtr<IQXLogger> first = makeLogger();
  const CComPtr<IQXLogger> second = makeLogger();
  EXPECT_NE(first.p, second.p);
  EXPECT_EQ(first.p->AddRef(), 2U);
  EXPECT_EQ(first.p->Release(), 1U);
  EXPECT_EQ(write(first, u"Billing", QXLoggerLib::sl_Debug2, u"x"), S_OK);
}

TEST_F(LoggerComponent, AnInstanceOutlivesTheThreadThatMadeIt) {
  CComPtr<IQXLogger> logger;
  std::thread([&] {
    makeLogger();  // released, so that the thread keeps its memory
    logger = makeLogger();
  }).join();
  EXPECT_EQ(write(logger, u"Billing", QXLoggerLib::sl_Debug2, u"x"), S_OK);
  std::thread([&] { logger.Release(); }).join();
}

TEST_F(LoggerComponent, HasTheDefaultSettingsAtFirst) {
  long count = 0;
  long size = 0;
  long level = 0;
  CComBSTR module;
  EXPECT_EQ(makeLogger()->ReadSettings(&count, &size, &level, &module), S_OK);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(size, 1);
  EXPECT_EQ(level, 1);
  EXPECT_EQ(module.View(), u"");
}

TEST_F(LoggerComponent, SharesSettingsBetweenInstances) {
  EXPECT_EQ(makeLogger()->WriteSettings(10, 5, 6, CComBSTR(u"BILLING")), S_OK);
  long count = 0;
  long size = 0;
  long level = 0;
  CComBSTR module;
  EXPECT_EQ(makeLogger()->ReadSettings(&count, &size, &level, &module), S_OK);
  EXPECT_EQ(count, 10);
  EXPECT_EQ(size, 5);
  EXPECT_EQ(level, 6);
  EXPECT_EQ(module.View(), u"BILLING");
}

TEST_F(LoggerComponent, RefusesSettingsOutOfRange) {
  const CComPtr<IQXLogger> logger = makeLogger();
  EXPECT_EQ(logger->WriteSettings(0, 1, 1, nullptr), E_INVALIDARG);
  EXPECT_EQ(logger->WriteSettings(11, 1, 1, nullptr), E_INVALIDARG);
  EXPECT_EQ(logger->WriteSettings(2, 0, 1, nullptr), E_INVALIDARG);
  EXPECT_EQ(logger->WriteSettings(2, 1, 0, nullptr), E_INVALIDARG);
  EXPECT_EQ(logger->WriteSettings(2, 1, 7, nullptr), E_INVALIDARG);
}

TEST_F(LoggerComponent, RefusesNullOutputsOfReadSettings) {
  long value = 0;
  EXPECT_EQ(makeLogger()->ReadSettings(nullptr, &value, &value, nullptr), E_POINTER);
  EXPECT_EQ(makeLogger()->ReadSettings(&value, &value, &value, nullptr), E_POINTER);
}

TEST_F(LoggerComponent, LogsWhyTheSettingsCannotBeStored) {
  std::filesystem::remove(*folder / "log.toml");
  std::filesystem::create_directories(*folder / "log.toml/inside");
  EXPECT_EQ(makeLogger()->WriteSettings(2, 1, 6, nullptr), E_FAIL);
  EXPECT_NE(textOf("nomodule.log").find("QXLogger::WriteSettings\tcannot replace"),
            std::string::npos);
  std::filesystem::remove_all(*folder / "log.toml");
}

TEST_F(LoggerComponent, LetsAForkedChildLog) {
  EXPECT_EQ(makeLogger()->WriteSettings(2, 1, 6, nullptr), S_OK);
  const CComPtr<IQXLogger> logger = makeLogger();
  for (int i = 0; i < 50; ++i) write(logger, u"Fork", QXLoggerLib::sl_Debug2, u"parent");
  const pid_t child = fork();
  if (child == 0) {
    for (int i = 0; i < 50; ++i) write(logger, u"Fork", QXLoggerLib::sl_Debug2, u"child");
    _exit(0);
  }
  waitpid(child, nullptr, 0);
  write(logger, u"Fork", QXLoggerLib::sl_Error, u"end");
  const std::string text = textOf("Fork.log");
  const std::regex record("\tDebug2\t7\t" + std::to_string(child) + "\t.*\tchild\n");
  EXPECT_EQ(std::distance(std::sregex_iterator(text.begin(), text.end(), record), {}), 50);
}

TEST_F(LoggerComponent, LeavesNothingPendingAtExit) {
  const pid_t child = fork();
  if (child == 0) {
    const CComPtr<IQXLogger> logger = makeLogger();
    logger->WriteSettings(2, 1, 6, nullptr);
    for (int i = 0; i < 50; ++i) write(logger, u"Exit", QXLoggerLib::sl_Debug2, u"text");
    std::exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  const std::string text = textOf("Exit.log");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 50);
}

}  // namespace
}  // namespace qx::logger
