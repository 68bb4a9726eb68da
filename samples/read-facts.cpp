#include <larder/feed-file.h>
#include <larder/larder.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <filesystem>

struct FileToQuery {  // FileObjectDescriptor with a longer path
  uint32_t lastModified[2] = {};
  LarderWideChar filePath[1024] = {};
};

// False if the provider's form of a path, UTF-16 with backslashes, can't express the name.
bool SetPath(const char* name, FileToQuery& file) try {
  const auto path = std::filesystem::absolute(name);
  const auto text = path.generic_string<LarderWideChar>();
  if (text.size() >= std::size(file.filePath) || text.find('\\') != text.npos) return false;
  std::ranges::replace_copy(text, file.filePath, '/', '\\');
  return std::filesystem::path(text) == path;  // false for some text that isn't UTF-8
} catch (const std::filesystem::filesystem_error&) {
  return false;
}

int Fail(const char* call, int32_t result) {
  LarderWideChar text[64] = {};
  LarderErrorToString(result, std::size(text), text);
  std::fprintf(stderr, "%s: %s (%d)\n", call, std::filesystem::path(text).string().c_str(), result);
  return 1;
}

int main(int count, char** arguments) {
  std::setlocale(LC_CTYPE, "");  // Windows passes arguments in the system's code page
  FileToQuery file;
  if (count != 2 || !SetPath(arguments[1], file)) {
    std::fputs(count != 2 ? "usage: read-facts FILE\n" : "Larder can't name this file\n", stderr);
    return 2;
  }
  LarderHandle larder = nullptr;
  int32_t result = LarderInit([](int32_t) {}, &larder);
  if (result != LARDER_OK && result != LARDER_E_ALREADY_INITIALIZED) {
    return Fail("LarderInit", result);
  }
  DataBlockHeader* data = nullptr;
  result = LarderQuery(larder, &file, LARDER_FEED_FILE_TYPE, LARDER_FEED_FILE_NOW, &data,
                       LARDER_QUERY_VERSION);
  if (data != nullptr) {
    for (int byte : reinterpret_cast<FileDataRecord*>(data)->fileSHA256) std::printf("%02x", byte);
    std::puts("");
    LarderFreeQuery(larder, data);
  }
  LarderRelease();
  return result == LARDER_OK ? 0 : Fail("LarderQuery", result);
}
