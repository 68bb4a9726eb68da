#include <larder/larder.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

struct FileToAsk {  // FileObjectDescriptor with room for a path
  uint32_t lastModified[2] = {};
  LarderWideChar filePath[1024] = {};
};

int main(int count, char** arguments) {
  if (count != 2) return 2;
  FileToAsk file;
  const auto path = std::filesystem::absolute(arguments[1]);
  if (path.native().size() >= std::size(file.filePath)) return 2;
  std::ranges::replace_copy(path.string<LarderWideChar>(), file.filePath, '/', '\\');

  LarderHandle larder;
  int32_t result = LarderInit([](int32_t) {}, &larder);
  if (result != LARDER_OK && result != LARDER_E_ALREADY_INITIALIZED) return 1;
  DataBlockHeader* data;
  result = LarderQuery(larder, &file, 1, 0, &data, LARDER_QUERY_VERSION);
  if (result == LARDER_OK) {
    for (int byte : reinterpret_cast<FileDataRecord*>(data)->fileSHA256) std::printf("%02x", byte);
    std::puts("");
    LarderFreeQuery(larder, data);
  }
  LarderRelease();
  return result == LARDER_OK ? 0 : 1;
}
