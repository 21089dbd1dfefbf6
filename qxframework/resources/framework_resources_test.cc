// The resources of the built shared library: they are well-formed, and complete in every language.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/text.h"
#include "qxframework/os/elf_resources.h"
#include "qxframework/os/resource_image.h"
#include "qxframework/os/resources.h"
#include "qxframework/resources/narrow_text.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

constexpr std::uint32_t kEnglish = 1033;

class FrameworkResources : public ::testing::Test {
 protected:
  FrameworkResources() : bytes_(qx::readResourceSection(std::filesystem::path(QX_FRAMEWORK))) {
    if (bytes_) image = qx::ResourceImage::open(*bytes_);
  }
  void SetUp() override { ASSERT_TRUE(image) << QX_FRAMEWORK; }

  std::vector<std::uint32_t> languages() const {
    std::vector<std::uint32_t> found;
    for (auto next = image->nextStringLanguage(-1); next; next = image->nextStringLanguage(*next))
      found.push_back(*next);
    return found;
  }
  /// Returns the ids of a language's entries in the table of strings, which a look-up must find.
  std::vector<std::uint32_t> stringIds(std::uint32_t language) const {
    const qx::resource_format::Header& header = image->header();
    std::vector<std::uint32_t> found;
    for (std::size_t i = 0; i < header.stringCount; ++i) {
      qx::resource_format::StringEntry entry;
      std::memcpy(&entry, bytes_->data() + header.stringOffset + i * sizeof entry, sizeof entry);
      if (entry.language != language) continue;
      EXPECT_TRUE(image->findString(language, entry.id)) << language << "/" << entry.id;
      found.push_back(entry.id);
    }
    return found;
  }

  std::optional<qx::ResourceImage> image;

 private:
  std::optional<std::vector<std::byte>> bytes_;
};

/// Returns the conversions of a format, such as "%s%d". A "%%" is no conversion.
std::string conversions(std::u16string_view format) {
  std::string found;
  for (std::size_t i = 0; i + 1 < format.size(); ++i) {
    if (format[i] != u'%') continue;
    if (format[++i] != u'%') found += "%" + qx::toUtf8(format.substr(i, 1));
  }
  return found;
}

TEST_F(FrameworkResources, HaveTwentyFiveLanguages) {
  EXPECT_THAT(languages(), ElementsAre(1028, 1029, 1030, 1031, 1032, 1033, 1035, 1036, 1037, 1038,
                                       1040, 1041, 1042, 1043, 1045, 1046, 1049, 1051, 1053, 2052,
                                       2057, 2068, 2070, 3082, 9226));
}

TEST_F(FrameworkResources, EveryLanguageHasTheTextsOfEnglish) {
  const auto english = stringIds(kEnglish);
  EXPECT_THAT(english, Contains(223U));
  ASSERT_THAT(languages(), SizeIs(25));
  for (const std::uint32_t language : languages()) {
    EXPECT_EQ(stringIds(language), english) << "language " << language;
  }
}

TEST_F(FrameworkResources, EveryLanguageHasTheConversionsOfEnglish) {
  const auto ids = stringIds(kEnglish);
  ASSERT_THAT(ids, Not(IsEmpty()));
  ASSERT_THAT(languages(), SizeIs(25));
  for (const std::uint32_t language : languages()) {
    for (const std::uint32_t id : ids) {
      const auto text = image->findString(language, id);
      ASSERT_TRUE(text) << language << "/" << id;
      EXPECT_FALSE(text->empty()) << language << "/" << id;
      EXPECT_EQ(conversions(*text), conversions(*image->findString(kEnglish, id)))
          << language << "/" << id;
    }
  }
  EXPECT_EQ(conversions(*image->findString(kEnglish, 700)), "%s");
}

TEST_F(FrameworkResources, TableAndMenuResourcesParse) {
  for (const std::uint32_t id : {400U, 401U, 500U, 501U, 502U, 503U}) {
    const auto data = image->resourceData(image->findResourceAnyLanguage(RT_HTML, id));
    ASSERT_TRUE(data) << id;
    const std::string bytes(reinterpret_cast<const char*>(data->data()), data->size());
    CComPtr<IXMLDOMDocument> document;
    ASSERT_EQ(qx::createDocument(&document.p), S_OK);
    EXPECT_EQ(document->loadXML(CComBSTR(qx::textOfResource(bytes))), VARIANT_TRUE) << id;
    EXPECT_EQ(qx::toUtf8(document->documentElement()->nodeName().View()),
              id < 500 ? "database" : "Application")
        << id;
  }
}

}  // namespace
