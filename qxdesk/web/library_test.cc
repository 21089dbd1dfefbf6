// The shared object as the desk loads it: its entry, the files of the page, its version block.

#include "qxdesk/web/test_support.h"
#include "qxframework/automation/text.h"
#include "qxframework/os/version_info.h"
#include "testing/registry_in_use.h"

#include <dlfcn.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace qx::web {
namespace {

class Library : public testing::Test {
 protected:
  using Entry = HRESULT (*)(REFCLSID, REFIID, void**);

  void SetUp() override {
    ASSERT_NE(library_, nullptr) << dlerror();
    entry = reinterpret_cast<Entry>(dlsym(library_, "DllGetClassObject"));
    ASSERT_NE(entry, nullptr);
  }

  void* library_ = dlopen(QX_WEB_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  Entry entry = nullptr;
};

TEST_F(Library, ServesEveryFileOfThePage) {
  CComPtr<IClassFactory> factory;
  ASSERT_EQ(entry(desk::kWebServerClass, IClassFactory::kIid, reinterpret_cast<void**>(&factory)),
            S_OK);
  CComPtr<desk::IWebServer> server;
  ASSERT_EQ(
      factory->CreateInstance(nullptr, desk::IWebServer::kIid, reinterpret_cast<void**>(&server)),
      S_OK);
  CComBSTR said;
  ASSERT_EQ(server->Start(CComBSTR(u"127.0.0.1:0"), makeObject<RecordingDesk>(), &said), S_OK);
  const std::string address = toUtf8(said.View());
  const std::string host = address.substr(7, address.find('/', 7) - 7);
  Client client(static_cast<std::uint16_t>(std::stoi(host.substr(host.find(':') + 1))));
  client.send("GET " + address.substr(address.find("/?")) + " HTTP/1.1\r\nHost: " + host +
              "\r\n\r\n");
  std::string cookie = client.readResponse().headers["Set-Cookie"];
  cookie.resize(cookie.find(';'));
  const std::filesystem::path folder(QX_PAGE_FOLDER);
  int served = 0;
  for (const auto& file : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string name = file.path().lexically_relative(folder).string();
    const std::string ending = file.path().extension().string();
    const bool isPart =
        ending == ".html" || ending == ".css" || ending == ".js" || ending == ".svg";
    if (!file.is_regular_file() || !isPart || name.starts_with("tests/")) continue;
    client.send("GET /" + name + " HTTP/1.1\r\nHost: " + host + "\r\nCookie: " + cookie +
                "\r\n\r\n");
    const Response response = client.readResponse();
    std::ifstream stream(file.path(), std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_EQ(response.status, 200) << name;
    EXPECT_EQ(response.body, content) << name;
    ++served;
  }
  EXPECT_GE(served, 1);
  client.vanish();
  server->Stop();
}

TEST_F(Library, IsFoundThroughTheRegistry) {
  const test::RegistryInUse registry(QX_BUILD_REGISTRY);
  CComPtr<desk::IWebServer> server;
  EXPECT_EQ(createInstance(desk::kWebServerClass, CLSCTX_INPROC_SERVER, &server), S_OK);
  EXPECT_NE(server, nullptr);
}

TEST_F(Library, MakesNoOtherClass) {
  CComPtr<IUnknown> none;
  EXPECT_EQ(entry(CLSID_HalvexGuiApi, IClassFactory::kIid, reinterpret_cast<void**>(&none)),
            CLASS_E_CLASSNOTAVAILABLE);
  EXPECT_EQ(entry(desk::kWebServerClass, IClassFactory::kIid, nullptr), E_POINTER);
}

TEST_F(Library, HasTheVersionOfTheHost) {
  const auto block = VersionBlock::ofFile(QX_WEB_LIBRARY);
  ASSERT_TRUE(block.has_value());
  EXPECT_EQ(block->query(u"InternalName")->text, u"HalvexWebCOM.dll");
  EXPECT_EQ(block->query(u"FileVersion")->text, u"9.20.00.01");
}

}  // namespace
}  // namespace qx::web
