// Which bytes of a file count as covered, for images of every shape and for what only looks like
// one.
#include "stock-file-query/pe/image-layout.h"

#include <gtest/gtest.h>

#include "providers/made-image.h"
#include "stock-file-query/pe/certificate-table.h"

namespace larder::feed {
namespace {

// "0-10 20-30 pad 2 table 30-40", or "no image".
std::string Told(const std::optional<ImageLayout>& layout) {
  if (!layout) return "no image";
  std::string text;
  for (const FileRange& range : layout->covered) {
    if (range.Size() == 0) continue;
    text += std::to_string(range.begin) + '-' + std::to_string(range.end) + ' ';
  }
  text += "pad " + std::to_string(layout->padding);
  if (layout->table.Size() == 0) return text;
  return text + " table " + std::to_string(layout->table.begin) + '-' +
         std::to_string(layout->table.end);
}

std::string LayoutIn(const std::string& file) {
  return Told(ReadImageLayout(file.size(), ReadAtOf(file)));
}

std::string LayoutOf(const ImageShape& shape) { return LayoutIn(MakeImage(shape)); }

TEST(ImageLayoutTest, LeavesOutCheckSumDirectoryEntryAndTable) {
  EXPECT_EQ(LayoutOf({.magic = 0x10b, .tableOffset = 400, .tableSize = 112}),
            "0-152 156-216 224-400 pad 0 table 400-512");
  EXPECT_EQ(LayoutOf({.size = 515, .tableOffset = 400, .tableSize = 56}),
            "0-152 156-232 240-400 456-515 pad 0 table 400-456");
  EXPECT_EQ(LayoutOf({.tableOffset = 240, .tableSize = 8}),
            "0-152 156-232 248-512 pad 0 table 240-248");
}

TEST(ImageLayoutTest, PadsUnsignedImagesToEightBytes) {
  for (std::size_t more = 0; more < 8; ++more) {
    const std::string expected = "0-152 156-232 240-" + std::to_string(512 + more) + " pad " +
                                 std::to_string((8 - more) % 8);
    EXPECT_EQ(LayoutOf({.size = 512 + more}), expected);
  }
}

TEST(ImageLayoutTest, HasNoDirectoryEntryToLeaveOutWhereThereAreFewerThanFive) {
  for (const std::uint32_t count : {0u, 1u, 4u}) {
    const ImageShape shape{.directoryCount = count, .tableOffset = 400, .tableSize = 112};
    EXPECT_EQ(LayoutOf(shape), "0-152 156-512 pad 0") << count;
  }
  EXPECT_EQ(LayoutOf({.directoryCount = 5}), "0-152 156-232 240-512 pad 0");
  EXPECT_EQ(LayoutOf({.directoryCount = 0xffffffff}), "0-152 156-232 240-512 pad 0");
}

TEST(ImageLayoutTest, TakesATableThatLiesElsewhereThanBehindItsEntryAsNone) {
  const std::vector<std::pair<std::uint32_t, std::uint32_t>> entries = {
      {0, 112},        {400, 0},        {400, 7},          {400, 113},
      {512, 8},        {513, 8},        {239, 100},        {1, 8},
      {0xffffffff, 8}, {8, 0xffffffff}, {400, 0xffffffff}, {0xfffffff8, 0xfffffff8}};
  for (const auto& [offset, size] : entries) {
    EXPECT_EQ(LayoutOf({.tableOffset = offset, .tableSize = size}), "0-152 156-232 240-512 pad 0")
        << offset << ' ' << size;
  }
}

TEST(ImageLayoutTest, FindsHeadersAnywhereInTheFile) {
  EXPECT_EQ(LayoutOf({.headerOffset = 4}), "0-92 96-172 180-512 pad 0");
  EXPECT_EQ(LayoutOf({.size = 100'000, .headerOffset = 90'001}),
            "0-90089 90093-90169 90177-100000 pad 0");
  EXPECT_EQ(LayoutOf({.headerOffset = 512 - 176}), "0-424 428-504 pad 0");
  EXPECT_EQ(LayoutOf({.headerOffset = 512 - 160, .magic = 0x10b}), "0-440 444-504 pad 0");
  EXPECT_EQ(LayoutOf({.headerOffset = 512 - 136, .directoryCount = 4}), "0-464 468-512 pad 0");
}

TEST(ImageLayoutTest, TakesNoOtherFileAndNoneWhoseHeadersAreCutOffForAnImage) {
  EXPECT_EQ(LayoutIn(std::string(1000, 'M')), "no image");
  EXPECT_EQ(LayoutOf({.size = 63}), "no image");
  EXPECT_EQ(LayoutOf({.signature = std::string("NE\0\0", 4)}), "no image");
  EXPECT_EQ(LayoutOf({.signature = std::string("PE\0\1", 4)}), "no image");
  EXPECT_EQ(LayoutOf({.magic = 0x107}), "no image");
  for (const std::uint32_t offset : {0u, 509u, 511u, 512u, 0x7fffffffu, 0x80000000u, 0xfffffff0u}) {
    EXPECT_EQ(LayoutOf({.headerOffset = offset}), "no image") << offset;
  }
  for (std::size_t size = 0; size < 240; ++size) {
    EXPECT_EQ(LayoutIn(MakeImage({}).substr(0, size)), "no image") << size;
  }
  EXPECT_EQ(LayoutIn(MakeImage({}).substr(0, 240)), "0-152 156-232 pad 0");
}

TEST(ImageLayoutTest, FindsATableBehindFourGibibytes) {
  const std::string head = MakeImage({.tableOffset = 0xfffffff0, .tableSize = 0xffffff00});
  constexpr std::uint64_t kSize = 0x2'0000'0001;
  EXPECT_EQ(Told(ReadImageLayout(kSize, ReadAtOf(head))),
            "0-152 156-232 240-4294967280 8589934320-8589934593 pad 0 table "
            "4294967280-8589934320");
}

TEST(ImageLayoutTest, TakesAFileThatCannotBeReadForNoImage) {
  const std::string file = MakeImage({});
  for (const int good : {0, 1, 2}) {
    int left = good;
    const ReadAt readAt = [&](std::uint64_t offset, void* buffer, std::size_t size) {
      return left-- != 0 && ReadAtOf(file)(offset, buffer, size);
    };
    EXPECT_EQ(ReadImageLayout(file.size(), readAt).has_value(), good == 2);
  }
}

TEST(ImageLayoutTest, FeedsTheCoveredBytesWhateverTheBlocksAre) {
  const std::string file = MakeImage({.size = 515, .tableOffset = 400, .tableSize = 56});
  const auto layout = ReadImageLayout(file.size(), ReadAtOf(file));
  ASSERT_TRUE(layout.has_value());
  const std::string expected = file.substr(0, 152) + file.substr(156, 232 - 156) +
                               file.substr(240, 400 - 240) + file.substr(456);
  for (const std::size_t size : {1u, 3u, 64u, 153u, 400u, 515u}) {
    std::string fed;
    for (std::size_t at = 0; at < file.size(); at += size) {
      const std::string block = file.substr(at, size);
      FeedCovered(*layout, at, BytesOf(block), [&](Bytes part) {
        EXPECT_FALSE(part.empty());
        fed += TextOf(part);
      });
    }
    EXPECT_EQ(fed, expected) << size;
  }
}

TEST(ImageLayoutTest, ReadsTheTableUpToALimit) {
  const std::string file = MakeSignedImage({}, "the table's bytes");
  const auto small = ReadImageLayout(file.size(), ReadAtOf(file));
  ASSERT_TRUE(small.has_value());
  EXPECT_EQ(TextOf(ReadCertificateTable(*small, ReadAtOf(file))), "the table's bytes");
  EXPECT_TRUE(ReadCertificateTable(*small, [](auto...) { return false; }).empty());
  const std::string huge = MakeSignedImage({}, std::string(0x1000008, 'x'));
  const auto large = ReadImageLayout(huge.size(), ReadAtOf(huge));
  ASSERT_TRUE(large.has_value());
  EXPECT_EQ(ReadCertificateTable(*large, ReadAtOf(huge)).size(), 0x1000000u);
  EXPECT_TRUE(ReadCertificateTable(ImageLayout{}, ReadAtOf(file)).empty());
}

}  // namespace
}  // namespace larder::feed
