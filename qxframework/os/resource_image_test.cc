#include "qxframework/os/resource_image.h"

#include "qxframework/os/version_info.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qx {
namespace {

namespace format = resource_format;

/// A small image with fixed offsets: one resource, two strings, one version string.
struct Image {
  struct Layout {
    format::Header header{format::kMagic, format::kVersion, 0, 1, 48, 2, 68, 1, 100, 1033, 1200, 0};
    format::ResourceEntry resource{23, 200, 0, 116, 4};
    format::StringEntry strings[2]{{1031, 1, 120, 2}, {1033, 1, 126, 1}};
    format::VersionEntry version{130, 1, 134, 0};
    char data[20]{'<', 'a', '/', '>', 'j', 0, 'a', 0, 0, 0, 'y', 0, 0, 0, 'K', 0, 0, 0, 0, 0};
  };
  static_assert(sizeof(Layout) == 136);

  alignas(8) Layout layout;

  Image() { layout.header.size = sizeof(Layout); }
  std::span<const std::byte> bytes() const { return std::as_bytes(std::span(&layout, 1)); }
  std::optional<ResourceImage> open() const { return ResourceImage::open(bytes()); }
};

TEST(ResourceImage, ReadsAWellFormedImage) {
  const Image image;
  const auto opened = image.open();
  ASSERT_TRUE(opened);
  const auto data = opened->resourceData(opened->findResource(23, 200, 0));
  ASSERT_TRUE(data);
  EXPECT_EQ(std::memcmp(data->data(), "<a/>", 4), 0);
  EXPECT_EQ(opened->findString(1031, 1), u"ja");
  EXPECT_EQ(opened->findString(1033, 1), u"y");
  EXPECT_EQ(opened->versionString(0)->key, u"K");
  EXPECT_EQ(opened->versionString(0)->value, u"");
  EXPECT_EQ(opened->versionString(1), std::nullopt);
  EXPECT_EQ(opened->nextStringLanguage(-1), 1031U);
  EXPECT_EQ(opened->nextStringLanguage(1031), 1033U);
  EXPECT_EQ(opened->nextStringLanguage(1033), std::nullopt);
}

TEST(ResourceImage, IsRefusedWithAForeignHeader) {
  Image magic;
  magic.layout.header.magic[0] = 'X';
  EXPECT_FALSE(magic.open());
  Image version;
  version.layout.header.version = 2;
  EXPECT_FALSE(version.open());
}

TEST(ResourceImage, IsRefusedIfTruncated) {
  const Image image;
  for (std::size_t size = 0; size < sizeof image.layout; ++size) {
    EXPECT_FALSE(ResourceImage::open(image.bytes().first(size))) << size;
  }
}

TEST(ResourceImage, IsRefusedIfItsSizeIsWrong) {
  Image large;
  large.layout.header.size = sizeof large.layout + 1;
  EXPECT_FALSE(large.open());
  Image small;
  small.layout.header.size = 47;
  EXPECT_FALSE(small.open());
}

TEST(ResourceImage, IsRefusedIfATableExceedsIt) {
  for (const auto field : {&format::Header::resourceCount, &format::Header::resourceOffset,
                           &format::Header::stringCount, &format::Header::stringOffset,
                           &format::Header::versionCount, &format::Header::versionOffset}) {
    Image image;
    image.layout.header.*field = 0xFFFFFFFF;
    EXPECT_FALSE(image.open());
  }
}

TEST(ResourceImage, IsRefusedIfNotAligned) {
  std::vector<std::uint64_t> storage(18);
  const Image image;
  const auto bytes = std::as_writable_bytes(std::span(storage)).subspan(1, sizeof image.layout);
  std::memcpy(bytes.data(), image.bytes().data(), bytes.size());
  EXPECT_FALSE(ResourceImage::open(bytes));
}

TEST(ResourceImage, DamagedEntriesAreNotFound) {
  Image image;
  image.layout.resource.size = 0xFFFFFFF0;
  image.layout.strings[0].length = 0x7FFFFFFF;
  image.layout.strings[1].offset = 127;
  image.layout.version.keyOffset = 0xFFFFFFFE;
  const auto opened = image.open();
  ASSERT_TRUE(opened);
  EXPECT_EQ(opened->resourceData(opened->findResource(23, 200, 0)), std::nullopt);
  EXPECT_EQ(opened->findString(1031, 1), std::nullopt);
  EXPECT_EQ(opened->findString(1033, 1), std::nullopt);
  EXPECT_EQ(opened->versionString(0), std::nullopt);
}

TEST(ResourceImage, TextWithoutItsTerminatorIsNotFound) {
  Image image;
  image.layout.strings[0].length = 1;
  ASSERT_TRUE(image.open());
  EXPECT_EQ(image.open()->findString(1031, 1), std::nullopt);
}

TEST(ResourceImage, OnlyTheAddressOfAnEntryHasData) {
  const Image image;
  const auto opened = image.open();
  ASSERT_TRUE(opened);
  const std::byte* entry = opened->findResource(23, 200, 0);
  EXPECT_EQ(opened->resourceData(nullptr), std::nullopt);
  EXPECT_EQ(opened->resourceData(entry + 1), std::nullopt);
  EXPECT_EQ(opened->resourceData(entry - 20), std::nullopt);
  EXPECT_EQ(opened->resourceData(entry + 20), std::nullopt);
}

/// True if all of `part` lies within `image`.
template <class Units>
bool isWithin(const Image& image, const Units& part) {
  const auto bytes = std::as_bytes(std::span(part));
  const auto whole = image.bytes();
  return bytes.data() >= whole.data() && bytes.data() + bytes.size() <= whole.data() + whole.size();
}

TEST(ResourceImage, ADamagedImageReturnsItsOwnBytesOrNothing) {
  std::mt19937 random(20);
  int refused = 0;
  int found = 0;
  for (int round = 0; round < 20000; ++round) {
    Image image;
    auto* bytes = reinterpret_cast<unsigned char*>(&image.layout);
    for (int flips = 0; flips < 4; ++flips) {
      bytes[8 + random() % (sizeof image.layout - 8)] = static_cast<unsigned char>(random());
    }
    const auto opened = image.open();
    if (!opened) {
      ++refused;
      continue;
    }
    if (const auto data = opened->resourceData(opened->findResourceAnyLanguage(23, 200))) {
      ASSERT_TRUE(isWithin(image, *data));
      ++found;
    }
    if (const auto text = opened->findString(1031, 1)) {
      ASSERT_TRUE(isWithin(image, *text));
      ASSERT_EQ(text->data()[text->size()], 0);
      ++found;
    }
    std::size_t languages = 0;
    for (auto last = opened->nextStringLanguage(-1); last; last = opened->nextStringLanguage(*last))
      ASSERT_LT(++languages, 100U);
    if (const auto version = opened->versionString(0)) {
      ASSERT_TRUE(isWithin(image, version->key) && isWithin(image, version->value));
      ++found;
    }
    ASSERT_EQ(VersionBlock::ofImage(*opened).has_value(), opened->header().versionCount > 0);
  }
  // Both outcomes occur, so neither half of the test is empty.
  EXPECT_GT(refused, 1000);
  EXPECT_GT(found, 1000);
}

}  // namespace
}  // namespace qx
