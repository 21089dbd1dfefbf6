#include "tools/qxrc/image_writer.h"

#include "qxframework/os/resource_format.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace qx::qxrc {
namespace {

template <typename T>
T entryAt(const std::string& image, std::size_t offset) {
  T entry;
  std::memcpy(&entry, image.data() + offset, sizeof entry);
  return entry;
}

ResourceSet sampleSet() {
  ResourceSet set;
  set.resources = {{{23, 200, 0}, "<form/>"}, {{23, 100, 0}, ""}, {{10, 900, 1031}, "x"}};
  set.strings = {{1033, {{2, u"two"}, {1, u"one"}}}, {1031, {{1, u"eins"}}}};
  set.versionStrings = {{u"FileVersion", u"1.2"}};
  return set;
}

TEST(ImageWriter, AnEmptySetIsOnlyAHeader) {
  const std::string image = buildImage({});
  ASSERT_EQ(image.size(), sizeof(resource_format::Header));
  const auto header = entryAt<resource_format::Header>(image, 0);
  EXPECT_EQ(header.magic, resource_format::kMagic);
  EXPECT_EQ(header.version, resource_format::kVersion);
  EXPECT_EQ(header.size, image.size());
  EXPECT_EQ(header.resourceCount + header.stringCount + header.versionCount, 0U);
}

TEST(ImageWriter, SortsResourcesByTypeIdAndLanguage) {
  const std::string image = buildImage(sampleSet());
  const auto header = entryAt<resource_format::Header>(image, 0);
  ASSERT_EQ(header.resourceCount, 3U);
  const auto first = entryAt<resource_format::ResourceEntry>(image, header.resourceOffset);
  const auto second = entryAt<resource_format::ResourceEntry>(image, header.resourceOffset + 20U);
  const auto third = entryAt<resource_format::ResourceEntry>(image, header.resourceOffset + 40U);
  EXPECT_EQ(first.type, 10U);
  EXPECT_EQ(first.language, 1031U);
  EXPECT_EQ(second.id, 100U);
  EXPECT_EQ(second.size, 0U);
  EXPECT_EQ(third.id, 200U);
  EXPECT_EQ(image.substr(third.offset, third.size), "<form/>");
}

TEST(ImageWriter, TextsBeginAtEvenOffsetsAndEndWithAZeroUnit) {
  const std::string image = buildImage(sampleSet());
  const auto header = entryAt<resource_format::Header>(image, 0);
  ASSERT_EQ(header.stringCount, 3U);
  const auto german = entryAt<resource_format::StringEntry>(image, header.stringOffset);
  EXPECT_EQ(german.language, 1031U);
  EXPECT_EQ(german.length, 4U);
  EXPECT_EQ(german.offset % 2, 0U);
  EXPECT_EQ(image.substr(german.offset, 10), std::string("e\0i\0n\0s\0\0\0", 10));
}

TEST(ImageWriter, EqualSetsHaveEqualImages) {
  EXPECT_EQ(buildImage(sampleSet()), buildImage(sampleSet()));
}

TEST(ImageWriter, TheSourceQuotesTheImagePath) {
  const std::string source = embeddingSource("/a \"b\"/c\\d.bin");
  EXPECT_NE(source.find(R"(.incbin "/a \"b\"/c\\d.bin")"), std::string::npos) << source;
}

TEST(ImageWriter, TheDependencyFileEscapesItsWords) {
  EXPECT_EQ(dependencyFile("/out dir/a.cc", {"/in/a.toml", "/in/x$y#z.xml"}),
            "/out\\ dir/a.cc: \\\n  /in/a.toml \\\n  /in/x$$y\\#z.xml\n");
}

}  // namespace
}  // namespace qx::qxrc
