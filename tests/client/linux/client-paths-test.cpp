// Paths of bytes in an object descriptor.
#include <gtest/gtest.h>
#include <limits.h>
#include <larder/client.hpp>

#include <cstring>

namespace larder {
namespace {

std::u16string PathIn(const FileObject& object) {
  const auto bytes = object.Descriptor().subspan(offsetof(FileObjectDescriptor, filePath));
  std::u16string path(bytes.size() / sizeof(char16_t), 0);
  std::memcpy(path.data(), bytes.data(), bytes.size());
  EXPECT_EQ(path.back(), u'\0');
  path.pop_back();
  return path;
}

TEST(ClientPaths, AreFullAndUtf16WithBackslashes) {
  const std::pair<const char*, std::u16string> cases[] = {
      {"/", u"\\"},
      {"/a/b c", u"\\a\\b c"},
      {"//a/./b//../c/", u"\\a\\b\\..\\c"},
      {"/...", u"\\..."},
      {"/\x7F/\u0080/\u07FF/\u0800/\uD7FF/\uE000/\uFFFF",
       u"\\\x7F\\\u0080\\\u07FF\\\u0800\\\uD7FF\\\uE000\\\uFFFF"},
      {"/\U00010000/\U0001F600/\U0010FFFF", u"\\\U00010000\\\U0001F600\\\U0010FFFF"}};
  for (const auto& [path, expected] : cases) EXPECT_EQ(PathIn(FileObject(path)), expected) << path;

  const auto here = PathIn(FileObject(std::filesystem::current_path()));
  EXPECT_EQ(PathIn(FileObject("./name")), here + u"\\name");
  EXPECT_EQ(PathIn(FileObject(".")), here);
  const std::string longest = "/" + std::string(PATH_MAX - 2, 'x');
  EXPECT_EQ(PathIn(FileObject(longest)).size(), longest.size());
}

TEST(ClientPaths, ThatCantBeExpressedAreRefused) {
  const std::pair<std::string, std::errc> cases[] = {
      {"", std::errc::invalid_argument},
      {{"/a\0b", 4}, std::errc::invalid_argument},
      {"/folder\\file", std::errc::invalid_argument},
      {"/" + std::string(PATH_MAX - 1, 'x'), std::errc::filename_too_long},
      {"/a\x80", std::errc::illegal_byte_sequence},
      {"/l\xE9", std::errc::illegal_byte_sequence},
      {"/\xC3", std::errc::illegal_byte_sequence},
      {"/\xC3/", std::errc::illegal_byte_sequence},
      {"/\xE2\x82", std::errc::illegal_byte_sequence},
      {"/\xC0\x80", std::errc::illegal_byte_sequence},
      {"/\xC1\xBF", std::errc::illegal_byte_sequence},
      {"/\xE0\x9F\xBF", std::errc::illegal_byte_sequence},
      {"/\xF0\x8F\xBF\xBF", std::errc::illegal_byte_sequence},
      {"/\xF4\x90\x80\x80", std::errc::illegal_byte_sequence},
      {"/\xF8\x88\x80\x80\x80", std::errc::illegal_byte_sequence},
      {"/\xFF", std::errc::illegal_byte_sequence},
      {"/\xED\xA0\x80", std::errc::illegal_byte_sequence},
      // In UTF-16 U+1F600, which is another name.
      {"/\xED\xA0\xBD\xED\xB8\x80", std::errc::illegal_byte_sequence}};
  for (const auto& [path, code] : cases) {
    try {
      const FileObject object(path);
      ADD_FAILURE() << path;
    } catch (const std::filesystem::filesystem_error& error) {
      EXPECT_EQ(error.code(), std::make_error_code(code)) << path;
      EXPECT_EQ(error.path1(), path);
    }
  }
}

}  // namespace
}  // namespace larder
