#include "tools/qxrc/manifest.h"

#include "testing/temp_folder.h"
#include "tools/input/diagnostic.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::qxrc {
namespace {

class Manifest : public testing::Test {
 protected:
  ResourceSet read(std::string_view content) {
    return readManifest(folder_.write("module.toml", content));
  }

  /// Returns the diagnostic for `content` without the folder's name, or "accepted".
  std::string refusal(std::string_view content) {
    try {
      read(content);
    } catch (const input::Diagnostic& error) {
      std::string text = error.what();
      const std::string folder = folder_.path().string() + "/";
      for (std::size_t at; (at = text.find(folder)) != std::string::npos;) {
        text.erase(at, folder.size());
      }
      return text;
    }
    return "accepted";
  }

  test::TempFolder folder_;
};

TEST_F(Manifest, ReadsEverySection) {
  folder_.write("form.xml", "<form/>");
  folder_.write("blob.bin", std::string_view("\0\1", 2));
  folder_.write("strings/1031.txt", "1 = Ja\n");
  const ResourceSet set = read(R"(
[version]
language = 1031
code_page = 1252
[version.strings]
FileVersion = "9.20.00.01"
"Support Package" = "PL ü"
[xml]
200 = "form.xml"
[[resource]]
type = 10
id = 5
language = 1031
file = "blob.bin"
[strings]
1031 = "strings/1031.txt"
)");
  const std::map<ResourceKey, std::string> resources{{{23, 200, 0}, "<form/>"},
                                                     {{10, 5, 1031}, std::string("\0\1", 2)}};
  EXPECT_EQ(set.resources, resources);
  EXPECT_EQ(set.strings, (std::map<std::uint32_t, StringTable>{{1031, {{1, u"Ja"}}}}));
  EXPECT_EQ(set.versionStrings,
            (std::vector<std::pair<std::u16string, std::u16string>>{
                {u"FileVersion", u"9.20.00.01"}, {u"Support Package", u"PL ü"}}));
  EXPECT_EQ(set.versionLanguage, 1031);
  EXPECT_EQ(set.versionCodePage, 1252);
}

TEST_F(Manifest, LanguageAndCodePageDefaultToEnglishAndUnicode) {
  const ResourceSet set = read("[version.strings]\nFileVersion = \"1\"\n");
  EXPECT_EQ(set.versionLanguage, 1033);
  EXPECT_EQ(set.versionCodePage, 1200);
}

TEST_F(Manifest, AcceptsAnEmptyResource) {
  folder_.write("empty.xml", "");
  EXPECT_EQ(read("[xml]\n1 = \"empty.xml\"\n").resources,
            (std::map<ResourceKey, std::string>{{{23, 1, 0}, ""}}));
}

TEST_F(Manifest, ListsEveryFileThatItRead) {
  folder_.write("form.xml", "<form/>");
  folder_.write("1033.txt", "1 = a\n");
  const ResourceSet set = read("[strings]\n1033 = \"1033.txt\"\n[xml]\n1 = \"form.xml\"\n");
  EXPECT_EQ(set.inputs, (std::vector<std::filesystem::path>{folder_.path() / "module.toml",
                                                            folder_.path() / "1033.txt",
                                                            folder_.path() / "form.xml"}));
}

TEST_F(Manifest, RefusesAMissingManifest) {
  EXPECT_THROW(readManifest(folder_.path() / "none.toml"), input::Diagnostic);
}

TEST_F(Manifest, RefusesBrokenTomlWithItsPlace) {
  const std::string text = refusal("[xml]\n200 = \n");
  EXPECT_TRUE(text.starts_with("module.toml:2:")) << text;
  EXPECT_TRUE(text.ends_with("; correct the manifest's TOML")) << text;
}

TEST_F(Manifest, RefusesAMissingFile) {
  EXPECT_EQ(refusal("[xml]\n200 = \"none.xml\"\n"),
            "module.toml:2:7: error: the file 'none.xml' cannot be read; create it or correct the "
            "path, which is relative to the manifest");
}

TEST_F(Manifest, RefusesAFolderInPlaceOfAFile) {
  EXPECT_NE(refusal("[xml]\n200 = \".\"\n"), "accepted");
}

TEST_F(Manifest, RefusesADuplicateResource) {
  folder_.write("a.xml", "<a/>");
  EXPECT_EQ(
      refusal("[[resource]]\ntype = 10\nid = 1\nfile = \"a.xml\"\n"
              "[[resource]]\ntype = 10\nid = 1\nfile = \"a.xml\"\n"),
      "module.toml:5:1: error: resource type 10 id 1 language 0 is defined a second time here; "
      "remove one of the two or give it another id");
}

TEST_F(Manifest, RefusesADuplicateXmlNumber) {
  folder_.write("a.xml", "<a/>");
  const std::string text = refusal("[xml]\n7 = \"a.xml\"\n7 = \"a.xml\"\n");
  EXPECT_TRUE(text.starts_with("module.toml:3:")) << text;
  EXPECT_NE(refusal("[xml]\n7 = \"a.xml\"\n07 = \"a.xml\"\n"), "accepted");
}

TEST_F(Manifest, RefusesUnknownSectionsAndEntries) {
  EXPECT_EQ(refusal("[xlm]\n"),
            "module.toml:1:2: error: unknown section 'xlm'; use version, xml, resource or strings");
  EXPECT_EQ(refusal("[version]\nlang = 1\n"),
            "module.toml:2:1: error: unknown entry 'lang'; use language, code_page or the table "
            "version.strings");
  EXPECT_EQ(refusal("[[resource]]\nkind = 1\n"),
            "module.toml:2:1: error: unknown entry 'kind'; use type, id, language and file");
}

TEST_F(Manifest, RefusesValuesOfTheWrongKind) {
  EXPECT_EQ(refusal("[version]\nlanguage = 65536\n"),
            "module.toml:2:12: error: the value is not a number in range; write an integer from 0 "
            "to 65535");
  EXPECT_EQ(refusal("[version.strings]\nFileVersion = 9\n"),
            "module.toml:2:15: error: the value is not a text; write it in double quotes");
  EXPECT_EQ(refusal("xml = 5\n"), "module.toml:1:7: error: 'xml' is not a table; write [xml]");
  EXPECT_EQ(refusal("[resource]\n"),
            "module.toml:1:1: error: 'resource' is not a list of tables; write [[resource]] with "
            "two brackets");
  EXPECT_EQ(refusal("[xml]\nform = \"a\"\n"),
            "module.toml:2:1: error: 'form' is not a resource number; write a decimal number from "
            "0 to 4294967295");
}

TEST_F(Manifest, RefusesAnIncompleteResource) {
  EXPECT_EQ(refusal("[[resource]]\ntype = 10\nid = 1\n"),
            "module.toml:1:1: error: the resource has no 'file'; add the line 'file = …'");
}

TEST_F(Manifest, RefusesAVersionBlockWithoutStrings) {
  EXPECT_EQ(refusal("[version]\nlanguage = 1033\n"),
            "module.toml:1:1: error: the version block has no strings; add a table "
            "[version.strings] or remove [version]");
}

TEST_F(Manifest, RefusesMoreThanAVersionBlockHolds) {
  EXPECT_EQ(refusal("[version.strings]\na = \"" + std::string(32768, 'x') + "\"\n"),
            "module.toml:2:5: error: the text is too long for a version block; shorten it to at "
            "most 32767 units");
  std::string many = "[version.strings]\n";
  for (int index = 0; index < 257; ++index) many += "k" + std::to_string(index) + " = \"\"\n";
  EXPECT_EQ(refusal(many),
            "module.toml:1:1: error: the version block has too many strings; keep at most 256");
}

TEST_F(Manifest, ReportsThePlaceInAStringTable) {
  folder_.write("1033.txt", "1 = a\n1 = b\n");
  EXPECT_EQ(refusal("[strings]\n1033 = \"1033.txt\"\n"),
            "1033.txt:2:1: error: string id 1 is defined a second time here; remove one of the two "
            "lines or give it another id");
}

}  // namespace
}  // namespace qx::qxrc
